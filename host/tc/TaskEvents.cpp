#include "tc/TaskEvents.h"

namespace TC {

QString taskKey(int taskId) { return QStringLiteral("组合任务") + QString::number(taskId); }

}  // namespace TC
