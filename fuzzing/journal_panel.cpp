// Whole journals through a panel. The first byte: 1 shows it, 2 looks at its model all the while, 4 plays twice, which
// must come to the same output, 128 takes the rest for a journal's text instead of a script of lines.
#include <QAbstractItemModelTester>
#include <memory>

#include "Application.h"
#include "Fuzz.h"
#include "JournalScript.h"
#include "PanelRun.h"
#include "TableDump.h"
#include "gv/CHpfTreeTable.h"

namespace {

constexpr int SHOWN = 1;
constexpr int TESTED = 2;
constexpr int TWICE = 4;
constexpr int TEXT = 128;
constexpr std::size_t MOST_LINES = 60;
constexpr int LINE_MSEC = 700;

using Tester = QAbstractItemModelTester;

/// Watches the model of the panel that is open until it goes.
void watch(const fuzz::SPanelRun& run) {
  if (!run.panel()) return;
  QAbstractItemModel* const model = journal::tableOf(*run.panel())->dataModel();
  if (!model->findChild<Tester*>()) new Tester(model, Tester::FailureReportingMode::Fatal, model);
}

/// What was put out, the table last.
std::string outputOf(fuzz::SPanelRun& run) { return run.m_out.str() + run.table(); }

std::string playScript(fuzz::CBytes bytes, int how, std::vector<std::string>& played) {
  fuzz::SPanelRun run((how & SHOWN) != 0);
  while (!bytes.isEmpty() && played.size() < MOST_LINES) {
    if ((how & TESTED) != 0) watch(run);
    const int msec = LINE_MSEC * static_cast<int>(played.size() + 1);
    played.push_back(fuzz::nextLines(bytes, run.rows(), msec));
    run.play(played.back());
  }
  if (run.panel()) fuzz::require(run.panel()->runningCount() >= 0, "no less than no task runs");
  return outputOf(run);
}

std::string playAgain(const std::vector<std::string>& lines, int how) {
  fuzz::SPanelRun run((how & SHOWN) != 0);
  for (const std::string& each : lines) run.play(each);
  return outputOf(run);
}

/// A journal comes to the same output each time.
void compare(const std::string& first, const std::string& second) {
  std::istringstream lines(first);
  std::istringstream others(second);
  std::string line;
  std::string other;
  while (std::getline(lines, line)) {
    if (!std::getline(others, other) || line != other)
      fuzz::fail(std::string("once\n").append(line).append("\nis then\n").append(other));
  }
  fuzz::require(first == second, "what is put out twice is as long");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::startApplication();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::CBytes bytes(data, size);
  const int how = bytes.byte();
  std::vector<std::string> played;
  std::string output;
  if ((how & TEXT) != 0) {
    played.emplace_back(bytes.rest());
    output = playAgain(played, how);
  } else {
    output = playScript(bytes, how, played);
  }
  fuzz::emptyFolder();  // what was exported: nothing is written over
  if ((how & TWICE) != 0) compare(output, playAgain(played, how));
  fuzz::emptyFolder();
  return 0;
}
