// What would have happened if the user had done something else.
#include "DayLog.h"
#include "TerminalRun.h"

namespace {

class Fork : public Terminal {
 protected:
  Fork() {
    writeFile(
        "basket.csv",
        "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n买入,000001,30000\n买入,600519,1000\n卖出,000858,"
        "4000\n");
  }

  static void keepDay(const QStringList& more) {
    const SResult result = runTerminal(QStringList{"--headless", "--basket", "basket.csv", "--basket", "basket.csv",
                                                   "--hedge", "IF2612:1.0", "--speed", "7200", "--day", "day.db"} +
                                       more);
    ASSERT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
  }

  static QString fork(const QStringList& more) {
    const SResult result = runTerminal(QStringList{"day", "fork", "day.db"} + more);
    EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
    return result.m_strOut;
  }

  /// Of a task's table: as it was and imagined.
  static std::pair<double, double> figure(const QString& text, int task, const QString& name) {
    const QString table = text.section(QStringLiteral("task %1\n").arg(task), 1).section("task ", 0, 0);
    for (const QString& line : table.split('\n')) {
      if (!line.startsWith("  " + name)) continue;
      const QStringList values = line.mid(name.size() + 2).split(' ', Qt::SkipEmptyParts);
      return {values.value(values.size() - 3).toDouble(), values.value(values.size() - 2).toDouble()};
    }
    ADD_FAILURE() << "no " << name.toStdString() << " in " << text.toStdString();
    return {};
  }
};

}  // namespace

TEST_F(Fork, ADayOtherwiseIsAnotherOneForThatTaskAlone) {
  keepDay({"--algo", "twap"});
  const QString cancelled = fork({"--at", "10:30:00", "--task", "1", "--with", "cancel", "--out", "imagined.db"});
  const auto filled = figure(cancelled, 1, "filled, % of target");
  EXPECT_GT(filled.first, 95);
  EXPECT_LT(filled.second, 60);
  EXPECT_GT(filled.second, 5);
  EXPECT_LT(figure(cancelled, 1, "orders sent").second, figure(cancelled, 1, "orders sent").first);
  EXPECT_GT(figure(cancelled, 2, "filled, % of target").second, 95);
  EXPECT_EQ(fork({"--at", "10:30:00", "--task", "1", "--with", "cancel"}), cancelled) << "twice the same";

  // The imagined day is a day of its own, which says so and is over.
  const SResult verified = runTerminal({"day", "verify", "imagined.db"});
  EXPECT_EQ(verified.m_nStatus, 0) << verified.m_strOut.toStdString();
  EXPECT_TRUE(verified.m_strOut.contains("run again it is the same day"));
  const daylog::SOpenedDay imagined = daylog::readDay("imagined.db");
  const daylog::SOpenedDay day = daylog::readDay("day.db");
  const nlohmann::json first = nlohmann::json::parse(imagined.m_pLog->entries().front().m_strBody);
  EXPECT_EQ(first.at("imagined").at("with"), "cancel");
  EXPECT_EQ(first.at("imagined").at("head"), day.m_pLog->head());
  for (std::size_t i = 0; i < imagined.m_pLog->marks().size(); ++i) {
    const daylog::SMark& mark = imagined.m_pLog->marks()[i];
    if (mark.m_nMsec > 37800000) break;
    ASSERT_EQ(mark.m_nHash, day.m_pLog->marks()[i].m_nHash) << "the same until then, at " << mark.m_nMsec;
  }
  EXPECT_TRUE(imagined.m_pLog->isFinished());

  EXPECT_LT(figure(fork({"--at", "10:30:00", "--task", "2", "--with", "pause"}), 2, "filled, % of target").second, 60);
  EXPECT_GT(figure(fork({"--at", "10:30:00", "--with", "algo=vwap"}), 2, "filled, % of target").second, 60);
  const QString limited = fork({"--at", "10:30:00", "--with", "limit=0.5%"});
  EXPECT_NE(figure(limited, 1, "average price, CNY").first, figure(limited, 1, "average price, CNY").second);
  EXPECT_GT(figure(limited, 1, "filled, % of target").second, 60) << "the market takes such orders";
  const QString unhedged = fork({"--at", "09:35:00", "--with", "hedge=off"});
  EXPECT_EQ(figure(unhedged, 1, "filled, shares").first, figure(unhedged, 1, "filled, shares").second);
}

TEST_F(Fork, WhatTheUserDidToOtherHedgesAfterwardsIsNotDone) {
  writeFile("acts.jsonl",
            "{\"at\":\"09:30:05\",\"do\":\"hedge\",\"what\":\"start\",\"task\":1}\n"
            "{\"at\":\"10:30:00\",\"do\":\"hedge\",\"what\":\"pause\",\"task\":1}\n"
            "{\"at\":\"10:40:00.300\",\"do\":\"hedge\",\"what\":\"start\",\"task\":1}\n"
            "{\"at\":\"10:50:00.300\",\"do\":\"hedge\",\"what\":\"start\",\"task\":2}\n");
  keepDay({"--algo", "twap", "--acts", "acts.jsonl"});
  std::vector<std::pair<std::int64_t, std::string>> starts;
  fork({"--at", "10:00:00", "--task", "2", "--with", "pause", "--out", "imagined.db"});
  const daylog::SOpenedDay imagined = daylog::readDay("imagined.db");
  ASSERT_TRUE(imagined.m_pLog) << imagined.m_strFault;
  for (const daylog::SEntry& entry : imagined.m_pLog->entries()) {
    if (entry.m_nMsec > 36000000 && entry.m_strKind == "hedge") starts.emplace_back(entry.m_nMsec, entry.m_strBody);
  }
  EXPECT_TRUE(std::none_of(starts.begin(), starts.end(), [](const auto& start) {
    return start.second.find("\"group\":1") != std::string::npos;
  })) << starts.size();
}

TEST_F(Fork, WhatCannotBeImaginedIsRefused) {
  keepDay({"--seconds", "1"});
  for (const QStringList& more : {QStringList{"--at", "09:40:00", "--with", "dance"},
                                  {"--at", "09:40:00", "--with", "limit=much"},
                                  {"--at", "09:40:00", "--with", "hedge=-1"},
                                  {"--at", "09:40:00", "--with", "algo=best"},
                                  {"--at", "09:40:00", "--with", "pause", "--task", "9"},
                                  {"--at", "14:00:00", "--with", "pause"},
                                  {"--at", "noon", "--with", "pause"},
                                  {"--at", "09:40:00"},
                                  {"--with", "pause"}}) {
    refusalOf(QStringList{"day", "fork", "day.db"} + more);
  }
}
