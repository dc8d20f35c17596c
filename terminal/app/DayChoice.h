/// In which file a session keeps its day: the one that was named, or the user's own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "DayLog.h"
#include "Options.h"

namespace app {

/// What the user is asked before a session begins: his own newest day is not over.
struct SDayQuestion {
  std::string m_strFile;
  std::int64_t m_nMsec = 0;  ///< where the day stands, milliseconds since midnight
  std::string m_strFault;    ///< why it cannot be gone on with; empty: it can
  bool m_bTaken = false;     ///< the fault is that another terminal goes on with it
};
enum class EDayAnswer { GoOn, BeginNew, Leave };
/// May run an event loop.
using AskDay = std::function<EDayAnswer(const SDayQuestion&)>;

/// A day before its session begins.
struct STakenDay {
  std::unique_ptr<daylog::IDayLog> m_pLog{};  ///< null: none is kept, the user leaves, or there is a fault
  std::string m_strFault{};                   ///< names the file
  std::string m_strNote{};                    ///< why it is another file than the one that was named; empty: it is not
  bool m_bLeft = false;                       ///< the user wants no session
};

/// The day that the options want kept, a new one or one that was begun, whose options are taken over; its file is that
/// of the options from now on. A file that is named and holds a day that is over is left, and the next one beside it
/// taken: day-2.db, day-3.db. Where none is named it is the newest of the trading day's in the user's folder of data,
/// or the next one if that is over; one that is not is asked for. Faults: an option that was given otherwise (with both
/// values), a file that is not the same any more, a day that another terminal has, a file that is no day. An
/// application object must exist.
STakenDay takeDay(const OptionValues& given, SOptions& options, const AskDay& ask);

}  // namespace app
