/// How a detail becomes rows, and rows a tree.
#include <QSet>

#include "RefreshRun.h"
#include "TaskKeys.h"
#include "ksservice/Operations.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;

namespace {

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

void CBasketTask::updateDetail(boost::shared_ptr<CTaskDetail>& d) {
  if (!d) return;
  const Lock lock(m_mutex);
  const SRefresh run(*this, *d);
  if (!m_load && !run.before && !d->m_params.empty()) askAccounts(run.account.key);
  m_bReached = true;
  storeAlgoDetail(d);
  if (d->m_pCommand) {
    m_strBasketName = QString::fromStdString(d->m_pCommand->m_strBasketName);
    m_nTraderType = d->m_pCommand->m_nTraderType;
  }
  if (d->m_params.empty()) return;

  m_pRoot->m_nOrderType = d->m_params.front().m_nOrderType;
  if (!run.before || !m_stockMap.contains(run.account.key)) addAccount({CRootNames::Own, d->getKey(), 0}, run.account);
  if (!run.before) addRows(run);
  // A known detail that has changed to an account without rows has nothing to count.
  if (m_stockMap.contains(run.account.key)) countDetail(run);
  m_mapDetails[d->getKey()] = d;
  if (!m_stockMap.contains(run.account.key)) return;
  updateStartTime(*d);
  if (d->m_pCommand) m_pRoot->m_strCommandText = QString::fromStdString(d->m_pCommand->m_strText);
  updateLocalInfoKey(*d);
  if (m_load) {
    m_load->own.insert(d->getKey());
    return;
  }
  followShape();
  sumAll();
  // Everything is traded: that is the end of the task, whatever this detail says.
  if (isFilled() && d->m_nStatus != ksservice::ETS_Finished) writeBackFinished(*d);
  formRoot();
  announceRoot();
}

/// Builds the tree anew where rows have come since.
void CBasketTask::followShape() {
  if (!m_bNewRows) return;
  countAwaited();
  buildTree();
  m_patches.onNewRows();
}

void CBasketTask::sumAll() {
  recursiveUpdate(m_pRoot.get());
  Q_EMIT sigTaskOrder(m_pRoot->m_strHpfTreeKey, m_pRoot->m_nOrderCount, m_pRoot->m_nOrderCount2);
}

void CBasketTask::beginLoad() {
  const Lock lock(m_mutex);
  if (!m_load) m_load = std::make_unique<SLoad>();
}

void CBasketTask::endLoad() {
  std::unique_ptr<SLoad> load;
  bool dropped = false;
  {
    const Lock lock(m_mutex);
    if (!m_load) return;
    load = std::move(m_load);
    if (m_bNewRows) askAccounts();
    followShape();
    sumAll();
    for (const std::string& key : load->own) {
      const boost::shared_ptr<CTaskDetail> detail = m_mapDetails.value(key);
      if (isFilled() && detail && detail->m_nStatus != ksservice::ETS_Finished) writeBackFinished(*detail);
    }
    dropped = load->patches && dropsForHedge();
    formRoot();
  }
  announcePatched(dropped, load->patches);
}

void CBasketTask::updateOrderDetail() {
  const Lock lock(m_mutex);
  const DetailMap details = m_mapDetails;
  for (boost::shared_ptr<CTaskDetail> detail : details) updateDetail(detail);
}

CBasketTask::SAccount CBasketTask::accountOf(const CTaskDetail& detail) {
  const auto& account = detail.m_params.front().m_pAccount;
  if (!account) return {};
  return {QString::fromStdString(account->getKey()), accountDisplayIDQs(*account),
          QString::fromStdString(account->m_strName)};
}

void CBasketTask::storeAlgoDetail(const boost::shared_ptr<CTaskDetail>& d) {
  if (!d->m_bServerTask) return;
  std::string key;
  getAlgoTaskKey(*d, key);
  m_mapAlgoDetails[key] = d;
}

void CBasketTask::addAccount(const CRootNames::Place& place, const SAccount& account) {
  m_rootNames.addAccount(place, account.key, account.displayId, account.name);
  m_rootNames.show(*m_pRoot);
}

void CBasketTask::noteAccount(const QString& accountKey, const QString& text) {
  const Lock lock(m_mutex);
  if (!m_accountTexts.contains(accountKey)) m_accountTexts.insert(accountKey, text);
}

void CBasketTask::addRows(const SRefresh& run) {
  m_bNewRows = true;
  AccountRows& rows = m_stockMap[run.account.key];
  const int before = rows.size();
  std::set<int> operations;
  for (const CCodeOrderParam& param : run.detail.m_params) {
    addParam(run, param, rows);
    const bool isFirst = operations.insert(param.m_nOperation).second;
    if (!isFirst) continue;
    m_rootNames.addOperation({CRootNames::Own, run.detail.getKey(), operations.size()}, param.m_nOperation);
  }
  m_rootNames.show(*m_pRoot);
  utils::logInfo(this, "CBasketTask::updateDetail", "stock_map %1% : size %2% -> %3%.", run.account.key, before,
                 rows.size());
}

void CBasketTask::addParam(const SRefresh& run, const CCodeOrderParam& param, AccountRows& rows) {
  const QString rowKey = rowKeyOf(param);
  if (CBasketTaskItem* row = rows.value(rowKey)) {
    row->addTarget(param);
    if (const auto& command = run.detail.m_pCommand) {
      row->setCommandId(command->m_nCommandId);
      row->m_strCommandText = QString::fromStdString(command->m_strText);
    }
  } else {
    row = makeRow(run.account, rowKey, param);
    rows.insert(rowKey, row);
    const QString ordinal = QStringLiteral("%1").arg(rows.size(), TREE_KEY_ORDINAL_DIGITS, 10, QLatin1Char('0'));
    row->setHpfTreeKey(m_pRoot->m_strHpfTreeKey + ordinal);
  }
}

CBasketTaskItem* CBasketTask::makeRow(const SAccount& account, const QString& rowKey, const CCodeOrderParam& param) {
  const ksservice::CStockInfo& stock = param.m_stock;
  auto row = std::make_unique<CBasketTaskItem>(
      QString::fromStdString(stock.m_strMarket + stock.m_strCode), rowKey, account.displayId,
      QString::fromStdString(utils::mavStockKey(stock.m_strMarket, stock.m_strCode)),
      QString::fromStdString(stock.m_strMarket), account.name, 0);
  row->addTarget(param);
  row->m_vecOperations.append(param.m_nOperation);
  row->m_strAccountKey = account.key.toStdString();
  const auto awaited =
      m_awaitedRows.find({account.key, orderRowKey(stock.m_strMarket, stock.m_strCode, param.m_nOperation)});
  if (awaited != m_awaitedRows.end()) m_awaiting.insert(awaited->second.begin(), awaited->second.end());
  return m_ledger.addRow(std::move(row)).item.get();
}

void CBasketTask::recursiveClear(CBasketTaskItem* n) {
  for (CBasketTaskItem* child : qAsConst(n->m_children)) recursiveClear(child);
  n->clear();
}

void CBasketTask::reorganize() {
  const Lock lock(m_mutex);
  askAccounts();
  buildTree();
}

/// also: an account that is to have rows. Asks nothing else of the host, and changes nothing else.
void CBasketTask::askAccounts(const QString& also) {
  QSet<QString> keys{also};
  for (const RowMap* side : {&m_futuresMap, &m_stockMap}) {
    for (auto rows = side->cbegin(); rows != side->cend(); ++rows) keys.insert(rows.key());
  }
  QMap<QString, SAccount> known;
  for (const QString& key : qAsConst(keys)) {
    const auto account = getUserConfig().getAccountData(key.toStdString());
    if (account) known[key] = {key, accountDisplayIDQs(*account), QString::fromStdString(account->m_strName)};
  }
  m_hostAccounts.swap(known);
}

void CBasketTask::buildTree() {
  recursiveClear(m_pRoot.get());
  const bool multiType = !m_stockMap.isEmpty() && !m_futuresMap.isEmpty();
  NodeList nodes;
  if (!m_futuresMap.isEmpty()) {
    hangSide(m_futuresMap, QStringLiteral("期货"), multiType, nodes);
    logShape(
        "ft: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        multiType, m_futuresMap);
  }
  if (!m_stockMap.isEmpty()) {
    hangSide(m_stockMap, QStringLiteral("证券"), multiType, nodes);
    logShape(
        "stk: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        multiType, m_stockMap);
  }
  for (const auto& node : nodes) node->m_nOrderType = m_pRoot->m_nOrderType;
  // The inner nodes of the earlier shape go here, when no row refers to them any more.
  m_innerNodes.swap(nodes);
  ++m_nShapeVersion;
  m_bNewRows = false;
}

void CBasketTask::hangSide(const RowMap& side, const QString& name, bool multiType, NodeList& nodes) {
  CBasketTaskItem* parent = m_pRoot.get();
  const QString none;
  if (multiType) {
    parent = hangNode(parent, std::make_unique<CBasketTaskItem>(name, name, none, none, none, none, 0), nodes);
  }
  QSet<QString> taken;
  for (auto rows = side.cbegin(); rows != side.cend(); ++rows) {
    if (rows->isEmpty()) continue;
    const SAccount account = accountOfRows(rows.key(), *rows->first());
    CBasketTaskItem* node = parent;
    if (side.size() > 1) {
      const QString key = accountNodeKey(account.displayId, rows.key(), taken);
      node = hangNode(
          parent, std::make_unique<CBasketTaskItem>(account.displayId, key, none, none, none, account.name, 0), nodes);
      node->m_strAccountKey = account.key.toStdString();
    } else if (multiType) {
      node->m_strAccounts = account.displayId;
      node->m_strAccountName = account.name;
    }
    hangRows(*rows, node);
  }
}

CBasketTask::SAccount CBasketTask::accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow) const {
  const auto known = m_hostAccounts.constFind(accountKey);
  if (known != m_hostAccounts.cend()) return *known;
  return {accountKey, m_accountTexts.value(accountKey, firstRow.m_strAccounts), firstRow.m_strAccountName};
}

void CBasketTask::logShape(const char* pattern, bool multiType, const RowMap& side) const {
  const auto text = [](bool flag) { return flag ? "true" : "false"; };
  utils::logInfo(this, "CBasketTask::reorganize", pattern, m_nCommandId, m_nGroupId, m_stockMap.size(),
                 m_futuresMap.size(), text(multiType), text(side.size() > 1));
}

}  // namespace TC
