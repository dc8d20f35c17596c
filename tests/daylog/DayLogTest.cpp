// A day's file: what was kept is there after a crash, what cannot be kept is told, and no change goes unseen.
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <random>

#include "DayFiles.h"

using namespace daylog;

namespace {

bool syncFails = false;

}  // namespace

/// What SQLite calls to bring a commit to the disk.
extern "C" int fdatasync(int file) {  // NOLINT(readability-inconsistent-declaration-parameter-name)
  if (!syncFails) return static_cast<int>(syscall(SYS_fdatasync, file));
  errno = EIO;
  return -1;
}

TEST_F(DayLog, KeepsADayAndEndsIt) {
  const std::string head = makeDay(5);
  SOpenedDay day = openDay(m_file);
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  ASSERT_EQ(day.m_pLog->entries().size(), 5u);
  EXPECT_EQ(day.m_pLog->entries()[4].m_nNumber, 5);
  EXPECT_EQ(day.m_pLog->entries()[4].m_strBody, R"({"n":5})");
  EXPECT_EQ(day.m_pLog->marks()[4].m_nHash, 5 * 0x9e3779b97f4a7c15);
  EXPECT_EQ(day.m_pLog->head(), head);
  EXPECT_EQ(readDay(m_file).m_pLog->head(), head) << "a reader needs no lock";
  EXPECT_FALSE(day.m_pLog->isFinished());
  EXPECT_EQ(day.m_pLog->finish(54000000), "");
  EXPECT_TRUE(day.m_pLog->isFinished());
  EXPECT_NE(day.m_pLog->append({entryOf(1)}, {}).find("the day is over"), std::string::npos);
  const std::string end = day.m_pLog->head();
  EXPECT_NE(end, head);
  day.m_pLog.reset();
  EXPECT_TRUE(readDay(m_file).m_pLog->isFinished());
  EXPECT_EQ(verifyDay(m_file, end), std::vector<std::string>());
}

TEST_F(DayLog, IsNotWrittenOnWhereNobodyFindsIt) {
  makeDay(1);
  for (const bool deleted : {false, true}) {
    SOpenedDay day = openDay(m_file);
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    const fs::path other = m_file.string() + ".moved";
    fs::rename(m_file, other);
    if (deleted) fs::remove(other);
    const std::string fault = day.m_pLog->append({entryOf(2)}, {});
    EXPECT_NE(fault.find("moved or deleted"), std::string::npos) << fault;
    EXPECT_EQ(day.m_pLog->entries().size(), 1u);
    if (deleted) break;
    fs::rename(other, m_file);
    EXPECT_EQ(day.m_pLog->append({}, {{2000000000, 5}}), "");
    // A second that comes again would be another day.
    EXPECT_NE(day.m_pLog->append({}, {{2000000000, 5}}), "");
    EXPECT_EQ(day.m_pLog->append({}, {{2000001000, 5}}), "");
  }
}

TEST_F(DayLog, BehindALinkHasItsReserve) {
  makeDay(1);
  const fs::path link = m_file.string() + ".link";
  fs::create_symlink(m_file, link);
  const SOpenedDay day = openDay(link);
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  ASSERT_EQ(day.m_pLog->append({entryOf(2)}, {}), "");
  struct stat log {};
  ASSERT_EQ(stat((m_file.string() + "-wal").c_str(), &log), 0);
  EXPECT_GE(log.st_blocks * 512, log.st_size + (1 << 20)) << "space is set aside behind its end";
}

TEST_F(DayLog, OneOfTheFirstVersionIsReadAndGoneOnWithAsItIs) {
  const std::string head = makeDay(3);
  runSql(m_file,
         "DROP VIEW tasks; DROP VIEW orders; DROP VIEW reports; DROP VIEW fills; DROP VIEW messages;"
         "DROP TABLE outputs; PRAGMA user_version = 1");
  const std::string before = bytesOf(m_file);
  EXPECT_EQ(verifyDay(m_file, head), std::vector<std::string>());
  EXPECT_EQ(readDay(m_file).m_pLog->head(), head);
  EXPECT_TRUE(bytesOf(m_file) == before) << "a reader leaves it as it is";
  {
    const SOpenedDay day = openDay(m_file);
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    EXPECT_EQ(day.m_pLog->head(), head);
    EXPECT_EQ(day.m_pLog->append({}, {{34201000, 7, R"({"log":[]})"}}), "");
  }
  EXPECT_EQ(verifyDay(m_file, {}), std::vector<std::string>());
  EXPECT_EQ(readDay(m_file).m_pLog->marks().back().m_strOutputs, R"({"log":[]})");
}

TEST_F(DayLog, AReaderFollowsWhatIsKeptMeanwhile) {
  makeDay(2);
  const SOpenedDay day = openDay(m_file);
  const SOpenedDay reader = readDay(m_file);
  EXPECT_EQ(reader.m_pLog->follow(), "");
  EXPECT_EQ(textOf(*reader.m_pLog), textOf(*day.m_pLog)) << "nothing has come";
  EXPECT_EQ(day.m_pLog->append({entryOf(3)}, {{34201000, 7, "{}"}}), "");
  EXPECT_EQ(reader.m_pLog->entries().size(), 2u);
  EXPECT_EQ(reader.m_pLog->follow(), "");
  EXPECT_EQ(textOf(*reader.m_pLog), textOf(*day.m_pLog));
  EXPECT_EQ(reader.m_pLog->marks().back().m_strOutputs, "{}");
  EXPECT_EQ(reader.m_pLog->head(), day.m_pLog->head());
  EXPECT_EQ(day.m_pLog->append({entryOf(4), entryOf(5)}, {}), "");
  runSql(m_file, "UPDATE entries SET msec = msec + 1 WHERE number = 5");
  EXPECT_NE(reader.m_pLog->follow().find("entry 5 was changed"), std::string::npos);
  EXPECT_EQ(reader.m_pLog->entries().size(), 3u) << "it knows what it knew";
}

TEST_F(DayLog, RefusesWhatItCannotGoOnWithAndLeavesItAsItIs) {
  const auto refusalOf = [](const fs::path& file) {
    const SOpenedDay day = openDay(file);
    EXPECT_FALSE(day.m_pLog);
    EXPECT_EQ(day.m_strFault.find(file.string() + ": "), 0u) << day.m_strFault;
    return day.m_strFault.substr(file.string().size() + 2);
  };
  const fs::path text = m_folder / "notes.txt";
  writeBytes(text, "a text of somebody that is longer than sixteen bytes");
  const fs::path other = m_folder / "other.db";
  runSql(other, "CREATE TABLE theirs (a); INSERT INTO theirs VALUES (1)");
  const fs::path newer = m_folder / "newer.db";
  makeDay(3);
  fs::copy(m_file, newer);
  runSql(newer, "PRAGMA user_version = 7");
  for (const auto& [file, refusal] : {std::pair(text, "is no day file, or cannot be read"),
                                      {other, "is no day file"},
                                      {newer, "was written by a newer terminal: its version is 7, this one reads 2"}}) {
    const std::string before = bytesOf(file);
    EXPECT_EQ(refusalOf(file), refusal);
    EXPECT_TRUE(bytesOf(file) == before) << file;
    EXPECT_NE(readDay(file).m_strFault, "") << file;
  }
  EXPECT_EQ(refusalOf(m_folder / "none" / "day.db"), "cannot write it: No such file or directory");
  EXPECT_EQ(refusalOf(m_folder), "cannot write it: Is a directory");
  runSql(newer, "PRAGMA user_version = 2; DELETE FROM entries WHERE number = 2");
  EXPECT_EQ(refusalOf(newer), "is damaged: entry 2 is missing");

  // What somebody's crash left in a write-ahead log stays there.
  const fs::path killed = m_folder / "killed.db";
  const fs::path killedLog = m_folder / "killed.db-wal";
  leaveAsKilled(other, killed, "PRAGMA journal_mode = WAL; CREATE TABLE more (a)");
  std::string before = bytesOf(killed) + bytesOf(killedLog);
  EXPECT_EQ(refusalOf(killed), "is no day file");
  EXPECT_TRUE(bytesOf(killed) + bytesOf(killedLog) == before);
  const fs::path changed = m_folder / "changed.db";
  fs::copy(m_file, changed);
  leaveAsKilled(changed, killed, "UPDATE entries SET body = '{}' WHERE number = 2");
  before = bytesOf(killed) + bytesOf(killedLog);
  EXPECT_EQ(refusalOf(killed), "is damaged: entry 2 was changed");
  EXPECT_TRUE(bytesOf(killed) + bytesOf(killedLog) == before);
  writeBytes(killed, {});
  before = bytesOf(killedLog);
  EXPECT_EQ(refusalOf(killed), "is empty, but beside it lies the write-ahead log of a day");
  EXPECT_TRUE(bytesOf(killedLog) == before);

  // A day that somebody has, by whatever name.
  const SOpenedDay mine = openDay(m_file);
  fs::create_symlink(m_file, m_folder / "link.db");
  fs::create_hard_link(m_file, m_folder / "hard.db");
  for (const char* name : {"day.db", "link.db", "hard.db"}) {
    EXPECT_EQ(refusalOf(m_folder / name), "another terminal goes on with this day") << name;
  }
}

TEST_F(DayLog, ItsLockStaysWhateverElseItsProcessOpens) {
  makeDay(1);
  const SOpenedDay day = openDay(m_file);
  ASSERT_TRUE(isHeldBySqlite(m_file));
  EXPECT_TRUE(readDay(m_file).m_pLog);
  EXPECT_TRUE(isHeldBySqlite(m_file)) << "after a reader";
  EXPECT_FALSE(openDay(m_file).m_pLog);
  EXPECT_TRUE(isHeldBySqlite(m_file)) << "after a second engine";
}

TEST_F(DayLog, IsReadWhereNothingCanBeWritten) {
  const std::string head = makeDay(3);
  const fs::path killed = m_folder / "killed #1%.db";
  {
    const SOpenedDay day = openDay(m_file);
    EXPECT_EQ(day.m_pLog->append({entryOf(4)}, {}), "");
    copyAsKilled(m_file, killed);
  }
  const fs::path closed = m_folder / "closed ?#1%.db";
  fs::copy_file(m_file, closed);
  fs::permissions(m_folder, fs::perms(0555));
  EXPECT_EQ(inChild([&] {
              if (geteuid() == 0 && setuid(65534) != 0) return 1;
              const SOpenedDay day = readDay(closed);
              if (!day.m_pLog || day.m_pLog->entries().size() != 4) return 2;
              if (!verifyDay(closed, day.m_pLog->head()).empty()) return 3;
              return readDay(killed).m_strFault.find("copy both to another one") == std::string::npos ? 4 : 0;
            }),
            0);
}

TEST_F(DayLog, ACommitThatTheDiskFailedDoesNotComeBack) {
  makeDay(1);
  const SOpenedDay day = openDay(m_file);
  EXPECT_EQ(day.m_pLog->append({entryOf(2)}, {}), "");
  syncFails = true;
  const std::string fault = day.m_pLog->append({entryOf(3)}, {});
  syncFails = false;
  EXPECT_EQ(fault.find(m_file.string() + ": cannot be written: "), 0u) << fault;
  const fs::path killed = m_folder / "killed.db";
  copyAsKilled(m_file, killed);
  EXPECT_EQ(readDay(killed).m_pLog->entries().size(), 2u);
  EXPECT_EQ(day.m_pLog->append({entryOf(4)}, {}), "");
  copyAsKilled(m_file, killed);
  EXPECT_EQ(textOf(*readDay(killed).m_pLog), textOf(*day.m_pLog));
}

TEST_F(DayLog, FindsWhatSomebodyChanged) {
  const std::string head = makeDay(9);
  const std::string whole = bytesOf(m_file);
  EXPECT_EQ(verifyDay(m_file, head), std::vector<std::string>());
  const std::vector<std::pair<const char*, const char*>> changes{
      {"UPDATE entries SET body = '{\"n\":50}' WHERE number = 5", "entry 5 was changed"},
      {"UPDATE entries SET msec = msec + 1 WHERE number = 1", "entry 1 was changed"},
      {"UPDATE entries SET kind = 'operateServer' WHERE number = 4", "entry 4 was changed"},
      {"UPDATE entries SET hash = zeroblob(32) WHERE number = 9", "entry 9 was changed"},
      {"DELETE FROM entries WHERE number = 4", "entry 4 is missing"},
      {"UPDATE entries SET number = -number WHERE number IN (3, 4);"
       "UPDATE entries SET number = 7 + number WHERE number < 0",
       "entry 3 was changed"},
      {"INSERT INTO entries SELECT 10, msec, kind, body, hash FROM entries WHERE number = 9", "entry 10 was changed"},
      {"UPDATE marks SET state = state + 1 WHERE number = 2", "mark 2 or its outputs were changed"},
      {"DELETE FROM marks WHERE number = 2", "mark 2 is missing"},
      {"UPDATE outputs SET body = replace(body, '40', '41') WHERE number = 4", "mark 4 or its outputs were changed"},
      {"DELETE FROM outputs WHERE number = 5", "mark 5 or its outputs were changed"},
      {"INSERT INTO outputs VALUES (3, '')", "mark 3 or its outputs were changed"},
      {"INSERT INTO outputs VALUES (77, '{}')", "outputs 77 belong to no mark"},
      {"INSERT INTO entries SELECT -1, msec, kind, body, hash FROM entries WHERE number = 1",
       "entries: rows were added in front of the first"},
      {"UPDATE day SET identifier = 'another'", "entry 1 was changed"},
      {"UPDATE entries SET msec = msec + 0.5 WHERE number = 6", "entry 6 was changed"},
      {"UPDATE entries SET msec = msec || ' or so' WHERE number = 6", "entry 6 was changed"},
      {"UPDATE entries SET body = CAST(body AS BLOB) WHERE number = 2", "entry 2 was changed"},
      {"UPDATE marks SET msec = msec + 0.5 WHERE number = 3", "mark 3 or its outputs were changed"},
      {"INSERT INTO day VALUES ('another')", "day: a row was added"},
      {"CREATE TRIGGER later AFTER INSERT ON entries BEGIN DELETE FROM marks; END", "the tables were changed"}};
  for (const auto& [change, finding] : changes) {
    writeBytes(m_file, whole);
    runSql(m_file, change);
    const std::vector<std::string> found = verifyDay(m_file, {});
    ASSERT_FALSE(found.empty()) << change;
    EXPECT_EQ(found.front(), finding) << change;
  }
  // What only the head tells.
  for (const char* change : {"DELETE FROM entries WHERE number = 9",
                             "DELETE FROM marks WHERE number = 9; DELETE FROM outputs WHERE number = 9"}) {
    writeBytes(m_file, whole);
    runSql(m_file, change);
    EXPECT_EQ(verifyDay(m_file, {}), std::vector<std::string>()) << change;
    EXPECT_EQ(verifyDay(m_file, head).size(), 1u) << change;
  }
}

TEST_F(DayLog, AByteThatIsChangedIsFoundOrWithoutEffect) {
  const std::string head = makeDay(60);
  const std::string whole = bytesOf(m_file);
  const std::string before = textOf(*readDay(m_file).m_pLog);
  std::mt19937_64 random(17);
  int found = 0;
  for (int i = 0; i < 1000; ++i) {
    std::string changed = whole;
    changed[random() % changed.size()] ^= static_cast<char>(1 + random() % 255);
    writeBytes(m_file, changed);
    if (!verifyDay(m_file, head).empty()) {
      ++found;
      continue;
    }
    const SOpenedDay day = readDay(m_file);
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    ASSERT_EQ(textOf(*day.m_pLog), before) << "an unseen change, number " << i;
  }
  EXPECT_GT(found, 300);
  RecordProperty("found", found);
}

TEST_F(DayLog, AnswersTheQuestionsOfItsDocument) {
  makeDay(9);
  const std::string document = bytesOf(fs::path(PBT_SOURCE_DIR) / "docs" / "daylog.md");
  const std::string begin = "```sql\n";
  int queries = 0;
  for (std::size_t at = document.find(begin); at != std::string::npos; at = document.find(begin, at + 1)) {
    const std::size_t from = at + begin.size();
    runSql(m_file, document.substr(from, document.find("```", from) - from));
    ++queries;
  }
  EXPECT_GE(queries, 4);
}

/// The child tells what it has kept before it goes on; it is killed at any moment.
TEST_F(DayLog, WhatWasKeptOutlivesItsProcess) {
  std::mt19937_64 random(5);
  int kept = 0;
  for (int i = 0; i < 60; ++i) {
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t child = fork();
    if (child == 0) {
      const SOpenedDay day = openDay(m_file);
      for (int number = static_cast<int>(day.m_pLog->entries().size()) + 1;; ++number) {
        if (!day.m_pLog->append({entryOf(number)}, {{number, 1}}).empty()) _exit(1);
        if (write(pipes[1], &number, sizeof number) != sizeof number) _exit(1);
      }
    }
    close(pipes[1]);
    usleep(static_cast<useconds_t>(5000 + random() % 40000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    for (int number = 0; read(pipes[0], &number, sizeof number) == sizeof number;) kept = number;
    close(pipes[0]);
    const SOpenedDay day = openDay(m_file);
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    const std::size_t entries = day.m_pLog->entries().size();
    ASSERT_GE(entries, static_cast<std::size_t>(kept)) << "the lock died with its process, the entries did not";
    ASSERT_LE(entries, static_cast<std::size_t>(kept) + 1) << "at most one was kept and not told";
    kept = static_cast<int>(entries);
  }
  EXPECT_GT(kept, 60);
  EXPECT_EQ(verifyDay(m_file, {}), std::vector<std::string>());
}

TEST_F(DayLog, ADiskThatFillsIsToldAndLosesNothing) {
  makeDay(3);
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    SOpenedDay day = openDay(m_file);
    const rlimit before = [] {
      rlimit limit{};
      getrlimit(RLIMIT_FSIZE, &limit);
      return limit;
    }();
    const rlimit full{40000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    int refused = 0;
    for (int i = 0; i < 40; ++i) {
      SEntry entry = entryOf(i);
      entry.m_strBody = "{\"text\":\"" + std::string(3000, 'x') + "\"}";
      const std::size_t entries = day.m_pLog->entries().size();
      const bool kept = day.m_pLog->append({entry, entry}, {}).empty();
      refused += kept ? 0 : 1;
      if (day.m_pLog->entries().size() != entries + (kept ? 2 : 0)) _exit(2);
    }
    setrlimit(RLIMIT_FSIZE, &before);
    if (refused == 0 || refused == 40) _exit(3);
    if (!day.m_pLog->append({entryOf(99)}, {}).empty()) _exit(4);
    const std::string mine = textOf(*day.m_pLog);
    day.m_pLog.reset();
    const SOpenedDay again = openDay(m_file);
    _exit(again.m_pLog && textOf(*again.m_pLog) == mine ? 0 : 5);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(DayLog, AFullDiskTakesCancelsAndEverythingAgainWhenItHasSpace) {
  const fs::path disk = m_folder / "disk";
  fs::create_directory(disk);
  if (mount("none", disk.c_str(), "tmpfs", 0, "size=6m") != 0) GTEST_SKIP() << "may not mount a small disk here";
  const auto unmount = [](const fs::path* at) { umount2(at->c_str(), MNT_DETACH); };
  const std::unique_ptr<const fs::path, decltype(unmount)> mounted(&disk, unmount);
  m_file = disk / "day.db";
  SOpenedDay day = openDay(m_file);
  EXPECT_EQ(day.m_pLog->append({entryOf(1)}, {{34201000, 7, "{}"}}), "");
  {
    std::ofstream rest(disk / "rest");
    while (rest << std::string(4096, 'x') << std::flush) {
    }
  }
  SEntry large = entryOf(2);
  large.m_strBody = R"({"text":")" + std::string(100000, 'x') + "\"}";
  std::string fault;
  int kept = 0;
  while ((fault = day.m_pLog->append({large}, {{34202000 + kept * 1000, 8, ""}})).empty() && kept < 100) ++kept;
  EXPECT_NE(fault.find("the disk is full but for what cancels need"), std::string::npos) << fault;
  for (int i = 0; i < 50; ++i) EXPECT_EQ(day.m_pLog->appendFromReserve({entryOf(3)}), "") << i;
  EXPECT_NE(day.m_pLog->append({entryOf(4)}, {}), "") << "the reserve is not for it";
  fs::remove(disk / "rest");
  EXPECT_EQ(day.m_pLog->append({large}, {}), "") << "there is space again";
  const std::string text = textOf(*day.m_pLog);
  EXPECT_EQ(day.m_pLog->entries().size(), static_cast<std::size_t>(kept) + 52);
  day.m_pLog.reset();
  EXPECT_EQ(verifyDay(m_file, ""), std::vector<std::string>());
  EXPECT_EQ(textOf(*readDay(m_file).m_pLog), text);
}
