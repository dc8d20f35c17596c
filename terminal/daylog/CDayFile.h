#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CFileLock.h"
#include "CReserve.h"
#include "Chain.h"
#include "Database.h"
#include "DayLog.h"

namespace daylog {

/// With what SQLite keeps beside it.
void removeDay(const std::string& path);

/// A day in an SQLite file: write-ahead log, every commit on the disk before it returns.
class CDayFile : public IDayLog {
 public:
  enum class EMode { Write, Read };

  /// Throws CFault, which does not name the file.
  CDayFile(const std::string& path, EMode mode);
  /// A new file with an identifier that another one has; none if this throws.
  CDayFile(const std::string& path, const std::string& identifier);

  std::string append(const std::vector<SEntry>& entries, const std::vector<SMark>& marks) override {
    return commit(entries, marks, true);
  }
  std::string appendFromReserve(const std::vector<SEntry>& entries) override { return commit(entries, {}, false); }
  const std::vector<SEntry>& entries() const override { return m_entries; }
  const std::vector<SMark>& marks() const override { return m_marks; }
  std::string follow() override;
  std::string finish(std::int64_t msec) override;
  std::string head() const override;

  /// What does not fit the chains, each with its row.
  const std::vector<std::string>& findings() const { return m_findings; }
  /// What the database itself finds.
  std::vector<std::string> integrity();
  const std::string& identifier() const { return m_strIdentifier; }
  /// The number of a table's last row, whether it fits or not; nothing if that cannot be read.
  std::optional<std::int64_t> lastRow(const char* table);

 private:
  struct SChain {
    Hash m_entries{};
    Hash m_marks{};
  };

  void begin();
  void migrate();
  void make(const std::string& identifier);
  void read();
  void readTables();
  void readEntries();
  void readMarks();
  void readOthers();
  void write(std::vector<SEntry>& entries, const std::vector<SMark>& marks, SChain& chain);
  std::string commit(const std::vector<SEntry>& entries, const std::vector<SMark>& marks, bool leavesReserve);
  bool undoCommit();
  void find(const std::string& what) { m_findings.push_back(what); }

  const std::string m_strPath;
  const EMode m_eMode;
  std::optional<CFileLock> m_lock;  ///< outlives the database: a file's locks go when any handle of it is closed
  std::optional<CDatabase> m_database;
  std::int64_t m_nVersion = 0;  ///< of the file's tables
  std::string m_strIdentifier;
  std::vector<SEntry> m_entries;
  std::vector<SMark> m_marks;
  SChain m_chain;
  std::vector<std::string> m_findings;
  CReserve m_reserve{m_strPath};
};

}  // namespace daylog
