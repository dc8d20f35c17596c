#include "RowKeys.h"

#include <QStringBuilder>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "TaskKeys.h"

namespace TC {
namespace {

constexpr QLatin1Char SEPARATOR('-');
constexpr QLatin1Char ESCAPE('\\');

/// An account's key may hold the separator; marked, it ends where the next plain separator stands.
QString escaped(const std::string& accountKey) {
  QString text = QString::fromStdString(accountKey);
  text.replace(ESCAPE, QString(2, ESCAPE));
  return text.replace(SEPARATOR, QString(ESCAPE) + SEPARATOR);
}

}  // namespace

QString rowKey(const SRowShape& row) {
  return row.leaf ? QString(row.keyStem % SEPARATOR % row.scriptName) : row.keyStem;
}

bool isRowKey(const SRowShape& row, const QString& key) {
  if (!row.leaf) return row.keyStem == key;
  const int stem = row.keyStem.size();
  return key.size() == stem + 1 + row.scriptName.size() && key[stem] == SEPARATOR && key.startsWith(row.keyStem) &&
         key.endsWith(row.scriptName);
}

CRowKeyStems::CRowKeyStems(const CBasketTask& task)
    : m_pHedge(task.getHedgeItem()), m_strTask(QString::number(task.getGroupId()) + SEPARATOR) {
  const CBasketTaskItem* top = m_pHedge;
  while (top && top->parent() && top->parent()->parent()) top = top->parent();
  m_bGrouped = top != m_pHedge && top->m_strAccountKey.empty();
}

/// The hedge row is all that a task has on the side of futures.
bool CRowKeyStems::isFutures(const CBasketTaskItem& node) const {
  const CBasketTaskItem* at = m_pHedge;
  while (at && at != &node) at = at->parent();
  return at != nullptr;
}

QString CRowKeyStems::of(const CBasketTaskItem& node) {
  if (!node.parent()) return node.m_strKey;
  if (m_bGrouped && !node.parent()->parent()) return m_strTask + node.m_strName;
  const bool futures = isFutures(node);
  if (m_strStem.isEmpty() || futures != m_bFutures || node.m_strAccountKey != m_strAccount) {
    m_bFutures = futures;
    m_strAccount = node.m_strAccountKey;
    const QString side = sideName(futures ? ETaskSide::Futures : ETaskSide::Stock);
    m_strStem = m_strTask % side % SEPARATOR % escaped(m_strAccount);
  }
  return m_strStem;
}

}  // namespace TC
