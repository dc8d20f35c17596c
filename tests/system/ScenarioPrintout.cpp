#include "ScenarioPrintout.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
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

const std::string BEGIN = R"({"kind":"session","version":1,"user":"u1","login":"L1","traderType":1,"now":1763683200}
{"kind":"open"}
)";

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

/// A dump inside a dialog: rows with their check, editor and cells, buttons, labels.
void printDialog(const Json& dump, std::ostream& out) {
  out << "dump " << dump["dump"].get<std::string>() << ": dialog " << dump["title"].get<std::string>() << "\n";
  for (const Json& row : dump["rows"]) {
    out << "  " << row["row"].get<std::string>() << (row["checked"].get<bool>() ? " (x)" : "") << " <"
        << row["editor"].get<std::string>() << ">";
    for (const Json& cell : row["cells"]) out << " | " << cell.get<std::string>();
    out << "\n";
  }
  out << "  buttons";
  for (const Json& button : dump["buttons"]) {
    out << " [" << button["text"].get<std::string>() << (button.value("checked", false) ? " (x)" : "")
        << (button["visible"].get<bool>() ? "" : " (hidden)") << (button["enabled"].get<bool>() ? "" : " (off)") << "]";
  }
  out << "\n  labels";
  for (const Json& label : dump["labels"]) out << " <" << label.get<std::string>() << ">";
  out << "\n";
}

/// After each session line comes what all journals have in common; one without a session has the usual one, and opens
/// the panel at once.
std::string journalOf(const std::string& fileName) {
  static const std::string session = R"({"kind":"session")";
  static const std::string look = R"({"look":)";
  const std::string own = readFile(fileName);
  std::istringstream in(own.find(session) != std::string::npos ? own : BEGIN + own);
  std::string journal;
  for (std::string line; std::getline(in, line);) {
    if (line.rfind(look, 0) == 0) {
      journal += R"({"kind":"refresh"})"
                 "\n"
                 R"({"kind":"dump","name":)" +
                 line.substr(look.size()) + "\n";
    } else {
      journal += line + "\n";
    }
    if (line.rfind(session, 0) == 0) journal += readFile(PBT_SOURCE_DIR "/tests/system/common.jsonl");
  }
  return journal;
}

/// What exports left in the folder, file by file.
void printFiles(const QDir& folder, std::ostream& out) {
  for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden, QDir::Name)) {
    QFile file(folder.filePath(name));
    const bool open = file.open(QIODevice::ReadOnly);
    const QByteArray content = file.readAll();
    out << "file " << name.toStdString() << (open ? "" : " cannot be read") << "\n";
    if (content.startsWith("PK")) {
      out << "  a workbook\n";
      continue;
    }
    for (const QByteArray& line : content.split('\n')) out << "  " << line.toStdString() << "|\n";
  }
}

/// An empty folder to work in while it lives.
class CWorkingFolder {
 public:
  CWorkingFolder() : m_before(QDir::currentPath()) { QDir::setCurrent(m_folder.path()); }
  CWorkingFolder(const CWorkingFolder&) = delete;
  CWorkingFolder& operator=(const CWorkingFolder&) = delete;
  ~CWorkingFolder() { QDir::setCurrent(m_before); }

  QDir folder() const { return QDir(m_folder.path()); }

 private:
  QTemporaryDir m_folder;
  QString m_before;
};

}  // namespace

std::string readFile(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(name).rdbuf();
  return text.str();
}

std::string playAndPrint(const std::string& fileName, const MakeSource& makeSource) {
  std::stringstream lines;
  std::ostringstream printout;
  const CWorkingFolder working;
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
    const std::unique_ptr<ISource> source = makeSource ? makeSource(desk, services) : nullptr;
    journal::CPlayer player(desk, services, createPanel, output, printout);
    if (source) player.setSource(source->desk(), source->services());
    std::stringstream in(journalOf(fileName));
    const int exit = player.play(in, fileName.substr(fileName.rfind('/') + 1));
    if (exit != 0) printout << "exit " << exit << "\n";
  }
  for (std::string line; std::getline(lines, line);) {
    const Json json = Json::parse(line);
    if (json.contains("dump") && json.contains("title")) {
      printDialog(json, printout);
    } else if (json.contains("dump")) {
      printDump(json, printout);
    } else {
      printout << line << "\n";
    }
  }
  printFiles(working.folder(), printout);
  return printout.str();
}

}  // namespace test
