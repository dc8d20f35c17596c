/// What is worth a mark on the bar of a day, and in words what entered.
#pragma once

#include <QString>
#include <vector>

#include "past/CPastDay.h"

namespace app {

enum class EDayMark { Start, Patch, Stop, Refusal, Exception, Count };

/// The key of a kind's colour.
const char* colourOf(EDayMark mark);

struct SDayMark {
  std::int64_t m_nMsec = 0;  ///< of the clock, since midnight
  EDayMark m_eKind = EDayMark::Start;
  QString m_strText;
};

/// In words what an entry is about, in one line.
QString entryText(const daylog::SEntry& entry);
/// Of all entries and outputs, in the order of time. What repeats within a second is one mark.
std::vector<SDayMark> dayMarks(const daylog::IDayLog& log, const CPastDay& day);

}  // namespace app
