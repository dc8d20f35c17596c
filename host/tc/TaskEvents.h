/// The events by which the user's acts on basket tasks travel between host, table and panel, beside those of the UI kit
/// (gv/CEventWidget.h).
#pragma once

#include <QString>

namespace TC {

enum ETaskEvent : int {
  EventTaskButton = 1140,  ///< a button of a task's row; id: ETaskAction, key: the node's, data: the task's, a QString
  EventTaskOrders = 1196   ///< the orders of a task changed; key: CTaskOrdersWidget::keyOf of its root
};

/// What a button of a task's row asks for.
enum ETaskAction : int {
  ETA_None = -1,
  ETA_Cancel = 3,
  ETA_Pause = 5,
  ETA_Resume = 6,
  ETA_Patch = 10000,
  ETA_StopPatch = 10001,  ///< stops the patch that runs
  ETA_Drop = 10002,       ///< gives up a patch, and with it the task
  ETA_CancelHedge = 10003
};

/// Key of a task, under which host, panel and table know it. Any thread.
QString taskKey(int taskId);

}  // namespace TC
