#include "TaskTree.h"

#include <set>

#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;

namespace {

const QString NONE;

}  // namespace

CTaskTree::CTaskTree(const STaskIdentity& id)
    : m_id(id), m_pRoot(std::make_unique<CBasketTaskItem>(id.key, id.key, NONE, NONE, NONE, NONE, id.commandId, 0)) {}

// Rows

std::vector<CBasketTaskItem*> CTaskTree::place(const CTaskDetail& detail) {
  const STaskAccount account = accountOf(detail);
  nameAccount({CRootNames::Own, detail.getKey(), 0}, account);
  AccountRows& rows = m_stocks[account.key];
  const int before = rows.size();
  std::vector<CBasketTaskItem*> made;
  std::set<int> operations;
  for (const CCodeOrderParam& param : detail.m_params) {
    if (CBasketTaskItem* row = placeLine(detail, param, account, rows)) made.push_back(row);
    const bool isFirst = operations.insert(param.m_nOperation).second;
    if (isFirst) m_names.addOperation({CRootNames::Own, detail.getKey(), operations.size()}, param.m_nOperation);
  }
  m_names.show(*m_pRoot);
  utils::logInfo(m_id.task, "CBasketTask::updateDetail", "stock_map %1% : size %2% -> %3%.", account.key, before,
                 rows.size());
  return made;
}

/// The row that was made, null where there was one.
CBasketTaskItem* CTaskTree::placeLine(const CTaskDetail& detail, const CCodeOrderParam& param,
                                      const STaskAccount& account, AccountRows& rows) {
  const auto& [market, code, name] = param.m_stock;
  const QString key = rowKey(market, code, param.m_nOperation);
  if (CBasketTaskItem* row = rows.value(key)) {
    row->addTarget(param);
    if (const auto& command = detail.m_pCommand) {
      row->setCommandId(command->m_nCommandId);
      row->m_strCommandText = QString::fromStdString(command->m_strText);
    }
    return nullptr;
  }
  CBasketTaskItem* row = addRow(QString::fromStdString(market + code), key,
                                QString::fromStdString(utils::mavStockKey(market, code)), param, account);
  rows.insert(key, row);
  const QString ordinal = QStringLiteral("%1").arg(rows.size(), TREE_KEY_ORDINAL_DIGITS, 10, QLatin1Char('0'));
  row->setHpfTreeKey(m_pRoot->m_strHpfTreeKey + ordinal);
  return row;
}

CBasketTaskItem* CTaskTree::addRow(const QString& name, const QString& rowKey, const QString& stockKey,
                                   const CCodeOrderParam& param, const STaskAccount& account) {
  auto row = std::make_unique<CBasketTaskItem>(name, rowKey, account.displayId, stockKey,
                                               QString::fromStdString(param.m_stock.m_strMarket), account.name, 0);
  row->addTarget(param);
  row->m_vecOperations.append(param.m_nOperation);
  row->m_strAccountKey = account.key.toStdString();
  m_rows.push_back(std::move(row));
  return m_rows.back().get();
}

bool CTaskTree::follow(const CTaskDetail& detail) {
  const STaskAccount account = accountOf(detail);
  if (m_stocks.contains(account.key)) return true;
  nameAccount({CRootNames::Own, detail.getKey(), 0}, account);
  return false;
}

CBasketTaskItem& CTaskTree::placeHedge(const CTaskDetail& detail, bool beforeOwn) {
  const STaskAccount account = accountOf(detail);
  const CCodeOrderParam& param = detail.m_params.front();
  const auto& [market, code, name] = param.m_stock;
  const CRootNames::Place place{beforeOwn ? CRootNames::BeforeOwn : CRootNames::BehindOwn, detail.getKey(), 0};
  m_names.addOperation(place, param.m_nOperation);
  nameAccount(place, account);
  const QString key = rowKey(market, code, param.m_nOperation);
  CBasketTaskItem* row = addRow(QString::fromStdString(code), key, QString::fromStdString(code), param, account);
  row->m_bHedge = true;
  AccountRows& rows = m_futures[account.key];
  const int before = rows.size();
  rows.insert(key, row);
  utils::logInfo(m_id.task, "CBasketTask::updateHedgeCnt", "futures_map %1% : size %2% -> %3%.", account.key, before,
                 rows.size());
  return *row;
}

// Accounts

void CTaskTree::nameAccount(const CRootNames::Place& place, const STaskAccount& account) {
  m_names.addAccount(place, account.key, account.displayId, account.name);
  m_names.show(*m_pRoot);
}

}  // namespace TC
