#include "ScenarioPrintout.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CBasketTasksPanel.h"
#include "CDesk.h"
#include "CHostServices.h"
#include "COutput.h"
#include "CPlayer.h"

namespace test {
namespace {

using Json = nlohmann::ordered_json;

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// Account, type, amount, progress, orders, start, end, status, unfilled: what the model's rules decide.
std::string cellsOf(const Json& row) {
  std::string line;
  for (const int column : {4, 6, 7, 8, 9, 10, 11, 13, 15}) {
    line += " | " + trimmed(row["cells"][static_cast<std::size_t>(column)].get<std::string>());
  }
  return line;
}

std::string buttonsOf(const Json& row) {
  if (row["buttons"].empty() || !row["buttonSet"].get<bool>()) return "";
  std::string line;
  for (const Json& button : row["buttons"]) {
    if (!button["visible"].get<bool>()) continue;
    line += " " + button["text"].get<std::string>() + (button["enabled"].get<bool>() ? "" : "(off)");
  }
  return line.empty() ? "" : " [" + line.substr(1) + "]";
}

void printDump(const Json& dump, std::ostream& out) {
  out << "dump " << dump["dump"].get<std::string>() << ": filter " << dump["filter"] << ", running " << dump["running"]
      << "\n";
  for (const Json& row : dump["rows"]) {
    const std::string path = row["row"];
    const int depth = row["depth"];
    out << std::string(static_cast<std::size_t>(depth) * 2 + 2, ' ')
        << (depth == 0 ? path : path.substr(path.rfind('/') + 1)) << (row["hidden"].get<bool>() ? " (hidden)" : "")
        << (depth == 0 && !row["expanded"].get<bool>() ? " (folded)" : "") << cellsOf(row) << buttonsOf(row) << "\n";
  }
}

}  // namespace

std::string playAndPrint(const std::string& fileName) {
  std::stringstream lines;
  std::ostringstream printout;
  {
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
    services.install();
    journal::COutput output(lines);
    const auto createPanel = [] {
      auto* panel = new TC::CBasketTasksPanel(1, nullptr);
      panel->show();
      return panel;
    };
    journal::CPlayer player(desk, services, createPanel, output, printout);
    std::ifstream in(fileName);
    const int exit = player.play(in, fileName.substr(fileName.rfind('/') + 1));
    if (exit != 0) printout << "exit " << exit << "\n";
  }
  for (std::string line; std::getline(lines, line);) {
    const Json json = Json::parse(line);
    if (json.contains("dump")) {
      printDump(json, printout);
    } else {
      printout << line << "\n";
    }
  }
  return printout.str();
}

}  // namespace test
