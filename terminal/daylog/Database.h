/// SQLite with its errors as exceptions, which no file of this room lets out.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace daylog {

/// What went wrong, in words.
class CFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class CDatabase {
 public:
  /// Opens a file that is there.
  CDatabase(const std::string& path, bool readOnly);

  /// Whether the write-ahead log is carried over into the file when it is closed, as it is by default.
  void setCarriesOver(bool carriesOver) const;

  /// Whether the file has another name by now, or none.
  bool hasMoved() const;

  void run(const char* statements);
  std::int64_t number(const char* query);

  sqlite3* handle() const { return m_pHandle.get(); }
  /// Throws what the last call said went wrong.
  [[noreturn]] void fail() const;

 private:
  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> m_pHandle;
};

/// A statement that may run again and again. Parameters count from 1, columns from 0.
class CStatement {
 public:
  CStatement(CDatabase& database, const char* text);

  void bind(int parameter, std::int64_t value);
  void bindText(int parameter, std::string_view text);
  void bindBytes(int parameter, const void* bytes, std::size_t size);
  /// True while there is a row. After the last one the statement is ready to run again.
  bool step();

  std::int64_t number(int column) const { return sqlite3_column_int64(m_pStatement.get(), column); }
  /// Of the row: SQLITE_INTEGER and so on, as it is kept, whatever its column was declared as.
  bool hasTypes(std::initializer_list<int> types) const;
  bool hasType(int column, int type) const;
  /// The bytes of a text or a blob, whatever they are.
  std::string bytes(int column) const;

 private:
  CDatabase& m_database;
  std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> m_pStatement;
};

}  // namespace daylog
