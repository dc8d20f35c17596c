/// A replay on a desk of its own, and the lines that a short journal is made of.
#pragma once

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "CBasketTasksPanel.h"
#include "CHostServices.h"
#include "COutput.h"
#include "CPlayer.h"

inline const std::string SETUP =
    R"({"kind":"session","version":1,"user":"u1","login":"L1","traderType":1,"now":1763683200}
{"kind":"account","key":"A1","displayId":"1001","name":"主账户"}
{"kind":"account","key":"A2","displayId":"1002","name":"副账户"}
{"kind":"instrument","market":"SH","code":"600000","name":"浦发银行","types":[100001],"tradeUnit":100}
{"kind":"quote","market":"SH","code":"600000","last":10.0}
)";

inline std::vector<nlohmann::json> jsonLines(const std::string& text) {
  std::vector<nlohmann::json> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(nlohmann::json::parse(line));
  return lines;
}

/// A replay with everything that it takes.
struct SReplay {
  SReplay() { m_services.install(); }

  int play(const std::string& text) {
    std::istringstream in(text);
    return m_player.play(in, "test.jsonl");
  }

  /// Lines put out that have a field of this name.
  std::vector<nlohmann::json> lines(const std::string& field) const {
    std::vector<nlohmann::json> found = jsonLines(m_out.str());
    std::erase_if(found, [&field](const nlohmann::json& line) { return !line.contains(field); });
    return found;
  }

  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Manual};
  std::ostringstream m_out;
  std::ostringstream m_errors;
  journal::COutput m_output{m_out};
  journal::CPlayer m_player{m_desk, m_services, [] { return new TC::CBasketTasksPanel(1, nullptr); }, m_output,
                            m_errors};
};
