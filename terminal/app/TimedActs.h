/// A file of acts at times of the simulated day, by which a session without a user does what one would do.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "ActJson.h"

namespace app {

/// What is wanted of a task and all that belongs to it; which acts that takes depends on how it stands then.
struct SWish {
  enum class EDo { Cancel, Pause, Resume, Patch, Hedge };
  EDo m_eDo = EDo::Cancel;
  int m_nTask = 0;                                        ///< of the basket
  engine::EHedgeAct m_eHedge = engine::EHedgeAct::Start;  ///< for a hedge
};

struct STimedAct {
  std::int64_t m_nMsec = 0;  ///< since midnight
  int m_nLine = 0;           ///< of the file, from 1
  std::variant<SActText, SWish> m_what;
};

/// The acts of a file in the order of their times, those of one time as they stand. begin: the day's, milliseconds
/// since midnight. Faults are "FILE:LINE: fault": a line that is no JSON object, a time before the day begins, a field
/// that is missing, unknown or of another type, an account that the desk does not know; or that the file cannot be
/// read.
std::vector<STimedAct> readActs(const std::string& file, std::int64_t begin, const desk::CDesk& desk,
                                std::vector<std::string>& faults);

}  // namespace app
