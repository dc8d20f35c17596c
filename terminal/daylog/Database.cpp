#include "Database.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace daylog {
namespace {

/// A reader beside a writer waits for moments only.
constexpr int PATIENCE_MSEC = 5000;

/// How SQLite is told that nobody can change a file, so that it makes nothing beside it.
std::string asUnchanging(const std::string& path) {
  std::string uri = "file:";
  for (const char letter : path) {
    if (letter == '%') {
      uri += "%25";
    } else if (letter == '?') {
      uri += "%3f";
    } else if (letter == '#') {
      uri += "%23";
    } else {
      uri += letter;
    }
  }
  return uri + "?immutable=1";
}

/// To read a file with a write-ahead log SQLite makes another one beside it, for what its processes share.
std::string nameToRead(const std::string& path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (access(folder.empty() ? "." : folder.c_str(), W_OK) == 0) return path;
  std::error_code none;
  const std::uintmax_t logged = std::filesystem::file_size(path + "-wal", none);
  if (none || logged == 0) return asUnchanging(path);
  if (std::filesystem::exists(path + "-shm", none)) return path;
  throw CFault("has a write-ahead log in a folder that cannot be written: copy both to another one");
}

}  // namespace

CDatabase::CDatabase(const std::string& path, bool readOnly) : m_pHandle(nullptr, &sqlite3_close) {
  sqlite3* handle = nullptr;
  const int flags = readOnly ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE;
  const std::string name = readOnly ? nameToRead(path) : path;
  const int status = sqlite3_open_v2(name.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  m_pHandle.reset(handle);
  if (status != SQLITE_OK) fail();
  sqlite3_busy_timeout(handle, PATIENCE_MSEC);
}

void CDatabase::setCarriesOver(bool carriesOver) const {
  sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, carriesOver ? 0 : 1, nullptr);
}

void CDatabase::fail() const { throw CFault(m_pHandle ? sqlite3_errmsg(m_pHandle.get()) : "out of memory"); }

bool CDatabase::hasMoved() const {
  int moved = 0;
  sqlite3_file_control(handle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

void CDatabase::run(const char* statements) {
  if (sqlite3_exec(m_pHandle.get(), statements, nullptr, nullptr, nullptr) != SQLITE_OK) fail();
}

std::int64_t CDatabase::number(const char* query) {
  CStatement statement(*this, query);
  return statement.step() ? statement.number(0) : 0;
}

CStatement::CStatement(CDatabase& database, const char* text)
    : m_database(database), m_pStatement(nullptr, &sqlite3_finalize) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database.handle(), text, -1, &statement, nullptr) != SQLITE_OK) database.fail();
  m_pStatement.reset(statement);
}

void CStatement::bind(int parameter, std::int64_t value) {
  if (sqlite3_bind_int64(m_pStatement.get(), parameter, value) != SQLITE_OK) m_database.fail();
}

void CStatement::bindText(int parameter, std::string_view text) {
  const int status =
      sqlite3_bind_text(m_pStatement.get(), parameter, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  if (status != SQLITE_OK) m_database.fail();
}

void CStatement::bindBytes(int parameter, const void* bytes, std::size_t size) {
  const int status = sqlite3_bind_blob(m_pStatement.get(), parameter, bytes, static_cast<int>(size), SQLITE_TRANSIENT);
  if (status != SQLITE_OK) m_database.fail();
}

bool CStatement::step() {
  const int status = sqlite3_step(m_pStatement.get());
  if (status == SQLITE_ROW) return true;
  const int end = sqlite3_reset(m_pStatement.get());
  if (status != SQLITE_DONE || end != SQLITE_OK) m_database.fail();
  return false;
}

bool CStatement::hasTypes(std::initializer_list<int> types) const {
  int column = 0;
  return std::all_of(types.begin(), types.end(),
                     [&](int type) { return sqlite3_column_type(m_pStatement.get(), column++) == type; });
}

bool CStatement::hasType(int column, int type) const { return sqlite3_column_type(m_pStatement.get(), column) == type; }

std::string CStatement::bytes(int column) const {
  const void* bytes = sqlite3_column_blob(m_pStatement.get(), column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_pStatement.get(), column));
  return bytes ? std::string(static_cast<const char*>(bytes), size) : std::string();
}

}  // namespace daylog
