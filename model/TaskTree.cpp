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
  const SInstrumentTexts& texts = instrumentTexts(market, code, param.m_nOperation);
  if (CBasketTaskItem* row = rows.value(texts.rowKey)) {
    row->addTarget(param);
    if (const auto& command = detail.m_pCommand) {
      row->setCommandId(command->m_nCommandId);
      row->m_strCommandText = QString::fromStdString(command->m_strText);
    }
    return nullptr;
  }
  CBasketTaskItem* row = addRow(texts.name, texts.stockKey, texts, param, account);
  rows.insert(texts.rowKey, row);
  const QString ordinal = QStringLiteral("%1").arg(rows.size(), TREE_KEY_ORDINAL_DIGITS, 10, QLatin1Char('0'));
  row->setHpfTreeKey(joined(m_pRoot->m_strHpfTreeKey, ordinal));
  return row;
}

CBasketTaskItem* CTaskTree::addRow(const QString& name, const QString& stockKey, const SInstrumentTexts& texts,
                                   const CCodeOrderParam& param, const STaskAccount& account) {
  auto row =
      std::make_unique<CBasketTaskItem>(name, texts.rowKey, account.displayId, stockKey, texts.market, account.name, 0);
  row->addTarget(param);
  row->m_vecOperations = texts.operations;
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
  const SInstrumentTexts& texts = instrumentTexts(market, code, param.m_nOperation);
  const QString plainCode = QString::fromStdString(code);
  CBasketTaskItem* row = addRow(plainCode, plainCode, texts, param, account);
  row->m_bHedge = true;
  AccountRows& rows = m_futures[account.key];
  const int before = rows.size();
  rows.insert(texts.rowKey, row);
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
