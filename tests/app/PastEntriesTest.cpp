// What a kept day holds is somebody else's once it lies in a file.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "CDayRun.h"
#include "DayStart.h"
#include "past/DayMarks.h"
#include "past/DayTrail.h"

/// A file that somebody changed: what an entry's words are not is passed over, for the terminal goes on looking.
TEST(PastEntries, OfOtherTypesThanTheirWordsAreTold) {
  const char* const BODIES[] = {
      "{}", "[1]", "no JSON",
      R"({"operation":"pause","orders":7,"task":{},"act":1,"group":null,"name":[],"ofTask":"1"})",
      R"({"operation":4294967299,"orders":[1,{}],"task":4294967297,"group":1.5})"};
  QTemporaryDir folder;
  const daylog::SOpenedDay day = daylog::openDay(folder.filePath("day.db").toStdString());
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  std::vector<daylog::SEntry> entries;
  for (const char* kind :
       {"day", "basket", "create", "operate", "operateServer", "cancel", "query", "setHedge", "hedge"}) {
    for (const char* body : BODIES) entries.push_back({0, 1000, kind, body});
  }
  ASSERT_EQ(day.m_pLog->append(entries, {}), "");
  EXPECT_EQ(app::dayMarks(*day.m_pLog, app::CPastDay()).size(), 6 * std::size(BODIES))
      << "all but the day, queries, hedges set";
  for (const daylog::SEntry& entry : day.m_pLog->entries()) EXPECT_FALSE(app::entryText(entry).isEmpty());
  EXPECT_EQ(app::entryText({1, 0, "operate", BODIES[4]}), "操作 任务 4294967297") << "no number of an operation";
  EXPECT_EQ(app::cancelOf(*day.m_pLog, "7", 2000), nullptr);
  EXPECT_TRUE(app::actsOn(*day.m_pLog, app::CPastDay(), 1, 2000).empty()) << "a number beyond 32 bits is none";
}

/// No number is cut off to fit: it would be another one.
TEST(PastEntries, OutputsOfNumbersThatDoNotFitAreRefused) {
  const char* const OUTPUTS[] = {
      R"({"tasks":[{"key":"1-1","at":1e300}]})", R"({"tasks":[{"key":"1-1","at":1,"id":4294967297}]})",
      R"({"tasks":[{"key":"1-1","at":1,"status":-1.5}]})", R"({"waits":[["1-1",1,18446744073709551615]]})",
      R"({"hedges":[[1,"state",2147483648,1]]})"};
  for (const char* outputs : OUTPUTS) {
    QTemporaryDir folder;
    const daylog::SOpenedDay day = daylog::openDay(folder.filePath("day.db").toStdString());
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    ASSERT_EQ(day.m_pLog->append({{0, 1000, "day", "{}"}}, {{2000, 1, outputs}}), "");
    const daylog::SOpenedDay read = daylog::readDay(folder.filePath("day.db").toStdString());
    app::CPastDay past;
    EXPECT_THROW(past.read(*read.m_pLog, 1), std::runtime_error) << outputs;
  }
}

/// Whoever waited for such a moment would wait for ever.
TEST(PastEntries, BetweenTwoStepsOfTheClockEndWhatIsRunAgain) {
  QTemporaryDir folder;
  const daylog::SOpenedDay day = daylog::openDay(folder.filePath("day.db").toStdString());
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  ASSERT_EQ(app::beginDay(day.m_pLog.get(), {}, app::SOptions()), "");
  ASSERT_EQ(day.m_pLog->append({{0, 33900005, "operate", R"({"task":1,"account":"A1","operation":3})"}}, {}), "");
  app::CDayRun run(*day.m_pLog);
  ASSERT_EQ(run.fault(), "");
  EXPECT_EQ(run.runAgain(), "33900005 ms is no step of the clock");
}
