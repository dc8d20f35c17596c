/// Acts as text, and back. Any thread.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Acts.h"
#include "CDesk.h"

namespace app {

/// An act in two texts.
struct SActText {
  std::string m_strKind;  ///< "basket", "create", ...
  std::string m_strBody;  ///< a JSON object; accounts by their keys
};

/// actsLine: the line of the file of timed acts that it comes from; 0: none.
SActText toText(const engine::Act& act, int actsLine = 0);

/// The line of the file that an act's body names; 0: none.
int actsLineOf(const std::string& body);

/// The words for what is done to a hedge.
const std::vector<std::pair<engine::EHedgeAct, const char*>>& hedgeActNames();

/// The act of a text that toText() gave, on a desk that knows its accounts; none, and what is wrong with the text.
std::optional<engine::Act> toAct(const SActText& text, const desk::CDesk& desk, std::string& fault);

}  // namespace app
