/// The events of the host's event delivery between the status table and its panel; those of the controls stand in
/// gv/CEventWidget.h.
#pragma once

namespace TC {

enum EBasketEvent : int {
  EBE_TaskButton = 1140,  ///< a row's operation; id: its action code, key: the node's, data: the task's key, a QString
  EBE_Orders = 1196       ///< the window of orders is to follow a task; key: the task's key followed by its root's
};

}  // namespace TC
