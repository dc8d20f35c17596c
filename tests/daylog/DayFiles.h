/// Days in a folder of their own, and what may become of their files.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "DayLog.h"

namespace daylog {

namespace fs = std::filesystem;

inline std::string bytesOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

/// Changes a file as somebody with a database tool would.
inline void runSql(const fs::path& file, const std::string& statements) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  char* error = nullptr;
  sqlite3_exec(database, statements.c_str(), nullptr, nullptr, &error);
  EXPECT_EQ(error, nullptr) << error;
  sqlite3_close(database);
}

/// A database as a process leaves it that was killed: what it did last is in the write-ahead log only.
inline void copyAsKilled(const fs::path& file, const fs::path& copy) {
  fs::copy_file(file, copy, fs::copy_options::overwrite_existing);
  fs::copy_file(file.string() + "-wal", copy.string() + "-wal", fs::copy_options::overwrite_existing);
}

inline void leaveAsKilled(const fs::path& file, const fs::path& copy, const std::string& statements) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  copyAsKilled(file, copy);
  sqlite3_close(database);
}

/// What a child process makes of it, as its exit status.
template <typename Function>
int inChild(Function function) {
  const pid_t child = fork();
  if (child == 0) _exit(function());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Whether SQLite holds its own lock on a file, without which another program may remove the write-ahead log.
inline bool isHeldBySqlite(const fs::path& file) {
  return inChild([&] {
           struct flock lock {};
           lock.l_type = F_WRLCK;
           return fcntl(open(file.c_str(), O_RDWR), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
         }) == 1;
}

inline SEntry entryOf(int number) {
  return {0, 34200000 + 100 * number, number % 3 ? "operate" : "basket", R"({"n":)" + std::to_string(number) + "}"};
}

inline std::string textOf(const IDayLog& log) {
  std::string text;
  for (const SEntry& entry : log.entries()) {
    text += std::to_string(entry.m_nNumber) + " " + std::to_string(entry.m_nMsec) + " " + entry.m_strKind + " " +
            entry.m_strBody + "\n";
  }
  return text;
}

class DayLog : public testing::Test {
 public:
  ~DayLog() override {
    fs::permissions(m_folder, fs::perms::owner_all);
    fs::remove_all(m_folder);
  }

 protected:
  DayLog() {
    std::string name = (fs::temp_directory_path() / "daylog.XXXXXX").string();
    m_folder = mkdtemp(name.data());
    m_file = m_folder / "day.db";
  }
  /// A closed day of so many entries, each with a mark; its head.
  std::string makeDay(int entries) const {
    const SOpenedDay day = openDay(m_file);
    EXPECT_EQ(day.m_strFault, "");
    for (int i = 1; i <= entries; ++i) {
      const std::string outputs = i > 3 ? R"({"log":[[40,false,"text"]]})" : "";
      EXPECT_EQ(day.m_pLog->append({entryOf(i)},
                                   {{34200000 + 100 * i, static_cast<std::uint64_t>(i) * 0x9e3779b97f4a7c15, outputs}}),
                "");
    }
    return day.m_pLog->head();
  }

  fs::path m_folder;
  fs::path m_file;
};

}  // namespace daylog
