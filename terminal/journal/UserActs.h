#pragma once

#include "Lines.h"

namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// Does on the panel what the line says that the user did. Throws CLineFault for a row that does not exist. GUI thread.
void performUserAct(TC::ITradeDockableWidget& panel, const SUserLine& line);

}  // namespace journal
