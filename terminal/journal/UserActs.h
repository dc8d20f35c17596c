#pragma once

#include "Lines.h"

namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// Does on the panel what the line says that the user did. Throws CLineFault for a row that does not exist. GUI thread.
void performUserAct(TC::ITradeDockableWidget& panel, const SUserLine& line);
/// Has the host patch the row, a task's root or one of its rows, without a dialog. Throws as above. GUI thread.
void patchRow(TC::ITradeDockableWidget& panel, const std::string& path, int priceType);

}  // namespace journal
