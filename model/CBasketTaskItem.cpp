#include "CBasketTaskItem.h"

#include <algorithm>
#include <limits>

#include "TaskKeys.h"
#include "TaskRules.h"

namespace TC {

int CWideVolume::held(long long volume) {
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<long long>(volume, Limits::min(), Limits::max()));
}

int CWideVolume::set(long long volume) {
  m_nVolume = volume;
  return held(volume);
}

CBasketTaskItem::CBasketTaskItem(const QString& name, const QString& key, const QString& accounts,
                                 const QString& stockKey, const QString& market, const QString& accountName,
                                 int totalVolume)
    : CBasketTaskItem(name, key, accounts, stockKey, market, accountName, 0, totalVolume) {}

CBasketTaskItem::CBasketTaskItem(const QString& name, const QString& key, const QString& accounts,
                                 const QString& stockKey, const QString& market, const QString& accountName,
                                 int commandId, int totalVolume)
    : m_strName(name),
      m_strKey(key),
      m_strAccounts(accounts),
      m_strAccountName(accountName),
      m_strStockKey(stockKey),
      m_strMarket(market),
      m_nTotalVolume(totalVolume),
      m_nCommandId(commandId) {}

QString CBasketTaskItem::genKey(QString text, ksservice::EOperationType type) {
  // One call with both texts: a "%1" inside the text must not be taken for a place.
  return QStringLiteral("%1-%2").arg(text, QString::number(type));
}

void CBasketTaskItem::setParent(CBasketTaskItem* p) {
  if (p == m_pParent) return;
  m_pParent = p;
  if (!p) return;
  const QString prefix = p->m_strKey + NODE_KEY_SEPARATOR;
  m_strKey = joined(prefix, m_strKey);
  for (CBasketTaskItem* child : qAsConst(m_children)) child->m_strKey = joined(prefix, child->m_strKey);
}

void CBasketTaskItem::addChild(CBasketTaskItem* c) {
  if (!c) return;
  c->setParent(this);
  c->m_nPlace = m_children.size();
  m_children.append(c);
}

void CBasketTaskItem::addTarget(const ksservice::CCodeOrderParam& param) {
  m_nTotalVolume = m_total.set(totalVolume() + setVolume(param));
  m_bUnset = m_bUnset || param.m_nVolume == ksservice::UNSET_INT;
}

CBasketTaskItem* CBasketTaskItem::childAt(int i) const {
  return i < 0 || i >= m_children.size() ? nullptr : m_children.at(i);
}

CBasketTaskItem* CBasketTaskItem::find(const QString& key) {
  if (m_strKey == key) return this;
  for (CBasketTaskItem* child : qAsConst(m_children)) {
    if (CBasketTaskItem* found = child->find(key)) return found;
  }
  return nullptr;
}

void CBasketTaskItem::insertOrder(boost::shared_ptr<ksservice::COrderInfo>& o) {
  if (o) m_mapOrders.insert(o);
}

void CBasketTaskItem::getOrders(std::vector<boost::shared_ptr<ksservice::COrderInfo>>& out) {
  if (m_children.isEmpty()) {
    out.insert(out.end(), m_mapOrders.begin(), m_mapOrders.end());
    return;
  }
  for (CBasketTaskItem* child : qAsConst(m_children)) child->getOrders(out);
}

}  // namespace TC
