#include "CDayFile.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "Versions.h"

namespace daylog {
namespace {

bool hasLog(const std::string& path) {
  std::error_code none;
  const std::uintmax_t size = std::filesystem::file_size(path + "-wal", none);
  return !none && size > 0;
}

/// Where a link leads: there SQLite keeps what lies beside the file.
std::string resolved(const std::string& path) {
  std::error_code none;
  const std::filesystem::path real = std::filesystem::canonical(path, none);
  return none ? path : real.string();
}

std::string row(const char* table, std::int64_t number) { return std::string(table) + " " + std::to_string(number); }

std::string hashBytes(const Hash& hash) { return {hash.begin(), hash.end()}; }

SOpenedDay openAs(const std::string& path, CDayFile::EMode mode) {
  SOpenedDay opened;
  try {
    auto day = std::make_unique<CDayFile>(path, mode);
    if (!day->findings().empty()) throw CFault("is damaged: " + day->findings().front());
    opened.m_pLog = std::move(day);
  } catch (const std::exception& fault) {
    opened.m_bTaken = dynamic_cast<const CTakenFault*>(&fault) != nullptr;
    opened.m_strFault = path + ": " + fault.what();
  }
  return opened;
}

}  // namespace

void removeDay(const std::string& path) {
  std::error_code none;
  for (const char* const end : {"-wal", "-shm", ""}) std::filesystem::remove(path + end, none);
}

CDayFile::CDayFile(const std::string& path, EMode mode) : m_strPath(resolved(path)), m_eMode(mode) {
  if (mode == EMode::Write) {
    begin();
  } else {
    m_database.emplace(path, true);
    m_nVersion = versionOf(*m_database);
    if (m_nVersion == 0) throw CFault("is no day file");
    read();
  }
}

CDayFile::CDayFile(const std::string& path, const std::string& identifier)
    : m_strPath(resolved(path)), m_eMode(EMode::Write) {
  m_lock.emplace(path, CFileLock::SNewFile());
  try {
    m_database.emplace(path, false);
    make(identifier);
    read();
  } catch (...) {
    m_database.reset();
    removeDay(path);
    throw;
  }
}

/// Nothing of a file is changed before it is known to be a day that is whole: a database that is opened to be written
/// carries its write-ahead log over when it is closed, and rolls a journal back.
void CDayFile::begin() {
  m_lock.emplace(m_strPath);
  if (!m_lock->isEmpty()) {
    CDatabase probe(m_strPath, true);
    m_nVersion = versionOf(probe);
  } else if (hasLog(m_strPath)) {
    throw CFault("is empty, but beside it lies the write-ahead log of a day");
  }
  m_database.emplace(m_strPath, false);
  m_database->setCarriesOver(false);
  if (m_nVersion > 0) {
    m_database->run("PRAGMA synchronous = FULL");
  } else {
    make(randomIdentifier());
  }
  read();
  if (!m_findings.empty()) return;
  if (m_nVersion < newestVersion()) migrate();
  m_database->setCarriesOver(true);
}

/// Adds what newer versions added; the rows that there are stay as they are, and so do their hashes.
void CDayFile::migrate() {
  m_database->run("BEGIN IMMEDIATE");
  const std::vector<std::string> tables = tablesOf(newestVersion());
  for (std::size_t i = tablesOf(m_nVersion).size(); i < tables.size(); ++i) m_database->run(tables[i].c_str());
  m_database->run(("PRAGMA user_version = " + std::to_string(newestVersion())).c_str());
  m_database->run("COMMIT");
  m_nVersion = newestVersion();
}

/// All of it or nothing: a crash in the middle leaves no half of a schema. It ends in the file itself, so that a file
/// without tables never had an entry.
void CDayFile::make(const std::string& identifier) {
  m_database->run("PRAGMA journal_mode = OFF; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; BEGIN IMMEDIATE");
  m_nVersion = newestVersion();
  for (const std::string& table : tablesOf(m_nVersion)) m_database->run(table.c_str());
  m_database->run(("PRAGMA application_id = " + std::to_string(APPLICATION_ID)).c_str());
  m_database->run(("PRAGMA user_version = " + std::to_string(newestVersion())).c_str());
  CStatement insert(*m_database, "INSERT INTO day VALUES (?)");
  insert.bindText(1, identifier);
  insert.step();
  m_database->run("COMMIT; PRAGMA wal_checkpoint(FULL)");
}

void CDayFile::read() {
  // A reader beside a writer sees one moment.
  m_database->run("BEGIN");
  readTables();
  m_chain = {chainBegin("entries", m_strIdentifier), chainBegin("marks", m_strIdentifier)};
  try {
    readEntries();
  } catch (const CFault& fault) {
    find(row("entry", static_cast<std::int64_t>(m_entries.size()) + 1) + " cannot be read: " + fault.what());
  }
  try {
    readMarks();
    if (m_findings.empty()) readOthers();
  } catch (const CFault& fault) {
    find(row("mark", static_cast<std::int64_t>(m_marks.size()) + 1) + " cannot be read: " + fault.what());
  }
  // Of a damaged file this may fail as the reading did.
  sqlite3_exec(m_database->handle(), "COMMIT", nullptr, nullptr, nullptr);
}

void CDayFile::readTables() {
  try {
    CStatement tables(*m_database, "SELECT sql FROM sqlite_master ORDER BY rowid");
    std::vector<std::string> found;
    while (tables.step()) found.push_back(tables.bytes(0));
    if (found != tablesOf(m_nVersion)) find("the tables were changed");
    CStatement day(*m_database, "SELECT identifier FROM day");
    if (!day.step()) return find("day: its row is missing");
    m_strIdentifier = day.bytes(0);
    if (!day.hasTypes({SQLITE_TEXT})) find("day: its row was changed");
    if (day.step()) find("day: a row was added");
  } catch (const CFault& fault) {
    find(std::string("the tables cannot be read: ") + fault.what());
  }
}

/// What follows a row that does not fit says nothing more.
void CDayFile::readEntries() {
  CStatement rows(*m_database, "SELECT number, msec, kind, body, hash FROM entries WHERE number > ? ORDER BY number");
  rows.bind(1, static_cast<std::int64_t>(m_entries.size()));
  while (rows.step()) {
    SEntry entry{rows.number(0), rows.number(1), rows.bytes(2), rows.bytes(3)};
    const auto expected = static_cast<std::int64_t>(m_entries.size()) + 1;
    if (entry.m_nNumber != expected) {
      return find(row("entry", expected) + (entry.m_nNumber > expected ? " is missing" : " is out of order"));
    }
    const Hash hash = chainNext(m_chain.m_entries, entry);
    if (!rows.hasTypes({SQLITE_INTEGER, SQLITE_INTEGER, SQLITE_TEXT, SQLITE_TEXT, SQLITE_BLOB}) ||
        hashBytes(hash) != rows.bytes(4)) {
      return find(row("entry", expected) + " was changed");
    }
    m_chain.m_entries = hash;
    m_entries.push_back(std::move(entry));
  }
}

/// From the first that is not known yet.
void CDayFile::readMarks() {
  const bool outputs = m_nVersion >= 2;
  CStatement rows(*m_database, outputs
                                   ? "SELECT m.number, m.msec, m.state, m.hash, o.body FROM marks AS m LEFT JOIN "
                                     "outputs AS o ON o.number = m.number WHERE m.number > ? ORDER BY m.number"
                                   : "SELECT number, msec, state, hash FROM marks WHERE number > ? ORDER BY number");
  rows.bind(1, static_cast<std::int64_t>(m_marks.size()));
  while (rows.step()) {
    SMark mark{rows.number(1), static_cast<std::uint64_t>(rows.number(2)), outputs ? rows.bytes(4) : std::string()};
    const auto expected = static_cast<std::int64_t>(m_marks.size()) + 1;
    if (rows.number(0) != expected) {
      return find(row("mark", expected) + (rows.number(0) > expected ? " is missing" : " is out of order"));
    }
    const Hash hash = chainNext(m_chain.m_marks, expected, mark);
    bool typed = rows.hasTypes({SQLITE_INTEGER, SQLITE_INTEGER, SQLITE_INTEGER, SQLITE_BLOB});
    if (outputs) typed = typed && rows.hasType(4, mark.m_strOutputs.empty() ? SQLITE_NULL : SQLITE_TEXT);
    if (!typed || hashBytes(hash) != rows.bytes(3)) return find(row("mark", expected) + " or its outputs were changed");
    m_chain.m_marks = hash;
    // Only readers ask for it.
    if (m_eMode == EMode::Write) mark.m_strOutputs = {};
    m_marks.push_back(std::move(mark));
  }
}

/// What stands where nobody reads.
void CDayFile::readOthers() {
  for (const char* const table : {"entries", "marks"}) {
    CStatement rows(*m_database, (std::string("SELECT count(*) FROM ") + table + " WHERE number < 1").c_str());
    if (rows.step() && rows.number(0) > 0) find(std::string(table) + ": rows were added in front of the first");
  }
  if (m_nVersion < 2) return;
  CStatement rows(*m_database, "SELECT number FROM outputs WHERE number NOT IN (SELECT number FROM marks) LIMIT 1");
  if (rows.step()) find(row("outputs", rows.number(0)) + " belong to no mark");
}

/// What a damaged row would say again stays unsaid: the reader that finds it has not gone on.
std::string CDayFile::follow() {
  if (m_eMode == EMode::Write || !m_findings.empty()) return {};
  const std::size_t entries = m_entries.size();
  const std::size_t marks = m_marks.size();
  const SChain chain = m_chain;
  std::string fault;
  try {
    m_database->run("BEGIN");
    readEntries();
    readMarks();
    if (!m_findings.empty()) fault = m_strPath + ": is damaged: " + m_findings.front();
  } catch (const CFault& error) {
    fault = m_strPath + ": cannot be read: " + error.what();
  }
  sqlite3_exec(m_database->handle(), "COMMIT", nullptr, nullptr, nullptr);
  if (fault.empty()) return {};
  m_findings.clear();
  m_entries.resize(entries);
  m_marks.resize(marks);
  m_chain = chain;
  return fault;
}

std::optional<std::int64_t> CDayFile::lastRow(const char* table) try {
  return m_database->number((std::string("SELECT max(number) FROM ") + table).c_str());
} catch (const CFault&) {
  return std::nullopt;
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
  CStatement outputRow(*m_database, "INSERT INTO outputs VALUES (?, ?)");
  number = static_cast<std::int64_t>(m_marks.size());
  for (const SMark& mark : marks) {
    chain.m_marks = chainNext(chain.m_marks, ++number, mark);
    markRow.bind(1, number);
    markRow.bind(2, mark.m_nMsec);
    markRow.bind(3, static_cast<std::int64_t>(mark.m_nHash));
    markRow.bindBytes(4, chain.m_marks.data(), chain.m_marks.size());
    markRow.step();
    if (mark.m_strOutputs.empty()) continue;
    outputRow.bind(1, number);
    outputRow.bindText(2, mark.m_strOutputs);
    outputRow.step();
  }
}

std::string CDayFile::commit(const std::vector<SEntry>& entries, const std::vector<SMark>& marks, bool leavesReserve) {
  if (m_eMode == EMode::Read) return m_strPath + ": is open for reading";
  if (isFinished()) return m_strPath + ": the day is over";
  std::vector<SEntry> kept = entries;
  SChain chain = m_chain;
  bool written = false;
  try {
    // What is written into a file without a name nobody finds again.
    if (m_database->hasMoved()) throw CFault("the file was moved or deleted");
    if (!marks.empty() && !m_marks.empty() && marks.front().m_nMsec <= m_marks.back().m_nMsec) {
      throw CFault("a second that was kept comes again");
    }
    m_database->run("BEGIN IMMEDIATE");
    if (leavesReserve) m_reserve.leaveBehind(entries, marks);
    write(kept, marks, chain);
    written = true;
    m_database->run("COMMIT");
  } catch (const std::exception& fault) {
    // SQLite has rolled some of its own errors back already.
    sqlite3_exec(m_database->handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    const std::string text = m_strPath + ": cannot be written: " + fault.what();
    return !written || undoCommit() ? text : text + "; after a crash it may be found kept all the same";
  }
  m_chain = chain;
  m_entries.insert(m_entries.end(), std::make_move_iterator(kept.begin()), std::make_move_iterator(kept.end()));
  for (const SMark& mark : marks) m_marks.push_back({mark.m_nMsec, mark.m_nHash});
  return {};
}

/// What the disk failed to bring home may lie whole in the write-ahead log, where it would be found after a crash: a
/// commit over it, of nothing new, makes it void. What is appended next does the same.
bool CDayFile::undoCommit() try {
  m_database->run(("PRAGMA user_version = " + std::to_string(newestVersion())).c_str());
  return true;
} catch (const CFault&) {
  return false;
}

std::string CDayFile::finish(std::int64_t msec) { return append({{0, msec, END_ENTRY, "{}"}}, {}); }

std::string CDayFile::head() const {
  return toHex(headOf(m_chain.m_entries, m_entries.size(), m_chain.m_marks, m_marks.size()));
}

std::vector<std::string> CDayFile::integrity() {
  std::vector<std::string> found;
  try {
    CStatement check(*m_database, "PRAGMA integrity_check");
    while (check.step()) {
      const std::string text = check.bytes(0);
      if (text != "ok") found.push_back("the database: " + text);
    }
  } catch (const CFault& fault) {
    found.push_back(std::string("the database: ") + fault.what());
  }
  return found;
}

SOpenedDay openDay(const std::string& path) { return openAs(path, CDayFile::EMode::Write); }
SOpenedDay readDay(const std::string& path) { return openAs(path, CDayFile::EMode::Read); }

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
