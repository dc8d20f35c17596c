#pragma once

#include "ksservice/CTaskDetail.h"

namespace TC {

/// What a detail is to the basket task of its command.
enum class EDetailKind {
  Own,    ///< of the task itself
  Hedge,  ///< of its hedge
  Patch,  ///< of a patch of its remainder
  Other   ///< none of the task's business
};

/// The way on which a detail is met. They classify differently on purpose, see the table in the source.
enum class EDetailWay {
  Feed,    ///< the host's feed of task details
  Signal,  ///< the panel's own signal
  Load,    ///< the first load and the reload of an account
  LookUp   ///< the data centre, asked for what was taken of a remainder
};

/// Other for a detail without a command. Any thread.
EDetailKind kindOf(const ksservice::CTaskDetail& detail, EDetailWay way);

/// Whether a command is of an ETF hedge basket, which is hedged by itself. Any thread.
bool isEtfHedge(const ksservice::COrderCommand& command);

}  // namespace TC
