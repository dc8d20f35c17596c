// A day that is kept: killed at any moment it goes on, and ends as it would have ended. In the environment: DAY_KILLS
// kills so often, on as many days as that takes; DAY_KILLS_SEED chooses other moments.
#include <sqlite3.h>

#include <QElapsedTimer>
#include <QTime>
#include <iostream>
#include <random>
#include <set>

#include "DayLog.h"
#include "TerminalRun.h"

namespace {

constexpr int KILLS = 15;
constexpr int FAILING_PERMILLE = 3;
constexpr int DAY_SECONDS = 20160;  ///< from 09:25:00 to 15:01:00

constexpr int COL_AMOUNT = 8;
constexpr int COL_REST = 15;

/// What the rows show, without what a row makes when it is first told of something. What is left of a row is worth what
/// it was when the panel last counted it, in real time: of such a row the amount is left out.
std::vector<nlohmann::json> cellsOf(const nlohmann::json& dump) {
  std::vector<nlohmann::json> rows;
  for (const nlohmann::json& row : dump.at("rows")) {
    nlohmann::json cells = row.at("cells");
    if (cells.at(COL_REST) != "0") cells.at(COL_AMOUNT) = "";
    rows.push_back({row.at("row"), cells, row.at("number")});
  }
  return rows;
}

/// What is kept, to be compared.
struct SKept {
  std::vector<std::tuple<std::int64_t, std::int64_t, std::string, std::string>> m_entries;
  std::vector<std::pair<std::int64_t, std::uint64_t>> m_marks;
  bool m_bFinished = false;
};

SKept keptIn(const char* file) {
  SKept kept;
  const daylog::SOpenedDay day = daylog::readDay(file);
  if (!day.m_pLog) {
    ADD_FAILURE() << day.m_strFault;
    return kept;
  }
  for (const daylog::SEntry& each : day.m_pLog->entries()) {
    kept.m_entries.emplace_back(each.m_nNumber, each.m_nMsec, each.m_strKind, each.m_strBody);
  }
  for (const daylog::SMark& each : day.m_pLog->marks()) kept.m_marks.emplace_back(each.m_nMsec, each.m_nHash);
  kept.m_bFinished = day.m_pLog->isFinished();
  return kept;
}

template <typename Row>
bool beginsWith(const std::vector<Row>& rows, const std::vector<Row>& first) {
  return rows.size() >= first.size() && std::equal(first.begin(), first.end(), rows.begin());
}

/// The rows of a query, their columns joined.
std::vector<std::string> rowsOf(const char* file, const char* query) {
  std::vector<std::string> rows;
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(file, &database), SQLITE_OK);
  const auto take = [](void* list, int columns, char** values, char**) {
    std::string row;
    for (int i = 0; i < columns; ++i) row += std::string(i ? " " : "") + (values[i] ? values[i] : "");
    static_cast<std::vector<std::string>*>(list)->push_back(row);
    return 0;
  };
  EXPECT_EQ(sqlite3_exec(database, query, take, &rows, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
  sqlite3_close(database);
  return rows;
}

const char* const SENT_TWICE = "SELECT task, number, count(*) FROM orders GROUP BY task, number HAVING count(*) > 1";
const char* const ACTED_TWICE =
    "SELECT body ->> '$.actsLine' AS line, kind, count(*) FROM entries WHERE line > 0 OR kind = 'basket' "
    "GROUP BY line, kind HAVING count(*) > 1";
const char* const TRADED_TOO_MUCH =
    "WITH traded AS (SELECT o.code AS code, o.operation AS operation, sum(f.volume) AS volume FROM fills AS f "
    "JOIN orders AS o ON o.task = f.task AND o.number = f.number GROUP BY o.code, o.operation) "
    "SELECT t.code, t.operation, t.volume FROM entries AS e, json_each(e.body, '$.lines') AS l JOIN traded AS t "
    "ON t.code = l.value ->> 'code' AND t.operation = l.value ->> 'operation' "
    "WHERE e.kind = 'basket' AND t.volume > l.value ->> 'quantity'";

class KilledDay : public Terminal {
 protected:
  KilledDay()
      : m_random(qEnvironmentVariableIsSet("DAY_KILLS_SEED") ? qEnvironmentVariableIntValue("DAY_KILLS_SEED")
                                                             : 20261123) {}

  int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

  static QStringList run(const char* day) {
    return {"--headless", "--basket",   QStringLiteral(PBT_SOURCE_DIR "/data/baskets/basket50.csv"),
            "--hedge",    "IF2612:1.0", "--algo",
            "twap",       "--acts",     "acts.jsonl",
            "--speed",    "3600",       "--day",
            day,          "--out",      "end.jsonl"};
  }

  /// A hedge that pauses for a while, a cancel and a patch, the last two at one moment or soon after each other.
  void writeActs() {
    const auto at = [](int second) {
      return QStringLiteral("{\"at\":\"%1\",\"task\":1,\"do\":").arg(QTime(0, 0).addSecs(second).toString("HH:mm:ss"));
    };
    const int pause = 9 * 3600 + 2400 + below(3600);
    const int cancel = 11 * 3600 + below(3 * 3600);
    writeFile("acts.jsonl",
              (at(9 * 3600 + 1560) + "\"hedge\",\"what\":\"start\"}\n" + at(pause) + "\"hedge\",\"what\":\"pause\"}\n" +
               at(pause + below(1200)) + "\"hedge\",\"what\":\"start\"}\n" + at(cancel) + "\"cancel\"}\n" +
               at(cancel + 5 * below(4)) + "\"patch\"}\n" + at(cancel + 20) + "\"patch\"}\n")
                  .toUtf8()
                  .constData());
  }

  /// How long it lives, milliseconds: mostly some moment of its start, of the running again or soon after; now and then
  /// long enough that seconds of the day are kept without an act.
  int lifeTime() { return below(5) == 0 ? m_nStartMsec + 1000 + below(1000) : below(2 * m_nStartMsec + 400); }

#ifdef PBT_DISK_FAULTS
  /// At one of the first operations of its disk, or at a later one: a start has some two hundred, a day a thousand.
  bool dieAtDisk(QProcess& process, int permille) {
    const int kill = 1 + below(1 << (5 + below(6)));
    startTerminalOn({.m_nPermille = permille, .m_nKill = kill, .m_nSeed = static_cast<unsigned>(m_random())}, process,
                    run("day.db"));
    EXPECT_TRUE(process.waitForFinished(PATIENCE_MSEC));
    return process.exitStatus() == QProcess::CrashExit;
  }
#endif

  /// Runs the day, and kills it at a moment or at an operation of its disk, of which so many fail. False when it has
  /// ended before.
  bool die(QProcess& process, [[maybe_unused]] int permille) {
#ifdef PBT_DISK_FAULTS
    if (permille > 0 || below(2) == 0) return dieAtDisk(process, permille);
#endif
    startTerminal(process, run("day.db"));
    if (process.waitForFinished(lifeTime())) return false;
    process.kill();
    process.waitForFinished();
    return true;
  }

  /// Kills a day until it ends by itself, at most so often; gives how often. While the disk fails it may come to its
  /// end without a word of it in the file, or not begin at all; it ends on a disk that works.
  int killDay(int most, int permille = 0) {
    for (const char* file : {"day.db", "day.db-wal", "day.db-shm", "end.jsonl", "again.db"}) QFile::remove(file);
    writeActs();
    SKept kept;
    m_bEnded = false;
    m_states.clear();
    for (int kills = 0;;) {
      QProcess process;
      const bool healthy = kills == most || permille == 0;
      if (kills == most) startTerminal(process, run("day.db"));
      if (kills < most && die(process, permille)) {
        ++kills;
      } else if (const SResult result = resultOf(process); healthy) {
        EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
        m_bEnded = permille == 0;
        return kills;
      } else if (result.m_nStatus != 0) {
        EXPECT_FALSE(result.m_strErrors.isEmpty()) << "it has not begun, and does not say why";
      }
      // Before there is a day, which the next start makes.
      if (kept.m_entries.empty() && !daylog::readDay("day.db").m_pLog) continue;
      SKept now = keptIn("day.db");
      EXPECT_TRUE(beginsWith(now.m_entries, kept.m_entries)) << "an entry that was kept is lost, kill " << kills;
      EXPECT_TRUE(beginsWith(now.m_marks, kept.m_marks)) << "kill " << kills;
      kept = std::move(now);
      m_states.insert({kept.m_entries.size(), kept.m_marks.size()});
      if (kept.m_bFinished || HasFailure()) return kills;
    }
  }

  /// permille: of what the disk refused, so that an act may have been refused, too.
  void checkDay(int permille = 0) const {
    const SKept kept = keptIn("day.db");
    EXPECT_TRUE(kept.m_bFinished);
    ASSERT_EQ(kept.m_marks.size(), DAY_SECONDS);
    for (int i = 0; i < DAY_SECONDS; ++i)
      ASSERT_EQ(kept.m_marks[i].first, 33901000 + i * 1000) << "a second is missing";
    EXPECT_EQ(rowsOf("day.db", SENT_TWICE), std::vector<std::string>());
    EXPECT_EQ(rowsOf("day.db", ACTED_TWICE), std::vector<std::string>());
    EXPECT_EQ(rowsOf("day.db", TRADED_TOO_MUCH), std::vector<std::string>());
    if (permille == 0) {
      EXPECT_GT(rowsOf("day.db", "SELECT * FROM orders").size(), 100u);
      EXPECT_EQ(rowsOf("day.db", "SELECT kind FROM entries WHERE kind = 'create'").size(), 1u) << "the patch";
    }
    // From its entries alone, in one go: each second's state, orders, fills and messages are the same, or it is
    // refused.
    const SResult verified = runTerminal({"day", "verify", "day.db"});
    EXPECT_EQ(verified.m_nStatus, 0);
    EXPECT_TRUE(verified.m_strOut.contains("run again it is the same day")) << verified.m_strOut.toStdString();
    if (!m_bEnded) return;
    // ... and so is what the window shows of it.
    const nlohmann::json killed = lastDump("end.jsonl");
    ASSERT_TRUE(QFile::copy("day.db", "again.db"));
    rowsOf("again.db", "DELETE FROM entries WHERE kind = 'end'");
    const SResult again = runTerminal(run("again.db"));
    EXPECT_EQ(again.m_nStatus, 0) << again.m_strErrors.toStdString();
    const std::vector<nlohmann::json> expected = cellsOf(killed);
    const std::vector<nlohmann::json> shown = cellsOf(lastDump("end.jsonl"));
    ASSERT_EQ(shown.size(), expected.size());
    for (std::size_t i = 0; i < shown.size(); ++i) EXPECT_EQ(shown[i], expected[i]);
  }

  /// So many kills, on as many days as that takes.
  void killDays(int wanted, int permille) {
    writeActs();
    QElapsedTimer timer;
    timer.start();
    ASSERT_EQ(runTerminal(run("start.db") + QStringList{"--seconds", "0.01"}).m_nStatus, 0);
    m_nStartMsec = static_cast<int>(timer.elapsed());
    int kills = 0;
    int days = 0;
    int ended = 0;
    std::size_t states = 0;
    for (; kills < wanted && !HasFailure(); ++days) {
      kills += killDay(wanted - kills, permille);
      checkDay(permille);
      ended += m_bEnded;
      states += m_states.size();
    }
    std::cout << kills << " kills on " << days << " days, of which " << ended << " ended unkilled; after them "
              << states << " different states were found" << std::endl;
    EXPECT_GT(states, static_cast<std::size_t>(kills / 20)) << "the days do not get on between the kills";
    EXPECT_EQ(kills, wanted);
  }

  static int wantedKills() {
    return qEnvironmentVariableIsSet("DAY_KILLS") ? qEnvironmentVariableIntValue("DAY_KILLS") : KILLS;
  }

  std::mt19937_64 m_random;
  int m_nStartMsec = 0;                                    ///< what a start costs here
  bool m_bEnded = false;                                   ///< by itself
  std::set<std::pair<std::size_t, std::size_t>> m_states;  ///< of a day that was found after a kill: entries and marks
};

}  // namespace

TEST_F(KilledDay, GoesOnAfterEachKillAndEndsAsAnUndisturbedOne) { killDays(wantedKills(), 0); }

#ifdef PBT_DISK_FAULTS
TEST_F(KilledDay, OfWhichTheDiskFailsNowAndThenLosesNothingThatWasActedOn) {
  killDays(wantedKills() / 3, FAILING_PERMILLE);
}
#endif
