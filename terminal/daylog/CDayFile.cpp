#include "CDayFile.h"

#include <fstream>
#include <utility>

namespace daylog {
namespace {

constexpr std::int64_t APPLICATION_ID = 0x42534b44;  // "BSKD"
constexpr std::int64_t VERSION = 1;
constexpr std::string_view FILE_MARK("SQLite format 3\0", 16);

const char* const SCHEMA = R"(
CREATE TABLE day (identifier TEXT NOT NULL);
CREATE TABLE entries (number INTEGER PRIMARY KEY, msec INTEGER NOT NULL, kind TEXT NOT NULL, body TEXT NOT NULL,
                      hash BLOB NOT NULL);
CREATE TABLE marks (number INTEGER PRIMARY KEY, msec INTEGER NOT NULL, state INTEGER NOT NULL, hash BLOB NOT NULL);
PRAGMA application_id = 1112755012;
PRAGMA user_version = 1;
)";
static_assert(APPLICATION_ID == 1112755012);

bool beginsAsDatabase(const std::string& path) {
  std::string begin(FILE_MARK.size(), ' ');
  std::ifstream file(path, std::ios::binary);
  return file.read(begin.data(), static_cast<std::streamsize>(begin.size())) && begin == FILE_MARK;
}

std::string row(const char* table, std::int64_t number) { return std::string(table) + " " + std::to_string(number); }

std::string hashBytes(const Hash& hash) { return {hash.begin(), hash.end()}; }

}  // namespace

CDayFile::CDayFile(const std::string& path, EMode mode) : m_strPath(path), m_eMode(mode) {
  bool isNew = false;
  if (mode == EMode::Write) {
    m_lock.emplace(path);
    isNew = m_lock->isEmpty();
  }
  if (!isNew && !beginsAsDatabase(path)) throw CFault("is no day file, or cannot be read");
  m_database.emplace(path, mode == EMode::Read);
  if (isNew) make();
  checkFormat();
  if (mode == EMode::Write) m_database->run("PRAGMA synchronous = FULL");
  read();
}

/// All of it or nothing: a crash in the middle leaves no half of a schema.
void CDayFile::make() {
  m_database->run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; BEGIN IMMEDIATE");
  m_database->run(SCHEMA);
  CStatement insert(*m_database, "INSERT INTO day VALUES (?)");
  insert.bindText(1, randomIdentifier());
  insert.step();
  m_database->run("COMMIT");
}

void CDayFile::checkFormat() {
  const std::int64_t application = m_database->number("PRAGMA application_id");
  const std::int64_t version = m_database->number("PRAGMA user_version");
  const bool empty = m_database->number("SELECT count(*) FROM sqlite_master") == 0;
  if (empty && application == 0 && m_eMode == EMode::Write) return make();  // a crash came before the first commit
  if (application != APPLICATION_ID) throw CFault("is no day file");
  if (version > VERSION) {
    throw CFault("was written by a newer terminal: its version is " + std::to_string(version) + ", this one reads " +
                 std::to_string(VERSION));
  }
}

void CDayFile::read() {
  // A reader beside a writer sees one moment.
  m_database->run("BEGIN");
  readEntries();
  readMarks();
  m_database->run("COMMIT");
}

/// What follows a row that does not fit says nothing more.
void CDayFile::readEntries() {
  CStatement day(*m_database, "SELECT identifier FROM day");
  const std::string identifier = day.step() ? day.bytes(0) : std::string();
  m_chain = {chainBegin("entries", identifier), chainBegin("marks", identifier)};
  CStatement rows(*m_database, "SELECT number, msec, kind, body, hash FROM entries ORDER BY number");
  while (rows.step()) {
    SEntry entry{rows.number(0), rows.number(1), rows.bytes(2), rows.bytes(3)};
    const auto expected = static_cast<std::int64_t>(m_entries.size()) + 1;
    if (entry.m_nNumber != expected) {
      return find(row("entry", expected) + (entry.m_nNumber > expected ? " is missing" : " is out of order"));
    }
    m_chain.m_entries = chainNext(m_chain.m_entries, entry);
    if (hashBytes(m_chain.m_entries) != rows.bytes(4)) return find(row("entry", expected) + " was changed");
    m_entries.push_back(std::move(entry));
  }
}

void CDayFile::readMarks() {
  CStatement rows(*m_database, "SELECT number, msec, state, hash FROM marks ORDER BY number");
  while (rows.step()) {
    const SMark mark{rows.number(1), static_cast<std::uint64_t>(rows.number(2))};
    const auto expected = static_cast<std::int64_t>(m_marks.size()) + 1;
    if (rows.number(0) != expected) {
      return find(row("mark", expected) + (rows.number(0) > expected ? " is missing" : " is out of order"));
    }
    m_chain.m_marks = chainNext(m_chain.m_marks, expected, mark);
    if (hashBytes(m_chain.m_marks) != rows.bytes(3)) return find(row("mark", expected) + " was changed");
    m_marks.push_back(mark);
  }
}

void CDayFile::write(std::vector<SEntry>& entries, const std::vector<SMark>& marks, SChain& chain) {
  CStatement entryRow(*m_database, "INSERT INTO entries VALUES (?, ?, ?, ?, ?)");
  std::int64_t number = static_cast<std::int64_t>(m_entries.size());
  for (SEntry& entry : entries) {
    entry.m_nNumber = ++number;
    chain.m_entries = chainNext(chain.m_entries, entry);
    entryRow.bind(1, entry.m_nNumber);
    entryRow.bind(2, entry.m_nMsec);
    entryRow.bindText(3, entry.m_strKind);
    entryRow.bindText(4, entry.m_strBody);
    entryRow.bindBytes(5, chain.m_entries.data(), chain.m_entries.size());
    entryRow.step();
  }
  CStatement markRow(*m_database, "INSERT INTO marks VALUES (?, ?, ?, ?)");
  number = static_cast<std::int64_t>(m_marks.size());
  for (const SMark& mark : marks) {
    chain.m_marks = chainNext(chain.m_marks, ++number, mark);
    markRow.bind(1, number);
    markRow.bind(2, mark.m_nMsec);
    markRow.bind(3, static_cast<std::int64_t>(mark.m_nHash));
    markRow.bindBytes(4, chain.m_marks.data(), chain.m_marks.size());
    markRow.step();
  }
}

std::string CDayFile::append(const std::vector<SEntry>& entries, const std::vector<SMark>& marks) {
  if (m_eMode == EMode::Read) return m_strPath + ": is open for reading";
  if (isFinished()) return m_strPath + ": the day is over";
  std::vector<SEntry> kept = entries;
  SChain chain = m_chain;
  try {
    m_database->run("BEGIN IMMEDIATE");
    write(kept, marks, chain);
    m_database->run("COMMIT");
  } catch (const std::exception& fault) {
    // SQLite has rolled some of its own errors back already.
    sqlite3_exec(m_database->handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    return m_strPath + ": cannot be written: " + fault.what();
  }
  m_chain = chain;
  m_entries.insert(m_entries.end(), std::make_move_iterator(kept.begin()), std::make_move_iterator(kept.end()));
  m_marks.insert(m_marks.end(), marks.begin(), marks.end());
  return {};
}

std::string CDayFile::finish(std::int64_t msec) { return append({{0, msec, END_ENTRY, "{}"}}, {}); }

std::string CDayFile::head() const {
  return toHex(headOf(m_chain.m_entries, m_entries.size(), m_chain.m_marks, m_marks.size()));
}

std::vector<std::string> CDayFile::integrity() {
  std::vector<std::string> found;
  CStatement check(*m_database, "PRAGMA integrity_check");
  while (check.step()) {
    const std::string text = check.bytes(0);
    if (text != "ok") found.push_back("the database: " + text);
  }
  return found;
}

SOpenedDay openDay(const std::string& path) {
  SOpenedDay opened;
  try {
    auto day = std::make_unique<CDayFile>(path, CDayFile::EMode::Write);
    if (!day->findings().empty()) throw CFault("is damaged: " + day->findings().front());
    opened.m_pLog = std::move(day);
  } catch (const std::exception& fault) {
    opened.m_strFault = path + ": " + fault.what();
  }
  return opened;
}

SOpenedDay readDay(const std::string& path) {
  SOpenedDay opened;
  try {
    auto day = std::make_unique<CDayFile>(path, CDayFile::EMode::Read);
    if (!day->findings().empty()) throw CFault("is damaged: " + day->findings().front());
    opened.m_pLog = std::move(day);
  } catch (const std::exception& fault) {
    opened.m_strFault = path + ": " + fault.what();
  }
  return opened;
}

std::vector<std::string> verifyDay(const std::string& path, const std::string& head) {
  try {
    CDayFile day(path, CDayFile::EMode::Read);
    std::vector<std::string> found = day.findings();
    for (std::string& each : day.integrity()) found.push_back(std::move(each));
    if (found.empty() && !head.empty() && day.head() != head) {
      found.push_back("the end: the head is " + day.head() + ", not " + head +
                      ": rows are missing or were added behind it, or all hashes were formed anew");
    }
    return found;
  } catch (const std::exception& fault) {
    return {fault.what()};
  }
}

}  // namespace daylog
