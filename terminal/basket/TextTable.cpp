#include "TextTable.h"

#include <csv.h>
#include <strings.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "FileBytes.h"
#include "TextDecoding.h"

namespace basket {
namespace {

/// libcsv, fed line by line so that a row knows its line.
class CRowParser {
 public:
  explicit CRowParser(char separator) {
    csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_delim(&m_parser, static_cast<unsigned char>(separator));
  }
  ~CRowParser() { csv_free(&m_parser); }
  CRowParser(const CRowParser&) = delete;
  CRowParser& operator=(const CRowParser&) = delete;

  /// False at text that is no table; row() says where that began. A row may go on in the next line, within quotes.
  bool feed(const STextLine& line) {
    if (std::exchange(m_bComplete, false)) m_row = {line.m_nLine, {}};
    const std::string text = line.m_strText + '\n';
    return csv_parse(&m_parser, text.data(), text.size(), &CRowParser::onField, &CRowParser::onRow, this) ==
           text.size();
  }
  /// After the last line: false when a quote was never closed.
  bool finish() { return csv_fini(&m_parser, &CRowParser::onField, &CRowParser::onRow, this) == 0; }
  /// Whether row() is whole; true before the first line.
  bool isComplete() const { return m_bComplete; }
  STextRow& row() { return m_row; }

 private:
  static void onField(void* text, std::size_t size, void* self) {
    static_cast<CRowParser*>(self)->m_row.m_fields.emplace_back(static_cast<const char*>(text), size);
  }
  static void onRow(int, void* self) { static_cast<CRowParser*>(self)->m_bComplete = true; }

  csv_parser m_parser{};
  STextRow m_row;
  bool m_bComplete = true;
};

bool isBlank(const std::string& text) { return text.find_first_not_of(" \t") == std::string::npos; }

/// Adds a fault for every line that is broken in the file's encoding, and leaves that line out.
std::vector<STextLine> goodLines(const std::string& bytes, CFaults& faults) {
  std::vector<STextLine> lines = decodeLines(bytes);
  for (const STextLine& line : lines) {
    if (line.m_pBroken == nullptr) continue;
    faults.add(line.m_nLine, std::string("broken text encoding: this line is no ") + line.m_pBroken);
  }
  std::erase_if(lines, [](const STextLine& line) { return line.m_pBroken != nullptr; });
  return lines;
}

/// Every row of the lines, fields as they stand.
std::vector<STextRow> parseRows(const std::vector<STextLine>& lines, CFaults& faults) {
  std::vector<STextRow> rows;
  const auto first =
      std::find_if_not(lines.begin(), lines.end(), [](const STextLine& line) { return isBlank(line.m_strText); });
  if (first == lines.end()) return rows;
  CRowParser parser(first->m_strText.find('\t') == std::string::npos ? ',' : '\t');
  for (auto line = first; line != lines.end(); ++line) {
    if (parser.isComplete() && isBlank(line->m_strText)) continue;
    if (!parser.feed(*line)) {
      faults.add(line->m_nLine,
                 "a quotation mark within a field: a field that has one is quoted, and the mark doubled");
      return rows;
    }
    if (parser.isComplete()) rows.push_back(std::move(parser.row()));
  }
  if (!parser.finish() || !parser.isComplete())
    faults.add(parser.row().m_nLine, "a quotation mark that is never closed");
  return rows;
}

bool isTitle(const std::string& text, std::string_view title) {
  return text.size() == title.size() && strncasecmp(text.data(), title.data(), title.size()) == 0;
}

/// Where the known columns stand in the header, -1 for one that may be absent and is; empty after a fault.
std::vector<int> findColumns(const STextRow& header, const std::vector<SColumnTitles>& columns, CFaults& faults) {
  std::vector<int> positions;
  bool good = true;
  const auto complain = [&](const std::string& text) {
    faults.add(header.m_nLine, text);
    good = false;
  };
  for (const SColumnTitles& column : columns) {
    int position = -1;
    for (std::size_t i = 0; i < header.m_fields.size(); ++i) {
      const auto matches = [&](std::string_view title) { return isTitle(header.m_fields[i], title); };
      if (std::none_of(column.m_titles.begin(), column.m_titles.end(), matches)) continue;
      if (position >= 0) complain("two columns are " + std::string(column.m_titles.front()));
      position = static_cast<int>(i);
    }
    if (position < 0 && column.m_bRequired) {
      complain("the column " + std::string(column.m_titles.front()) + " is missing");
    }
    positions.push_back(position);
  }
  return good ? positions : std::vector<int>();
}

STextRow pickColumns(STextRow& row, const std::vector<int>& positions) {
  STextRow picked{row.m_nLine, {}};
  picked.m_fields.reserve(positions.size());
  for (const int position : positions) {
    picked.m_fields.push_back(position < 0 ? std::string()
                                           : std::move(row.m_fields[static_cast<std::size_t>(position)]));
  }
  return picked;
}

bool isEmptyRow(const STextRow& row) {
  return std::all_of(row.m_fields.begin(), row.m_fields.end(), [](const std::string& field) { return field.empty(); });
}

}  // namespace

std::string SFault::toString() const {
  const std::string place = m_nLine > 0 ? m_strFile + ":" + std::to_string(m_nLine) : m_strFile;
  return place + ": " + m_strText;
}

void CFaults::add(int line, std::string text) {
  if (!isFull()) m_faults.push_back({m_strFile, line, std::move(text)});
}

std::vector<SFault> CFaults::take() {
  // Found in several passes over the file, told in the order of its lines.
  std::stable_sort(m_faults.begin(), m_faults.end(),
                   [](const SFault& left, const SFault& right) { return left.m_nLine < right.m_nLine; });
  return std::move(m_faults);
}

std::vector<STextRow> readTextTable(const std::string& path, const std::vector<SColumnTitles>& columns,
                                    CFaults& faults) {
  const SFileBytes file = readFileBytes(path);
  if (file.m_refusal != ERefusal::None) {
    faults.add(0, refusalText(file.m_refusal));
    return {};
  }
  std::vector<STextRow> rows = parseRows(goodLines(file.m_strBytes, faults), faults);
  if (rows.empty()) {
    if (faults.isEmpty()) faults.add(1, "the file is empty");
    return {};
  }
  const std::vector<int> positions = findColumns(rows.front(), columns, faults);
  if (positions.empty()) return {};
  const std::size_t width = rows.front().m_fields.size();
  std::vector<STextRow> picked;
  picked.reserve(rows.size());
  for (std::size_t i = 1; i < rows.size(); ++i) {
    STextRow& row = rows[i];
    if (isEmptyRow(row)) continue;
    if (row.m_fields.size() == width) {
      picked.push_back(pickColumns(row, positions));
    } else {
      faults.add(row.m_nLine,
                 std::to_string(row.m_fields.size()) + " fields where the header has " + std::to_string(width));
    }
  }
  return picked;
}

}  // namespace basket
