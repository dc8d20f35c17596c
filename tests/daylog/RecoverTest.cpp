// What is left of a day of which a part was damaged.
#include <sys/resource.h>

#include <csignal>

#include "DayFiles.h"

using namespace daylog;

TEST_F(DayLog, RecoversWhatCanBeProved) {
  const std::string head = makeDay(200);
  const std::string whole = bytesOf(m_file);
  const fs::path out = m_folder / "out.db";
  const auto textOfFirst = [&](std::size_t entries) {
    writeBytes(m_folder / "whole.db", whole);
    const std::string text = textOf(*readDay(m_folder / "whole.db").m_pLog);
    std::size_t at = 0;
    for (; entries > 0; --entries) at = text.find('\n', at) + 1;
    return text.substr(0, at);
  };
  runSql(m_file, "UPDATE entries SET body = '{}' WHERE number = 5");
  SRecovered recovered = recoverDay(m_file, out);
  EXPECT_EQ(recovered.m_strFault, "");
  EXPECT_EQ(recovered.m_nEntries, 4u);
  EXPECT_EQ(recovered.m_lost, (std::vector<std::string>{"entry 5 was changed", "entries 5 to 200 are left out",
                                                        "marks 4 to 200 are left out"}));
  EXPECT_EQ(textOf(*readDay(out).m_pLog), textOfFirst(4));
  EXPECT_EQ(verifyDay(out, {}), std::vector<std::string>());
  EXPECT_EQ(recoverDay(m_file, out).m_strFault, out.string() + ": is there already");
  EXPECT_EQ(readDay(out).m_pLog->entries().size(), 4u);

  // Marks alone: no entry is lost by that.
  fs::remove(out);
  writeBytes(m_file, whole);
  runSql(m_file, "DELETE FROM marks WHERE number = 7");
  recovered = recoverDay(m_file, out);
  EXPECT_EQ(recovered.m_nEntries, 200u);
  EXPECT_EQ(recovered.m_nMarks, 6u);

  // A page that cannot be read any more.
  fs::remove(out);
  std::string torn = whole;
  torn[torn.find(R"({"n":150})") / 4096 * 4096] = '\x7f';
  writeBytes(m_file, torn);
  recovered = recoverDay(m_file, out);
  EXPECT_EQ(recovered.m_strFault, "");
  EXPECT_GT(recovered.m_nEntries, 10u);
  EXPECT_LT(recovered.m_nEntries, 150u);
  const std::string finding = "entry " + std::to_string(recovered.m_nEntries + 1) + " cannot be read: ";
  EXPECT_EQ(verifyDay(m_file, {}).front().find(finding), 0u) << verifyDay(m_file, {}).front();
  EXPECT_EQ(textOf(*readDay(out).m_pLog), textOfFirst(recovered.m_nEntries));

  fs::remove(out);
  runSql(m_file, "UPDATE day SET identifier = 'another'");
  EXPECT_NE(recoverDay(m_file, out).m_strFault.find(m_file.string() + ": holds no entry that can be proved"),
            std::string::npos);
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(DayLog, RecoversADayWhoseFirstPageIsDamaged) {
  makeDay(200);
  const std::string whole = bytesOf(m_file);
  const std::string text = textOf(*readDay(m_file).m_pLog);
  const auto zeroed = [&whole](std::size_t from, std::size_t size) {
    return std::string(whole).replace(from, size, std::string(size, '\0'));
  };
  std::string otherVersion = whole;
  otherVersion[62] = '\x40';
  // Its name, the size of its pages, whose it is, its version, the root of its tables, all of it.
  for (const std::string& bytes :
       {zeroed(0, 16), zeroed(16, 2), zeroed(68, 4), otherVersion, zeroed(100, 8), zeroed(0, 4096)}) {
    const fs::path out = m_folder / "out.db";
    writeBytes(m_file, bytes);
    const SRecovered recovered = recoverDay(m_file, out);
    EXPECT_EQ(recovered.m_strFault, "");
    EXPECT_EQ(recovered.m_nMarks, 200u);
    EXPECT_EQ(recovered.m_lost, std::vector<std::string>{"the file's first page is damaged"});
    ASSERT_TRUE(readDay(out).m_pLog);
    EXPECT_EQ(textOf(*readDay(out).m_pLog), text);
    EXPECT_EQ(verifyDay(out, {}), std::vector<std::string>());
    EXPECT_EQ(bytesOf(m_file), bytes) << "the damaged file is left as it is";
    fs::remove(out);
    for (const auto& each : fs::directory_iterator(m_folder)) EXPECT_FALSE(each.is_directory()) << each.path();
  }
  // What never was a day, and what a newer terminal wrote.
  writeBytes(m_file, std::string(20000, 'x'));
  EXPECT_EQ(recoverDay(m_file, m_folder / "out.db").m_strFault,
            m_file.string() + ": is no day file, or cannot be read");
  writeBytes(m_file, whole);
  runSql(m_file, "CREATE TABLE newer (number INTEGER); PRAGMA user_version = 3");
  EXPECT_NE(recoverDay(m_file, m_folder / "out.db").m_strFault.find("was written by a newer terminal"),
            std::string::npos);
  EXPECT_FALSE(fs::exists(m_folder / "out.db"));
}

TEST_F(DayLog, RecoversADayThatWasKilledWithADamagedFirstPage) {
  SRecovered recovered;
  const fs::path killed = m_folder / "killed.db";
  {
    const SOpenedDay day = openDay(m_file);
    for (int i = 1; i <= 300; ++i) ASSERT_EQ(day.m_pLog->append({entryOf(i)}, {}), "");
    copyAsKilled(m_file, killed);
  }
  writeBytes(killed, bytesOf(killed).replace(0, 100, std::string(100, '\0')));
  recovered = recoverDay(killed, m_folder / "out.db");
  EXPECT_EQ(recovered.m_strFault, "");
  EXPECT_EQ(recovered.m_nEntries, 300u);
}

TEST_F(DayLog, RecoversNothingRatherThanHalfOfItWhereTheDiskIsFull) {
  SEntry large = entryOf(1);
  large.m_strBody = "{\"text\":\"" + std::string(60000, 'x') + "\"}";
  ASSERT_EQ(openDay(m_file).m_pLog->append({large}, {}), "");
  const fs::path out = m_folder / "out.db";
  for (const rlim_t space : {2000, 10000, 40000}) {
    EXPECT_EQ(inChild([&] {
                std::signal(SIGXFSZ, SIG_IGN);
                const SOpenedDay reader = readDay(m_file);  // SQLite needs space beside the day, too
                const rlimit full{space, space};
                setrlimit(RLIMIT_FSIZE, &full);
                return recoverDay(m_file, out).m_strFault.find(out.string() + ": ") == 0 ? 0 : 1;
              }),
              0)
        << space;
    for (const char* const end : {"", "-wal", "-shm"}) EXPECT_FALSE(fs::exists(out.string() + end)) << space << end;
  }
  EXPECT_EQ(recoverDay(m_file, out).m_nEntries, 1u);
}
