// Acts at times of the simulated day: each at its step, however fast the clock runs, and once, whatever happens.
#include "DayLog.h"
#include "TerminalRun.h"

namespace {

const char* const BASKET = "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n买入,000001,30000\n";

/// What entered a day from its file of acts: time, kind and body. The panel asks of itself, in real time.
std::vector<std::tuple<std::int64_t, std::string, std::string>> actsOf(const char* file) {
  const daylog::SOpenedDay day = daylog::readDay(file);
  std::vector<std::tuple<std::int64_t, std::string, std::string>> acts;
  EXPECT_TRUE(day.m_pLog) << day.m_strFault;
  for (const daylog::SEntry& entry : day.m_pLog->entries()) {
    if (entry.m_strBody.find("actsLine") == std::string::npos) continue;
    acts.emplace_back(entry.m_nMsec, entry.m_strKind, entry.m_strBody);
  }
  return acts;
}

class TimedActs : public Terminal {
 protected:
  TimedActs() { writeFile("basket.csv", BASKET); }

  static QStringList run(const char* day, const char* speed) {
    return {"--basket", "basket.csv", "--algo", "twap", "--acts", "acts.jsonl", "--day", day, "--speed", speed};
  }

  static std::vector<nlohmann::json> cellsOf(const nlohmann::json& dump) {
    std::vector<nlohmann::json> cells;
    for (const nlohmann::json& row : dump.at("rows")) cells.push_back({row.at("row"), row.at("cells")});
    return cells;
  }
};

}  // namespace

TEST_F(TimedActs, AreTakenAtTheirStepsHoweverFastAndOftenTheDayIsGoneOnWith) {
  writeFile("acts.jsonl", R"({"at":"13:30:10.050","do":"patch","task":1}
{"at":"10:30:00","do":"pause","task":1}

{"at":"11:00:00","do":"resume","task":1}
{"at":"13:30:00","do":"cancel","task":1}
{"at":"13:30:00","kind":"hedge","group":1,"act":"pause"}
{"at":"14:30:00","do":"cancel","task":7}
)");
  const std::vector<nlohmann::json> cells = cellsOf(endOf(run("fast.db", "20000")));
  const auto acts = actsOf("fast.db");
  const auto time = [](int hour, int minute, int msec) { return (hour * 60 + minute) * 60000 + msec; };
  ASSERT_EQ(acts.size(), 5u);
  EXPECT_EQ(acts[0], std::tuple(time(10, 30, 0), "operateServer", R"({"task":"1-1","operation":5,"actsLine":2})"));
  EXPECT_EQ(acts[1], std::tuple(time(11, 0, 0), "operateServer", R"({"task":"1-1","operation":6,"actsLine":4})"));
  EXPECT_EQ(acts[2], std::tuple(time(13, 30, 0), "operateServer", R"({"task":"1-1","operation":3,"actsLine":5})"));
  EXPECT_EQ(acts[3], std::tuple(time(13, 30, 0), "hedge", R"({"group":1,"act":"pause","actsLine":6})"));
  const auto& [at, kind, body] = acts[4];
  EXPECT_EQ(at, time(13, 30, 10100)) << "the first step behind its time";
  EXPECT_EQ(kind, "create");
  const nlohmann::json patch = nlohmann::json::parse(body);
  EXPECT_EQ(patch.at("actsLine"), 1);
  ASSERT_EQ(patch.at("params").size(), 3u);
  for (const nlohmann::json& param : patch.at("params")) {
    EXPECT_GT(param.at("price"), 0);
    EXPECT_GE(param.at("volume"), 100);
    const int lot = param.at("operation") == 1 ? 100 : 1;
    EXPECT_EQ(param.at("volume").get<int>() % lot, 0) << "buys are whole lots";
  }
  EXPECT_EQ(cells[0][1][13], "已完成") << "what was cancelled was patched";

  EXPECT_EQ(cellsOf(endOf(run("slow.db", "8000"))), cells);
  EXPECT_EQ(actsOf("slow.db"), acts);
  for (const char* seconds : {"0.3", "0.9", "1.9"}) {
    endOf(run("often.db", "8000") + QStringList{"--seconds", seconds});
  }
  EXPECT_EQ(cellsOf(endOf(run("often.db", "20000"))), cells);
  EXPECT_EQ(actsOf("often.db"), acts);

  // Killed between two acts of one step.
  const daylog::SOpenedDay whole = daylog::readDay("fast.db");
  daylog::SOpenedDay cut = daylog::openDay("cut.db");
  const std::vector<daylog::SEntry>& entries = whole.m_pLog->entries();
  ASSERT_EQ(cut.m_pLog->append({entries.begin(), entries.begin() + 5}, {}), "");
  cut.m_pLog.reset();
  EXPECT_EQ(cellsOf(endOf(run("cut.db", "20000"))), cells);
  EXPECT_EQ(actsOf("cut.db"), acts);
}

TEST_F(TimedActs, AHedgeThatIsStartedBeforeThePanelHasMetItsTaskIsShownWithItsTarget) {
  // A tenth of a millisecond after the panel's first look.
  writeFile("acts.jsonl", R"({"at":"09:25:01","do":"hedge","what":"start","task":1})");
  writeFile("basket.csv", "side,code,quantity\n买入,600000,900000\n买入,600009,300000\n");
  const auto hedgeOf = [](const nlohmann::json& dump) {
    for (const nlohmann::json& row : dump.at("rows")) {
      if (row.at("row").get<std::string>().find("IF2612") != std::string::npos) return row.at("cells");
    }
    return nlohmann::json();
  };
  const QStringList hedged = run("day.db", "7200") + QStringList{"--hedge", "IF2612:1.0"};
  const nlohmann::json cells = hedgeOf(endOf(hedged));
  ASSERT_FALSE(cells.is_null());
  EXPECT_EQ(cells.at(15), "0") << "left of its target: " << cells;
  int starts = 0;
  const daylog::SOpenedDay day = daylog::readDay("day.db");
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  for (const daylog::SEntry& entry : day.m_pLog->entries()) starts += entry.m_strKind == "hedge";
  EXPECT_EQ(starts, 1) << "the panel's own start comes to nothing";
}

TEST_F(TimedActs, ALineThatIsNoneIsToldByFileAndLine) {
  writeFile("acts.jsonl",
            "no act\n"
            "{\"at\":\"9:30\",\"do\":\"cancel\",\"task\":1}\n"
            "{\"at\":\"09:10:00\",\"do\":\"cancel\",\"task\":1}\n"
            "{\"at\":\"10:00:00\",\"do\":\"dance\",\"task\":1}\n"
            "{\"at\":\"10:00:00\",\"do\":\"cancel\"}\n"
            "{\"at\":\"10:00:00\",\"do\":\"patch\",\"task\":1,\"volume\":5}\n"
            "{\"at\":\"10:00:00\",\"do\":\"hedge\",\"task\":1}\n"
            "{\"at\":\"10:00:00\",\"task\":1}\n"
            "{\"at\":\"10:00:00\",\"kind\":\"operate\",\"task\":\"1\"}\n"
            "{\"at\":\"10:00:00\",\"kind\":\"basket\",\"name\":\"a\",\"accounts\":[\"A9\"]}\n");
  const SResult result = runTerminal(run("day.db", "600") + QStringList{"--headless"});
  EXPECT_EQ(result.m_nStatus, 2);
  EXPECT_EQ(result.m_strErrors.toStdString(),
            "acts.jsonl:1: is no JSON object\n"
            "acts.jsonl:2: field \"at\" needs a time like 10:30:00 or 10:30:00.500, not '9:30'\n"
            "acts.jsonl:3: field \"at\" is before the day begins\n"
            "acts.jsonl:4: field \"do\" 'dance' is unknown\n"
            "acts.jsonl:5: field \"task\" is missing\n"
            "acts.jsonl:6: field \"volume\" is unknown\n"
            "acts.jsonl:7: field \"what\" is missing\n"
            "acts.jsonl:8: needs either \"do\" or \"kind\"\n"
            "acts.jsonl:9: field \"task\" must be an integer\n"
            "acts.jsonl:10: account \"A9\" is unknown\n");
  EXPECT_TRUE(refusalOf({"--headless", "--acts", "none.jsonl"}).contains("cannot read none.jsonl"));
  EXPECT_EQ(refusalOf({"--headless", "--acts", "/dev/zero"}), "/dev/zero: is no regular file\n");
  writeFile("deep.jsonl", QByteArray(200000, '[').constData());
  EXPECT_EQ(refusalOf({"--headless", "--acts", "deep.jsonl"}), "deep.jsonl:1: is no JSON object\n");

  // What is done at which time is part of how a day starts.
  writeFile("acts.jsonl", "{\"at\":\"10:00:00\",\"do\":\"cancel\",\"task\":1}\n");
  endOf(run("day.db", "600") + QStringList{"--seconds", "0.2"});
  writeFile("acts.jsonl", "{\"at\":\"10:00:01\",\"do\":\"cancel\",\"task\":1}\n");
  EXPECT_TRUE(refusalOf(run("day.db", "600") + QStringList{"--headless"}).contains("acts.jsonl has the content "));
}

TEST_F(TimedActs, AHedgeThatWasPausedStaysSoWhenTheDayIsGoneOnWith) {
  writeFile("acts.jsonl", R"({"at":"09:26:00","do":"hedge","task":1,"what":"start"}
{"at":"10:30:00","do":"hedge","task":1,"what":"pause"}
)");
  const QStringList hedged = run("day.db", "2000") + QStringList{"--hedge", "IF2612:1.0"};
  endOf(hedged + QStringList{"--seconds", "3"});
  endOf(hedged + QStringList{"--seconds", "6"});
  const daylog::SOpenedDay day = daylog::readDay("day.db");
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  for (const daylog::SEntry& entry : day.m_pLog->entries()) {
    const bool steered = entry.m_strKind == "hedge" && entry.m_strBody.find("actsLine") == std::string::npos;
    EXPECT_FALSE(steered) << "by the panel at " << entry.m_nMsec << ": " << entry.m_strBody;
  }
}
