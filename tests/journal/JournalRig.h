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

/// A line of task 123: 200 of 1000 traded.
inline std::string task(int status) {
  return R"({"kind":"task","via":"feed","id":123,"number":1,"status":)" + std::to_string(status) +
         R"(,"command":{"id":1123,"taskId":123,"traderType":1,"user":"u1","login":"L1","basketType":1},)"
         R"("params":[{"account":"A1","operation":1,"market":"SH","code":"600000","price":10.0,"volume":1000}],)"
         R"("orders":[{"key":"o1","market":"SH","code":"600000","operation":1,"volume":1000,"traded":200,)"
         R"("price":10.0,"amount":2000.0,"completed":true}]})";
}

/// A replay with everything that it takes.
class CReplay {
 public:
  CReplay()
      : m_services(m_desk, desk::CHostServices::EClock::Manual),
        m_output(m_out),
        m_player(
            m_desk, m_services, [] { return new TC::CBasketTasksPanel(1, nullptr); }, m_output, m_errors) {
    m_services.install();
  }

  int play(const std::string& text) {
    std::istringstream in(text);
    return m_player.play(in, "test.jsonl");
  }

  /// Lines put out that have a field of this name.
  std::vector<nlohmann::json> lines(const std::string& field) const {
    std::vector<nlohmann::json> found;
    std::istringstream in(m_out.str());
    for (std::string text; std::getline(in, text);) {
      nlohmann::json line = nlohmann::json::parse(text);
      if (line.contains(field)) found.push_back(std::move(line));
    }
    return found;
  }
  std::string errors() const { return m_errors.str(); }
  std::string out() const { return m_out.str(); }
  journal::CPlayer& player() { return m_player; }

 private:
  desk::CDesk m_desk;
  desk::CHostServices m_services;
  std::ostringstream m_out;
  std::ostringstream m_errors;
  journal::COutput m_output;
  journal::CPlayer m_player;
};
