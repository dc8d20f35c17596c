/// In which file a session keeps its day: the one that was named, or the user's own.
#pragma once

#include <memory>
#include <string>

#include "DayLog.h"
#include "Options.h"

namespace app {

/// A day before its session begins.
struct STakenDay {
  std::unique_ptr<daylog::IDayLog> m_pLog;  ///< null: none is kept, or there is a fault
  std::string m_strFault;                   ///< names the file
};

/// The day that the options want kept, a new one or one that was begun, whose options are taken over; its file is that
/// of the options from now on. Where none is named it is the newest of the trading day's in the user's folder of data,
/// or the next one if that is over. Faults: an option that was given otherwise (with both values), a file that is not
/// the same any more, a day that is over, a file that is no day. An application object must exist.
STakenDay takeDay(const OptionValues& given, SOptions& options);

}  // namespace app
