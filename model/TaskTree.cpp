#include "TaskTree.h"

#include <QSet>
#include <set>

#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;

namespace {

const QString NONE;

CBasketTaskItem* hangNode(CBasketTaskItem* parent, std::unique_ptr<CBasketTaskItem> node,
                          std::vector<std::unique_ptr<CBasketTaskItem>>& nodes) {
  parent->addChild(node.get());
  nodes.push_back(std::move(node));
  return nodes.back().get();
}

/// Hangs rows under a node, each with its row key behind the node's key. The key that a row had in an earlier shape
/// is not kept in front of it, or keys would grow with every detail of the task.
void hangRows(const AccountRows& rows, CBasketTaskItem* parent) {
  for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
    (*row)->m_strKey = row.key();
    (*row)->m_pParent = nullptr;
    parent->addChild(*row);
  }
}

/// Of two accounts of a side that share a display identifier, the later one's key holds its account key too.
QString accountNodeKey(const QString& displayId, const QString& accountKey, QSet<QString>& taken) {
  QString key = displayId;
  while (taken.contains(key)) key += QLatin1Char('@') + accountKey;
  taken.insert(key);
  return key;
}

}  // namespace

CTaskTree::CTaskTree(const STaskIdentity& id)
    : m_id(id), m_pRoot(std::make_unique<CBasketTaskItem>(id.key, id.key, NONE, NONE, NONE, NONE, id.commandId, 0)) {}

// Rows

std::vector<CBasketTaskItem*> CTaskTree::place(const CTaskDetail& detail, const std::optional<Accounts>& accounts) {
  const STaskAccount account = accountOf(detail);
  nameAccount({CRootNames::Own, detail.getKey(), 0}, account);
  m_bNewRows = true;
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
  if (accounts) build(*accounts);
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

CBasketTaskItem& CTaskTree::placeHedge(const CTaskDetail& detail, bool beforeOwn,
                                       const std::optional<Accounts>& accounts) {
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
  m_bNewRows = true;
  if (accounts) build(*accounts);
  return *row;
}

// Accounts

void CTaskTree::nameAccount(const CRootNames::Place& place, const STaskAccount& account) {
  m_names.addAccount(place, account.key, account.displayId, account.name);
  m_names.show(*m_pRoot);
}

void CTaskTree::noteAccount(const QString& accountKey, const QString& text) {
  if (!m_accountTexts.contains(accountKey)) m_accountTexts.insert(accountKey, text);
}

CTaskTree::Accounts CTaskTree::askAccounts(const QString& also) const {
  QSet<QString> keys{also};
  for (const SideRows* side : {&m_futures, &m_stocks}) {
    for (auto rows = side->cbegin(); rows != side->cend(); ++rows) keys.insert(rows.key());
  }
  Accounts known;
  for (const QString& key : qAsConst(keys)) {
    const auto account = getUserConfig().getAccountData(key.toStdString());
    if (account) known[key] = {key, accountDisplayIDQs(*account), QString::fromStdString(account->m_strName)};
  }
  return known;
}

STaskAccount CTaskTree::accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow) const {
  const auto known = m_hostAccounts.constFind(accountKey);
  if (known != m_hostAccounts.cend()) return *known;
  return {accountKey, m_accountTexts.value(accountKey, firstRow.m_strAccounts), firstRow.m_strAccountName};
}

// Shape

void clearBelow(CBasketTaskItem& n) {
  for (CBasketTaskItem* child : qAsConst(n.m_children)) clearBelow(*child);
  n.clear();
}

void CTaskTree::build(const Accounts& accounts) {
  m_hostAccounts = accounts;
  clearBelow(*m_pRoot);
  const bool multiType = !m_stocks.isEmpty() && !m_futures.isEmpty();
  NodeList nodes;
  if (!m_futures.isEmpty()) {
    hangSide(m_futures, sideName(ETaskSide::Futures), multiType, nodes);
    logShape(
        "ft: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        multiType, m_futures);
  }
  if (!m_stocks.isEmpty()) {
    hangSide(m_stocks, sideName(ETaskSide::Stock), multiType, nodes);
    logShape(
        "stk: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        multiType, m_stocks);
  }
  for (const auto& node : nodes) node->m_nOrderType = m_pRoot->m_nOrderType;
  // The inner nodes of the earlier shape go here, when no row refers to them any more.
  m_innerNodes.swap(nodes);
  ++m_nShapeVersion;
  m_bNewRows = false;
}

void CTaskTree::hangSide(const SideRows& side, const QString& name, bool multiType, NodeList& nodes) {
  CBasketTaskItem* parent = m_pRoot.get();
  if (multiType) {
    parent = hangNode(parent, std::make_unique<CBasketTaskItem>(name, name, NONE, NONE, NONE, NONE, 0), nodes);
  }
  QSet<QString> taken;
  for (auto rows = side.cbegin(); rows != side.cend(); ++rows) {
    if (rows->isEmpty()) continue;
    const STaskAccount account = accountOfRows(rows.key(), *rows->first());
    CBasketTaskItem* node = parent;
    if (side.size() > 1) {
      const QString key = accountNodeKey(account.displayId, rows.key(), taken);
      node = hangNode(
          parent, std::make_unique<CBasketTaskItem>(account.displayId, key, NONE, NONE, NONE, account.name, 0), nodes);
      node->m_strAccountKey = account.key.toStdString();
    } else if (multiType) {
      node->m_strAccounts = account.displayId;
      node->m_strAccountName = account.name;
    }
    hangRows(*rows, node);
  }
}

void CTaskTree::logShape(const char* pattern, bool multiType, const SideRows& side) const {
  const auto text = [](bool flag) { return flag ? "true" : "false"; };
  utils::logInfo(m_id.task, "CBasketTask::reorganize", pattern, m_id.commandId, m_id.groupId, m_stocks.size(),
                 m_futures.size(), text(multiType), text(side.size() > 1));
}

}  // namespace TC
