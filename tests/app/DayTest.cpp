// A day that is kept: from the shell, with other beginnings, made by another build.
#include <sqlite3.h>

#include "DayLog.h"
#include "TerminalRun.h"

namespace {

void runSql(const char* file, const char* statement) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file, &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, statement, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
}

const char* const BASKET =
    "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n买入,000001,30000\n买入,600519,1000\n卖出,000858,4000\n";

class Day : public Terminal {
 protected:
  Day() { writeFile("basket.csv", BASKET); }

  /// The run of a hedged basket over a whole day within seconds.
  static QStringList run(const char* day) {
    return {"--headless", "--basket", "basket.csv", "--hedge", "IF2612:1.0", "--algo",   "twap",
            "--speed",    "3600",     "--day",      day,       "--out",      "end.jsonl"};
  }
};

}  // namespace

TEST_F(Day, WhatWasCommittedAndNotDoneIsDoneOnce) {
  ASSERT_EQ(runTerminal(run("day.db") + QStringList{"--seconds", "1"}).m_nStatus, 0);
  {
    // As a process leaves it that is stopped behind the commit.
    const daylog::SOpenedDay day = daylog::openDay("day.db");
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    const std::int64_t last = day.m_pLog->marks().back().m_nMsec;
    ASSERT_EQ(day.m_pLog->append({{0, last, "operateServer", R"({"task":"1-1","operation":3})"}}, {}), "");
  }
  const SResult result = runTerminal(run("day.db"));
  EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
  // What proves its end was written out at the close.
  const QString head = QString::fromUtf8(readFile("day.db.head")).trimmed();
  EXPECT_EQ(runTerminal({"day", "verify", "day.db", "--head", head}).m_nStatus, 0) << head.toStdString();
  const nlohmann::json end = lastDump("end.jsonl");
  EXPECT_NE(end.at("rows").at(0).at("cells").at(11), "") << "it was cancelled: " << end.at("rows").at(0);
  const daylog::SOpenedDay day = daylog::readDay("day.db");
  EXPECT_EQ(std::count_if(day.m_pLog->entries().begin(), day.m_pLog->entries().end(),
                          [](const daylog::SEntry& entry) { return entry.m_strKind == "operateServer"; }),
            1);
  int cancelled = 0;
  for (const daylog::SMark& mark : day.m_pLog->marks()) {
    for (std::size_t at = 0; (at = mark.m_strOutputs.find("任务 [1-1] 撤销", at)) != std::string::npos; ++at)
      ++cancelled;
  }
  EXPECT_EQ(cancelled, 1);
  EXPECT_EQ(runTerminal({"day", "verify", "day.db"}).m_nStatus, 0);
}

#ifdef PBT_DISK_FAULTS
TEST_F(Day, ASlowOrFailingDiskDelaysADayAndLosesNothingOfIt) {
  const auto runOn = [](const SDiskFaults& faults, const QStringList& words) {
    QProcess process;
    startTerminalOn(faults, process, words);
    return resultOf(process);
  };
  const SResult slow = runOn({.m_nSlowMsec = 10}, run("day.db"));
  EXPECT_EQ(slow.m_nStatus, 0) << slow.m_strErrors.toStdString();
  EXPECT_TRUE(daylog::readDay("day.db").m_pLog->isFinished());
  EXPECT_EQ(runTerminal({"day", "verify", "day.db"}).m_nStatus, 0);

  constexpr int DAYS = 3;
  int refusals = 0;
  for (unsigned seed = 1; seed <= DAYS; ++seed) {
    for (const char* name : {"day.db", "day.db-wal", "day.db-shm"}) QFile::remove(name);
    const SResult failing = runOn({.m_nPermille = 20, .m_nSeed = seed}, run("day.db") + QStringList{"--seconds", "2"});
    // One that could not begin says so, and the next one begins.
    if (failing.m_nStatus != 0) {
      ++refusals;
      EXPECT_FALSE(failing.m_strErrors.isEmpty());
    }
    const SResult healed = runTerminal(run("day.db"));
    EXPECT_EQ(healed.m_nStatus, 0) << "seed " << seed << ": " << healed.m_strErrors.toStdString();
    const SResult verified = runTerminal({"day", "verify", "day.db"});
    EXPECT_EQ(verified.m_nStatus, 0) << "seed " << seed << ": " << verified.m_strOut.toStdString();
  }
  EXPECT_LT(refusals, DAYS) << "the disk fails while a day is under way, too";
}
#endif

TEST_F(Day, IsLookedAtFromAnywhere) {
  ASSERT_EQ(runTerminal(run("day.db") + QStringList{"--seconds", "1"}).m_nStatus, 0);
  ASSERT_TRUE(QDir().mkdir("elsewhere"));
  QDir::setCurrent("elsewhere");
  const SResult verified = runTerminal({"day", "verify", "../day.db"});
  EXPECT_EQ(verified.m_nStatus, 0) << verified.m_strErrors.toStdString();
}

TEST_F(Day, IsVerifiedAndRecoveredFromTheShell) {
  ASSERT_EQ(runTerminal(run("day.db") + QStringList{"--seconds", "1"}).m_nStatus, 0);
  const QString head = runTerminal({"day", "head", "day.db"}).m_strOut.trimmed();
  EXPECT_EQ(head.size(), 64);
  SResult good = runTerminal({"day", "verify", "day.db", "--head", head});
  EXPECT_EQ(good.m_nStatus, 0) << good.m_strErrors.toStdString();
  EXPECT_TRUE(good.m_strOut.contains("each as it was kept")) << good.m_strOut.toStdString();
  EXPECT_TRUE(good.m_strOut.contains("run again it is the same day")) << good.m_strOut.toStdString();
  EXPECT_FALSE(good.m_strOut.contains("not proved"));
  good = runTerminal({"day", "verify", "day.db"});
  EXPECT_EQ(good.m_nStatus, 0);
  EXPECT_TRUE(good.m_strOut.contains("without --head its end is not proved"));

  runSql("day.db", "UPDATE entries SET msec = msec + 100 WHERE number = 3");
  SResult bad = runTerminal({"day", "verify", "day.db"});
  EXPECT_EQ(bad.m_nStatus, 1);
  EXPECT_EQ(bad.m_strOut, "day.db: entry 3 was changed\n");
  bad = runTerminal({"day", "recover", "day.db", "saved.db"});
  EXPECT_EQ(bad.m_nStatus, 1);
  EXPECT_TRUE(bad.m_strOut.contains("saved.db: 2 entries")) << bad.m_strOut.toStdString();
  EXPECT_EQ(runTerminal({"day", "verify", "saved.db"}).m_nStatus, 0);
  for (const QStringList& words : {QStringList{"day"},
                                   {"day", "dance", "day.db"},
                                   {"day", "verify"},
                                   {"day", "recover", "day.db", "saved.db"},
                                   {"day", "head", "none.db"}}) {
    refusalOf(words);
  }
}

/// Whoever makes a file can form its hashes.
TEST_F(Day, OneThatSomebodyMadeUpIsRefusedInWords) {
  const std::string device = R"({"options":{},"futuresAccount":false,"files":[{"path":"/dev/zero","sha256":"00"}]})";
  const std::string usual = R"({"options":{},"futuresAccount":false,"files":[]})";
  const std::string deep(200000, '[');
  int number = 0;
  for (const auto& [first, second, outputs] : {std::tuple(deep, std::string("{}"), std::string()),
                                               {usual, deep, ""},
                                               {usual, "{}", deep},
                                               {device, "{}", ""}}) {
    const std::string file = "made" + std::to_string(++number) + ".db";
    ASSERT_EQ(daylog::openDay(file).m_pLog->append({{0, 33900000, "day", first}, {0, 34200000, "basket", second}},
                                                   {{34201000, 1, outputs}}),
              "");
    for (const QStringList& words : {QStringList{"day", "verify"}, {"day", "why"}, {"day"}}) {
      QStringList all = words + QStringList{QString::fromStdString(file)};
      if (words.last() != "verify") all += QStringList{"--headless"};
      if (words.last() == "why") all.insert(3, "600000");
      const SResult result = runTerminal(all);
      EXPECT_GE(result.m_nStatus, 0) << file << " " << words.last().toStdString() << ": " << result.m_nStatus;
      if (words.last() == "verify") {
        EXPECT_GE(result.m_nStatus, 1) << file;
      }
    }
  }
}

TEST_F(Day, OtherBeginningsAreRefusedWithBothValues) {
  // A file that cannot be read begins no day.
  writeFile("basket.csv", "side,code,quantity\n买入,999999,900\n");
  EXPECT_EQ(runTerminal(run("day.db")).m_nStatus, 2);
  writeFile("basket.csv", BASKET);
  QStringList brief = run("day.db") + QStringList{"--seconds", "0.2"};
  ASSERT_EQ(runTerminal(brief).m_nStatus, 0);
  const QByteArray before = readFile("day.db");
  EXPECT_EQ(refusalOf(brief + QStringList{"--seed", "7"}),
            "day.db: option --seed is 7, but the day began without it\n");
  QStringList other = brief;
  other[other.indexOf("twap")] = "pov";
  EXPECT_EQ(refusalOf(other), "day.db: option --algo is pov, but the day began with twap\n");
  EXPECT_EQ(runTerminal(brief + QStringList{"--seed", "1"}).m_nStatus, 0) << "the same, told in another way";
  EXPECT_EQ(runTerminal({"--headless", "--day", "day.db", "--speed", "3600", "--seconds", "0.2"}).m_nStatus, 0)
      << "what is not said is as it was";
  writeFile("basket.csv", "side,code,quantity\n买入,600000,900\n");
  const QString refusal = refusalOf(brief);
  EXPECT_TRUE(refusal.contains("basket.csv has the content ")) << refusal.toStdString();
  EXPECT_TRUE(refusal.contains(", but the day began with ")) << refusal.toStdString();
  writeFile("basket.csv", BASKET);

  EXPECT_EQ(refusalOf({"--headless", "--day", "basket.csv", "--basket", "basket.csv"}),
            "option --day: 'basket.csv' is the file of --basket too\n");

  writeFile("notes.txt", "these are the notes of somebody");
  EXPECT_EQ(refusalOf(run("notes.txt")), "notes.txt: is no day file, or cannot be read\n");
  EXPECT_EQ(readFile("notes.txt"), "these are the notes of somebody");
}

TEST_F(Day, AStateThatIsAnotherIsRefused) {
  ASSERT_EQ(runTerminal(run("day.db") + QStringList{"--seconds", "1"}).m_nStatus, 0);
  // As if another build had made the marks: all hashes are right, the states are not.
  const daylog::SOpenedDay kept = daylog::readDay("day.db");
  daylog::SOpenedDay other = daylog::openDay("other.db");
  std::vector<daylog::SMark> marks = kept.m_pLog->marks();
  ASSERT_GT(marks.size(), 300u);
  for (std::size_t i = 300; i < marks.size(); ++i) ++marks[i].m_nHash;
  ASSERT_EQ(other.m_pLog->append(kept.m_pLog->entries(), marks), "");
  other.m_pLog.reset();
  const QString refusal = refusalOf(run("other.db"));
  EXPECT_TRUE(refusal.contains("the state differs from the one that was kept")) << refusal.toStdString();
}
