/// What speaks against a line by itself. Any thread.
#pragma once

#include <vector>

#include "Judge.h"

namespace draft {

/// A line with all that is known of it.
struct SLineLook {
  const SLine& m_line;
  const SMarketFacts& m_facts;
  const SDealtLine& m_dealt;
  const SLimits& m_limits;
  bool m_bWeightsSized = false;  ///< a total was given, so that some lines by weight came to something
};

void checkLine(const SLineLook& look, std::vector<SFinding>& findings);

/// Whether a name may be that of a listed security: blanks, width and case of letters, and the marks that exchanges set
/// before and behind a name (ST, XD, -U) do not count.
bool fitsName(const std::string& name, const std::string& listed);

}  // namespace draft
