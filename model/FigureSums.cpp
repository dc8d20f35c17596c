#include "FigureSums.h"

#include <algorithm>

#include "Notices.h"
#include "utils/Log.h"

namespace TC {
namespace {

/// Rows in a group.
constexpr int GROUP = 16;

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

bool isInner(const CBasketTaskItem* node) { return !node->isEmpty(); }

}  // namespace

struct CFigureSums::SSum {
  double amounts[std::size(SUMMED_AMOUNTS)] = {};
  long long volumes[std::size(SUMMED_VOLUMES)] = {};
  int counts[std::size(SUMMED_COUNTS)] = {};
  bool unset = false;
  bool stands = false;  ///< of a group: it is that of its rows

  void add(const CBasketTaskItem& child) {
    for (std::size_t i = 0; i < std::size(counts); ++i) counts[i] += child.*SUMMED_COUNTS[i];
    for (std::size_t i = 0; i < std::size(amounts); ++i) amounts[i] += child.*SUMMED_AMOUNTS[i];
    for (std::size_t i = 0; i < std::size(volumes); ++i) {
      volumes[i] += (child.*SUMMED_VOLUMES[i].sum).of(child.*SUMMED_VOLUMES[i].member);
    }
    unset = unset || child.m_bUnset;
  }
  void add(const SSum& group) {
    for (std::size_t i = 0; i < std::size(counts); ++i) counts[i] += group.counts[i];
    for (std::size_t i = 0; i < std::size(amounts); ++i) amounts[i] += group.amounts[i];
    for (std::size_t i = 0; i < std::size(volumes); ++i) volumes[i] += group.volumes[i];
    unset = unset || group.unset;
  }
  void giveTo(CBasketTaskItem& node) const {
    for (std::size_t i = 0; i < std::size(counts); ++i) node.*SUMMED_COUNTS[i] = counts[i];
    for (std::size_t i = 0; i < std::size(amounts); ++i) node.*SUMMED_AMOUNTS[i] = amounts[i];
    for (std::size_t i = 0; i < std::size(volumes); ++i) {
      node.*SUMMED_VOLUMES[i].member = (node.*SUMMED_VOLUMES[i].sum).set(volumes[i]);
    }
    node.m_bUnset = unset;
  }
};

CFigureSums::CFigureSums() = default;
CFigureSums::~CFigureSums() = default;

void CFigureSums::sum(CBasketTaskItem& node, const SChangedRows& changed, CNotices& notices) {
  if (changed.all) m_groups.clear();
  for (const CBasketTaskItem* row : changed.rows) touch(*row);
  sumNode(node, notices);
}

void CFigureSums::touch(const CBasketTaskItem& row) {
  const auto groups = m_groups.find(row.parent());
  if (groups != m_groups.end()) groups->second[static_cast<std::size_t>(row.m_nPlace / GROUP)].stands = false;
}

void CFigureSums::sumNode(CBasketTaskItem& node, CNotices& notices) {
  if (node.isEmpty()) return;
  auto groups = m_groups.find(&node);
  if (groups == m_groups.end() && std::none_of(node.m_children.begin(), node.m_children.end(), isInner)) {
    const int count = (node.childCount() + GROUP - 1) / GROUP;
    groups = m_groups.emplace(&node, static_cast<std::size_t>(count)).first;
  }
  if (groups != m_groups.end()) {
    sumGroups(node, groups->second).giveTo(node);
  } else {
    SSum sum;
    for (CBasketTaskItem* child : qAsConst(node.m_children)) {
      sumNode(*child, notices);
      sum.add(*child);
    }
    sum.giveTo(node);
  }
  utils::CLogCenter& log = utils::CLogCenter::instance();
  if (log.isDebugEnabled()) {
    log.debug(QString::asprintf("CBasketTask::recursiveUpdate : %s, %d, %d, %d", qUtf8Printable(node.m_strKey),
                                node.m_nTotalVolume, node.m_nFinishedVolume, node.childCount())
                  .toStdString());
  }
  notices.orders(node.m_strHpfTreeKey, node.m_nOrderCount, node.m_nOrderCount2);
}

CFigureSums::SSum CFigureSums::sumGroups(const CBasketTaskItem& node, std::vector<SSum>& groups) const {
  SSum sum;
  for (std::size_t group = 0; group < groups.size(); ++group) {
    if (!groups[group].stands) {
      const int first = static_cast<int>(group) * GROUP;
      groups[group] = {};
      for (int i = first; i < std::min(first + GROUP, node.childCount()); ++i) groups[group].add(*node.m_children[i]);
      groups[group].stands = true;
    }
    sum.add(groups[group]);
  }
  return sum;
}

}  // namespace TC
