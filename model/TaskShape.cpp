#include "TaskShape.h"

#include <QSet>

#include "TaskKeys.h"
#include "TaskTree.h"
#include "ksservice/Helpers.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace TC {
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

void CTaskShape::noteAccount(const QString& accountKey, const QString& text) {
  if (!m_accountTexts.contains(accountKey)) m_accountTexts.insert(accountKey, text);
}

CTaskShape::Accounts CTaskShape::askAccounts(const QString& also) const {
  QSet<QString> keys{also};
  for (const SideRows* side : {&m_tree.futures(), &m_tree.stocks()}) {
    for (auto rows = side->cbegin(); rows != side->cend(); ++rows) keys.insert(rows.key());
  }
  Accounts known;
  for (const QString& key : qAsConst(keys)) {
    const auto account = getUserConfig().getAccountData(key.toStdString());
    if (account) known[key] = {key, accountDisplayIDQs(*account), QString::fromStdString(account->m_strName)};
  }
  return known;
}

STaskAccount CTaskShape::accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow,
                                       const Accounts& accounts) const {
  const auto known = accounts.constFind(accountKey);
  if (known != accounts.cend()) return *known;
  return {accountKey, m_accountTexts.value(accountKey, firstRow.m_strAccounts), firstRow.m_strAccountName};
}

void clearBelow(CBasketTaskItem& n) {
  for (CBasketTaskItem* child : qAsConst(n.m_children)) clearBelow(*child);
  n.clear();
}

bool CTaskShape::isBehind() const { return m_nRows != m_tree.rowCount(); }

bool CTaskShape::hasTwoSides() const { return !m_tree.stocks().isEmpty() && !m_tree.futures().isEmpty(); }

void CTaskShape::build(const Accounts& accounts) {
  clearBelow(m_tree.root());
  NodeList nodes;
  if (!m_tree.futures().isEmpty()) {
    hangSide(m_tree.futures(), sideName(ETaskSide::Futures), accounts, nodes);
    logShape(
        "ft: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        m_tree.futures());
  }
  if (!m_tree.stocks().isEmpty()) {
    hangSide(m_tree.stocks(), sideName(ETaskSide::Stock), accounts, nodes);
    logShape(
        "stk: cmd = %1%, task = %2%, stock_map_size = %3%, futures_map_size = %4%, multi_type = %5%, "
        "multi_account = %6%.",
        m_tree.stocks());
  }
  for (const auto& node : nodes) node->m_nOrderType = m_tree.root().m_nOrderType;
  // The inner nodes of the earlier shape go here, when no row refers to them any more.
  m_innerNodes.swap(nodes);
  ++m_nVersion;
  m_nRows = m_tree.rowCount();
}

std::vector<CBasketTaskItem*> CTaskShape::innerNodes() const {
  std::vector<CBasketTaskItem*> nodes;
  nodes.reserve(m_innerNodes.size());
  for (const auto& node : m_innerNodes) nodes.push_back(node.get());
  return nodes;
}

void CTaskShape::hangSide(const SideRows& side, const QString& name, const Accounts& accounts, NodeList& nodes) {
  const bool multiType = hasTwoSides();
  CBasketTaskItem* parent = &m_tree.root();
  if (multiType) {
    parent = hangNode(parent, std::make_unique<CBasketTaskItem>(name, name, NONE, NONE, NONE, NONE, 0), nodes);
  }
  QSet<QString> taken;
  for (auto rows = side.cbegin(); rows != side.cend(); ++rows) {
    if (rows->isEmpty()) continue;
    const STaskAccount account = accountOfRows(rows.key(), *rows->first(), accounts);
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

void CTaskShape::logShape(const char* pattern, const SideRows& side) const {
  const auto text = [](bool flag) { return flag ? "true" : "false"; };
  utils::logInfo(m_id.task, "CBasketTask::reorganize", pattern, m_id.commandId, m_id.groupId, m_tree.stocks().size(),
                 m_tree.futures().size(), text(hasTwoSides()), text(side.size() > 1));
}

}  // namespace TC
