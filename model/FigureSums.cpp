#include "FigureSums.h"

#include <iterator>

#include "CBasketTaskItem.h"
#include "Notices.h"
#include "utils/Log.h"

namespace TC {
namespace {

/// What an inner node sums up from its children.
constexpr int CBasketTaskItem::*SUMMED_COUNTS[] = {
    &CBasketTaskItem::m_nOrderCount,      &CBasketTaskItem::m_nOrderCount2,   &CBasketTaskItem::m_nCurOrderCount,
    &CBasketTaskItem::m_nCurOrderCount2,  &CBasketTaskItem::m_nCanceledCount, &CBasketTaskItem::m_nPatchOrderCount,
    &CBasketTaskItem::m_nPatchOrderCount2};
constexpr struct {
  int CBasketTaskItem::*member;
  CWideVolume CBasketTaskItem::*sum;
} SUMMED_VOLUMES[] = {{&CBasketTaskItem::m_nTotalVolume, &CBasketTaskItem::m_total},
                      {&CBasketTaskItem::m_nFinishedVolume, &CBasketTaskItem::m_finished},
                      {&CBasketTaskItem::m_nTradedVolume, &CBasketTaskItem::m_traded},
                      {&CBasketTaskItem::m_nPatchVolume, &CBasketTaskItem::m_patched}};
constexpr double CBasketTaskItem::*SUMMED_AMOUNTS[] = {&CBasketTaskItem::m_dTradedAmount,
                                                       &CBasketTaskItem::m_dTotalAmount, &CBasketTaskItem::m_dCurAmount,
                                                       &CBasketTaskItem::m_dPatchAmount};

void sumChildren(CBasketTaskItem& node) {
  for (const auto member : SUMMED_COUNTS) node.*member = 0;
  for (const auto member : SUMMED_AMOUNTS) node.*member = 0;
  long long volumes[std::size(SUMMED_VOLUMES)] = {};
  node.m_bUnset = false;
  for (const CBasketTaskItem* child : qAsConst(node.m_children)) {
    for (const auto member : SUMMED_COUNTS) node.*member += child->*member;
    for (const auto member : SUMMED_AMOUNTS) node.*member += child->*member;
    for (std::size_t i = 0; i < std::size(SUMMED_VOLUMES); ++i) {
      volumes[i] += (child->*SUMMED_VOLUMES[i].sum).of(child->*SUMMED_VOLUMES[i].member);
    }
    node.m_bUnset = node.m_bUnset || child->m_bUnset;
  }
  for (std::size_t i = 0; i < std::size(SUMMED_VOLUMES); ++i) {
    node.*SUMMED_VOLUMES[i].member = (node.*SUMMED_VOLUMES[i].sum).set(volumes[i]);
  }
}

}  // namespace

void sumFigures(CBasketTaskItem& n, CNotices& notices) {
  if (n.isEmpty()) return;
  for (CBasketTaskItem* child : qAsConst(n.m_children)) sumFigures(*child, notices);
  sumChildren(n);
  utils::CLogCenter& log = utils::CLogCenter::instance();
  if (log.isDebugEnabled()) {
    log.debug(QString::asprintf("CBasketTask::recursiveUpdate : %s, %d, %d, %d", qUtf8Printable(n.m_strKey),
                                n.m_nTotalVolume, n.m_nFinishedVolume, n.childCount())
                  .toStdString());
  }
  notices.orders(n.m_strHpfTreeKey, n.m_nOrderCount, n.m_nOrderCount2);
}

}  // namespace TC
