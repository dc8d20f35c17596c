#include "docks/RowScope.h"

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/TaskEvents.h"
#include "utils/Keys.h"

namespace app {
namespace {

QString sideOf(const SBlotterDetail& detail) {
  return detail.m_bHedge ? QStringLiteral("期货") : QStringLiteral("证券");
}

/// Takes a level of a node's key off its front.
bool takeLevel(QString& path, const QString& level) {
  const QString whole = QLatin1Char('-') + level;
  if (path != whole && !path.startsWith(whole + QLatin1Char('-'))) return false;
  path.remove(0, whole.size());
  return true;
}

}  // namespace

QString orderLineKey(const ksservice::COrderInfo& order) {
  QString key = QString::fromStdString(utils::mavStockKey(order.m_strMarket, order.m_strCode)) +
                TC::operationToString(order.m_nOperation);
  ksservice::replaceMarketToHK(key);
  return key;
}

QString orderRowKey(const SBlotterDetail& detail, const ksservice::COrderInfo& order) {
  return QStringList({QString::number(detail.m_nTaskId), sideOf(detail), QString::fromStdString(detail.m_strAccount),
                      orderLineKey(order)})
      .join(QLatin1Char('-'));
}

/// The levels of sides and accounts are there only in a task that has several; what is left names a line. An account's
/// level is its display identifier, with its key where two accounts share that one.
CRowScope::EPart CRowScope::partOf(const SBlotterDetail& detail) {
  if (m_row.m_nTaskId < 0) return EPart::Whole;
  if (detail.m_nTaskId != m_row.m_nTaskId) return EPart::None;
  QString path = m_row.m_strNode;
  path.remove(0, TC::taskKey(m_row.m_nTaskId).size());
  const bool sided = takeLevel(path, sideOf(detail));
  if (!sided && (path.startsWith(QLatin1String("-证券")) || path.startsWith(QLatin1String("-期货")))) {
    return EPart::None;
  }
  const QString account = QString::fromStdString(detail.m_strDisplayId);
  if (!takeLevel(path, account + QLatin1Char('@') + QString::fromStdString(detail.m_strAccount))) {
    takeLevel(path, account);
  }
  m_strLine = path.mid(1);
  return path.isEmpty() ? EPart::Whole : EPart::Line;
}

bool CRowScope::takes(const SBlotterDetail& detail, const ksservice::COrderInfo& order) {
  if (&detail != m_pDetail) {
    m_pDetail = &detail;
    m_ePart = partOf(detail);
  }
  if (m_ePart != EPart::Line) return m_ePart == EPart::Whole;
  // Most orders are told apart by the code alone, for which no text is formed.
  return m_strLine.contains(QLatin1String(order.m_strCode.c_str())) && m_strLine == orderLineKey(order);
}

}  // namespace app
