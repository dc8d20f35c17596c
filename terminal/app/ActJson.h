/// Acts as text, and back. Any thread.
#pragma once

#include <optional>
#include <string>

#include "Acts.h"
#include "CDesk.h"

namespace app {

/// An act in two texts.
struct SActText {
  std::string m_strKind;  ///< "basket", "create", ...
  std::string m_strBody;  ///< a JSON object; accounts by their keys
};

SActText toText(const engine::Act& act);

/// The act of a text that toText() gave, on a desk that knows its accounts; none, and what is wrong with the text.
std::optional<engine::Act> toAct(const SActText& text, const desk::CDesk& desk, std::string& fault);

}  // namespace app
