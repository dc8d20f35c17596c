#pragma once

#include <QMap>
#include <QString>
#include <memory>
#include <vector>

#include "CBasketTaskItem.h"
#include "RowLookup.h"
#include "TaskIdentity.h"

namespace TC {

class CTaskTree;

/// How the rows of a task hang under its root: directly, or under groups where there are two sides, and under accounts
/// where a side has several. These nodes are made anew by each build and owned here; they go when the last row has let
/// go of them.
class CTaskShape {
 public:
  using Accounts = QMap<QString, STaskAccount>;

  /// Both must outlive the shape.
  CTaskShape(const STaskIdentity& id, const CTaskTree& tree) : m_id(id), m_tree(tree) {}

  /// Whether rows have come since the last build.
  bool isBehind() const;
  /// The accounts of all rows as the host names them now, with one that is to have rows. Asks the host, changes
  /// nothing.
  Accounts askAccounts(const QString& also = QString()) const;
  /// Remembers how an account is shown that the host does not name; the first text stays.
  void noteAccount(const QString& accountKey, const QString& text);
  /// Hangs the rows anew. accounts: as askAccounts gave them.
  void build(const Accounts& accounts);
  /// The groups and accounts of the last build.
  std::vector<CBasketTaskItem*> innerNodes() const;
  /// Grows with each build: as long as it stands, every node stays and keeps its place and keys.
  unsigned version() const { return m_nVersion; }

 private:
  using NodeList = std::vector<std::unique_ptr<CBasketTaskItem>>;

  void hangSide(const SideRows& side, const QString& name, const Accounts& accounts, NodeList& nodes);
  STaskAccount accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow,
                             const Accounts& accounts) const;
  void logShape(const char* pattern, const SideRows& side) const;
  /// Whether there are rows of securities and of futures.
  bool hasTwoSides() const;

  const STaskIdentity& m_id;
  const CTaskTree& m_tree;
  QMap<QString, QString> m_accountTexts;  ///< display identifiers by account key
  NodeList m_innerNodes;
  std::size_t m_nRows = 0;  ///< those that are hung
  unsigned m_nVersion = 0;
};

/// Empties the child lists of n and of everything below it.
void clearBelow(CBasketTaskItem& n);

}  // namespace TC
