// Every journal in journals/ is played; what comes out must be the printout that stands beside it.
#include <gtest/gtest.h>

#include <QDir>
#include <fstream>

#include "ScenarioPrintout.h"

namespace {

std::string journalFolder() { return PBT_SOURCE_DIR "/tests/system/journals/"; }

/// Leaves a printout where it can be compared, and when it is right taken over.
std::string keep(const std::string& name, const std::string& printout) {
  const QString folder = QDir::tempPath() + "/pbt-scenarios";
  QDir().mkpath(folder);
  std::string file = folder.toStdString() + "/" + name + ".txt";
  std::ofstream(file) << printout;
  return file;
}

class JournalScenario : public ::testing::TestWithParam<std::string> {};

TEST_P(JournalScenario, PlaysAsPrinted) {
  const std::string base = journalFolder() + GetParam();
  const std::string expected = test::readFile(base + ".txt");
  const std::string printout = test::playAndPrint(base + ".jsonl");
  EXPECT_EQ(printout, expected) << "what came out stands in " << keep(GetParam(), printout);
}

std::vector<std::string> journalNames() {
  std::vector<std::string> names;
  const QDir folder(QString::fromStdString(journalFolder()));
  for (const QString& name : folder.entryList({"*.jsonl"}, QDir::Files, QDir::Name)) {
    names.push_back(name.chopped(6).toStdString());
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(All, JournalScenario, ::testing::ValuesIn(journalNames()),
                         [](const auto& scenario) { return scenario.param; });

}  // namespace
