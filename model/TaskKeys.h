/// The keys of tasks: the one place where they are formed and read. Any thread.
#pragma once

#include <QString>

namespace TC {

/// Key of a task, under which panel and table know it.
QString taskKey(int taskId);

/// Display id of a task: trader type in two digits, task id in eight, both padded with zeros. The tree key of its root.
QString taskDisplayId(int traderType, int taskId);

/// The task id in a display id; -1 for a text that is none.
int taskIdOfDisplayId(const QString& displayId);

/// Digits that a row's tree key has behind its root's.
constexpr int TREE_KEY_ORDINAL_DIGITS = 8;

}  // namespace TC
