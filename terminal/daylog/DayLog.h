/// Keeps what enters the engine in a file, each thing before it is acted on, so that a day can be gone on with after a
/// crash and nobody can change it unseen. docs/daylog.md describes the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace daylog {

/// Something that entered the engine.
struct SEntry {
  std::int64_t m_nNumber = 0;  ///< from 1, without a gap; given by the log
  std::int64_t m_nMsec = 0;    ///< the engine's clock when it was taken, milliseconds since midnight
  std::string m_strKind;       ///< "day", "basket", "create", ...
  std::string m_strBody;       ///< a JSON object, UTF-8
};

/// What the engine's state hashed to at a second of its clock, and what it put out since the mark before. Derived from
/// the entries, so it may follow later.
struct SMark {
  std::int64_t m_nMsec = 0;
  std::uint64_t m_nHash = 0;
  std::string m_strOutputs{};  ///< a JSON object, UTF-8; empty: nothing. A log that is being written forgets it
};

/// The kind of the last entry of a day that is over.
inline constexpr const char* END_ENTRY = "end";

/// A day's log. One thread at a time.
class IDayLog {
 public:
  virtual ~IDayLog() = default;
  /// Keeps all of it in one transaction, which is on the disk when this returns. Empty, or why nothing of it was kept.
  virtual std::string append(const std::vector<SEntry>& entries, const std::vector<SMark>& marks) = 0;
  /// The same of what must be kept even when append() finds no space: from the space that append() leaves free.
  virtual std::string appendFromReserve(const std::vector<SEntry>& entries) = 0;
  /// All, in their order, as they were read when the log was opened or kept since.
  virtual const std::vector<SEntry>& entries() const = 0;
  virtual const std::vector<SMark>& marks() const = 0;
  /// Of a reader: takes in what was kept since by another process. Empty, or why that cannot be read; then it knows
  /// what it knew before.
  virtual std::string follow() = 0;
  /// The day is over: nothing is appended any more. Empty, or why that could not be kept.
  virtual std::string finish(std::int64_t msec) = 0;
  bool isFinished() const { return !entries().empty() && entries().back().m_strKind == END_ENTRY; }
  /// What proves the end: with it nobody can drop or change anything unseen, not even by forming all hashes anew.
  /// Hexadecimal.
  virtual std::string head() const = 0;
};

struct SOpenedDay {
  std::unique_ptr<IDayLog> m_pLog;  ///< null for a fault
  std::string m_strFault;           ///< names the file
  bool m_bTaken = false;            ///< the fault is that another terminal goes on with it
};

/// For an engine: makes the file where there is none, and locks it until the log goes or the process dies. A file that
/// is no day, a newer one, a damaged one, one that another engine has or that cannot be written is left as it is.
SOpenedDay openDay(const std::string& path);

/// For readers, also beside a living engine: takes no lock and writes nothing; append() and finish() fail.
SOpenedDay readDay(const std::string& path);

/// What is wrong with a day, each with the row that it is about; empty for a day that is whole. head: as
/// IDayLog::head() gave it when the day was known to be right; without one, rows that are missing at the end or a day
/// whose hashes were all formed anew are not found.
std::vector<std::string> verifyDay(const std::string& path, const std::string& head);

struct SRecovered {
  std::size_t m_nEntries = 0;  ///< those of the new file
  std::size_t m_nMarks = 0;
  std::vector<std::string> m_lost;  ///< what is wrong with the day and which rows the new file leaves out
  std::string m_strFault;           ///< names the file; there is no new one then
};

/// Keeps what can be proved of a day, its rows up to the first that does not fit the chain, in a new file that has the
/// same identifier and so the same hashes. Of a day that lost entries the marks end before the last entry that is
/// left. Writes over nothing. Rows that are missing at the end are not known to be lost (see verifyDay).
SRecovered recoverDay(const std::string& path, const std::string& out);

/// SHA-256 of what a file holds, hexadecimal; empty for one that cannot be read.
std::string contentHash(const std::string& path);

}  // namespace daylog
