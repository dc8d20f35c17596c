/// Tables of text in files: what the instrument and the basket reader share. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace basket {

/// Something wrong in a file.
struct SFault {
  std::string m_strFile;
  int m_nLine = 0;  ///< from 1; 0 when it concerns the file as a whole
  std::string m_strText;

  /// "FILE:LINE: fault", or "FILE: fault".
  std::string toString() const;
};

/// What is wrong in a file, up to a number that a user can read.
class CFaults {
 public:
  static constexpr std::size_t MOST = 20;

  explicit CFaults(std::string file) : m_strFile(std::move(file)) {}
  void add(int line, std::string text);
  bool isEmpty() const { return m_faults.empty(); }
  bool isFull() const { return m_faults.size() >= MOST; }
  /// All of them, in the order of lines.
  std::vector<SFault> take();

 private:
  std::string m_strFile;
  std::vector<SFault> m_faults;
};

/// A column that a reader knows, under any of its titles. Titles are compared without regard to ASCII case.
struct SColumnTitles {
  std::vector<std::string_view> m_titles;  ///< the first one names the column in faults
  bool m_bRequired = true;
};

struct STextRow {
  int m_nLine = 0;                    ///< where it begins, from 1
  std::vector<std::string> m_fields;  ///< UTF-8, one for each known column in their order; empty for an absent column
};

/// Reads a table: a header line and rows, separated by commas or (when the header holds a TAB) by TABs; UTF-8 with or
/// without byte order mark, or GB18030; lines end with LF, CRLF or CR; fields may be quoted. Columns that are not asked
/// for are left out; empty lines are skipped. A fault is added for whatever is wrong; the rows are whole only when
/// there was none.
std::vector<STextRow> readTextTable(const std::string& path, const std::vector<SColumnTitles>& columns,
                                    CFaults& faults);

}  // namespace basket
