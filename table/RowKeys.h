/// The keys of a task's rows in the table: the one place where they are formed.
///
/// A root has its task's key. Every other key is a path of the task's id, the side, the account's key and the key with
/// which the row was made, each as far as the node has it ("7-证券", "7-证券-A1", "7-证券-A1-SH.600000买入"), and says
/// all of them whether the tree has a level for them or not, so that a row keeps its key whatever comes to its task.
/// No two nodes of a table have one key, whatever texts the accounts have for keys; and no row key is the key, tree key
/// or display id of a node, so that a name cannot be taken for that of another row.
#pragma once

#include <QString>
#include <string>

#include "StagedTask.h"

namespace TC {

class CBasketTask;
class CBasketTaskItem;

/// A row's key: formed when it is asked for, since a text of its own would be a good part of what a row takes. Any
/// thread.
QString rowKey(const SRowShape& row);
/// Whether that is the row's key, without forming it. Any thread.
bool isRowKey(const SRowShape& row, const QString& key);

/// Forms the stems of the keys of a task: of a leaf all but the key with which it was made, of any other node its key.
/// With the task's mutex held from the first call to the last.
class CRowKeyStems {
 public:
  explicit CRowKeyStems(const CBasketTask& task);

  QString of(const CBasketTaskItem& node);

 private:
  bool isFutures(const CBasketTaskItem& node) const;

  const CBasketTaskItem* m_pHedge;
  QString m_strTask;        ///< what all keys below the root begin with
  bool m_bGrouped = false;  ///< the nodes below the root are the sides
  // The account of the node that was asked for last, since the rows of an account stand together.
  QString m_strStem;
  bool m_bFutures = false;
  std::string m_strAccount;
};

}  // namespace TC
