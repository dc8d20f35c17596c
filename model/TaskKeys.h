/// The keys of tasks and their nodes: the one place where they are formed and read, but for the task's own key, which
/// the host forms too. Any thread.
#pragma once

#include <QString>
#include <string>

#include "tc/TaskEvents.h"

namespace TC {

/// Display id of a task: trader type in two digits, task id in eight, both padded with zeros. The tree key of its root.
QString taskDisplayId(int traderType, int taskId);

/// The task id in a display id; -1 for a text that is none.
int taskIdOfDisplayId(const QString& displayId);

/// Key of an instrument row: instrument key and operation text.
QString rowKey(const std::string& market, const std::string& code, int operation);

/// Key of the row on which an order counts: one through a connect market falls on the Hong Kong instrument's row.
QString orderRowKey(const std::string& market, const std::string& code, int operation);

/// Between a node's key and the key with which a child of it was made.
constexpr QLatin1Char NODE_KEY_SEPARATOR('-');

/// The two sides of a task, as the nodes of groups are named and as the keys of rows in the table say.
enum class ETaskSide { Stock, Futures };
QString sideName(ETaskSide side);

/// Both texts as one that takes no more memory than it needs: every row keeps some.
QString joined(const QString& before, const QString& after);

/// Digits that a row's tree key has behind its root's.
constexpr int TREE_KEY_ORDINAL_DIGITS = 8;

}  // namespace TC
