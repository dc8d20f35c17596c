#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace GV {
class CCommonDialog;
}

namespace journal {

/// A modal dialog as the user sees it. GUI thread.
nlohmann::ordered_json dialogDump(const GV::CCommonDialog& dialog, const std::string& name);

}  // namespace journal
