#pragma once

#include <QMap>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "CBasketTaskItem.h"
#include "RootNames.h"
#include "RowLookup.h"
#include "TaskIdentity.h"

namespace TC {

/// The nodes of a task, which it owns: the root, the rows by account and key, and the group and account nodes between
/// them that the present shape needs. Knows no figures but the rows' targets.
///
/// Each row is made once. Group and account nodes are made anew with each shape and go when the last row has let go of
/// them.
class CTaskTree {
 public:
  using Accounts = QMap<QString, STaskAccount>;

  explicit CTaskTree(const STaskIdentity& id);

  CBasketTaskItem& root() const { return *m_pRoot; }
  /// Rows of securities, and of the hedge, by account key, then row key.
  const SideRows& stocks() const { return m_stocks; }
  const SideRows& futures() const { return m_futures; }
  /// Made empty for an unknown account.
  AccountRows& stockRows(const QString& accountKey) { return m_stocks[accountKey]; }
  /// Whether everything was traded, what the hedge is to trade included.
  bool isFilled() const { return !m_pRoot->isEmpty() && m_pRoot->isFilled(); }

  /// The accounts of all rows as the host names them now, with one that is to have rows. Asks the host, changes
  /// nothing.
  Accounts askAccounts(const QString& also = QString()) const;
  /// Remembers how an account is shown; the first text stays.
  void noteAccount(const QString& accountKey, const QString& text);

  // accounts: as askAccounts gave them; without, the rows are not hung before the next build.
  /// Gives each line of a detail that was not known its row: raises the row's target, or makes it. The rows that were
  /// made.
  std::vector<CBasketTaskItem*> place(const ksservice::CTaskDetail& detail, const std::optional<Accounts>& accounts);
  /// Whether the account of a known detail has rows; one that has none is named all the same.
  bool follow(const ksservice::CTaskDetail& detail);
  /// The hedge's row. beforeOwn: the task has no details yet.
  CBasketTaskItem& placeHedge(const ksservice::CTaskDetail& detail, bool beforeOwn,
                              const std::optional<Accounts>& accounts);

  /// Rows have come that are not in the shape yet.
  bool hasNewRows() const { return m_bNewRows; }
  /// Hangs the rows anew: groups where there are two sides, accounts where a side has several.
  void build(const Accounts& accounts);
  /// Grows with each build: as long as it stands, every node stays and keeps its place and keys.
  unsigned shapeVersion() const { return m_nShapeVersion; }

 private:
  using NodeList = std::vector<std::unique_ptr<CBasketTaskItem>>;

  CBasketTaskItem* placeLine(const ksservice::CTaskDetail& detail, const ksservice::CCodeOrderParam& param,
                             const STaskAccount& account, AccountRows& rows);
  CBasketTaskItem* addRow(const QString& name, const QString& rowKey, const QString& stockKey,
                          const ksservice::CCodeOrderParam& param, const STaskAccount& account);
  void nameAccount(const CRootNames::Place& place, const STaskAccount& account);
  void hangSide(const SideRows& side, const QString& name, bool multiType, NodeList& nodes);
  STaskAccount accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow) const;
  void logShape(const char* pattern, bool multiType, const SideRows& side) const;

  const STaskIdentity& m_id;
  std::unique_ptr<CBasketTaskItem> m_pRoot;
  CRootNames m_names;
  NodeList m_rows;
  SideRows m_stocks;
  SideRows m_futures;
  QMap<QString, QString> m_accountTexts;  ///< display identifiers by account key
  Accounts m_hostAccounts;                ///< as the host names them, by account key
  NodeList m_innerNodes;                  ///< group and account nodes of the present shape
  bool m_bNewRows = false;
  unsigned m_nShapeVersion = 0;
};

/// Empties the child lists of n and of everything below it.
void clearBelow(CBasketTaskItem& n);

}  // namespace TC
