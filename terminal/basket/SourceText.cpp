#include <algorithm>
#include <array>
#include <utility>

#include "BasketReader.h"
#include "CellValues.h"
#include "FileBytes.h"
#include "SourceLimits.h"
#include "Text.h"
#include "TextDecoding.h"
#include "Titles.h"
#include "Workbook.h"

namespace basket {
namespace {

constexpr std::size_t SAMPLE = 200;             // rows by which the separator is told
constexpr std::size_t QUOTED_LINES = 8;         // a quoted cell goes over no more lines: a quote is more often a slip
constexpr std::size_t LONGEST_SENTENCE = 4000;  // bytes; reading one takes the square of its length
constexpr std::string_view BLANKS = " ";        // the separator that is any number of blanks

using Lines = std::vector<STextLine>;

/// Splits one line. False when it ends within a quoted cell.
bool splitQuoted(std::string_view text, std::string_view separator, std::vector<std::string>& cells) {
  std::size_t at = 0;
  while (true) {
    const std::size_t start = std::min(text.find_first_not_of(' ', at), text.size());
    std::string cell;
    if (start < text.size() && text[start] == '"') {
      at = start + 1;
      for (; at < text.size() && (text[at] != '"' || text.substr(at, 2) == "\"\""); ++at) {
        cell += text[at];
        if (text[at] == '"') ++at;
      }
      if (at >= text.size()) return false;
      ++at;
    }
    const std::size_t end = std::min(text.find(separator, at), text.size());
    cell += text.substr(at, end - at);
    cells.emplace_back(trimmed(cell));
    if (end == text.size()) return true;
    at = end + separator.size();
  }
}

std::vector<std::string> splitPlain(std::string_view text, std::string_view separator) {
  std::vector<std::string> cells;
  while (true) {
    const std::size_t end = text.find(separator);
    cells.emplace_back(trimmed(text.substr(0, end)));
    if (end == std::string_view::npos) return cells;
    text.remove_prefix(end + separator.size());
  }
}

std::vector<std::string> splitBlanks(std::string_view text) {
  std::vector<std::string> cells;
  const std::string normal = normalized(text);
  if (normal.empty()) return cells;
  return splitPlain(normal, BLANKS);
}

std::vector<SSheetRow> splitRows(const Lines& lines, std::size_t most, std::string_view separator) {
  std::vector<SSheetRow> rows;
  for (std::size_t i = 0; i < lines.size() && rows.size() < most; ++i) {
    SSheetRow row{lines[i].m_nLine, {}, {}};
    std::string text = lines[i].m_strText;
    if (separator == BLANKS) {
      row.m_cells = splitBlanks(text);
    } else if (text.find('"') == std::string::npos) {
      row.m_cells = splitPlain(text, separator);
    } else {
      std::size_t next = i + 1;
      while (!splitQuoted(text, separator, row.m_cells)) {
        row.m_cells.clear();
        if (next == lines.size() || next - i >= QUOTED_LINES) {
          row.m_cells = splitPlain(lines[i].m_strText, separator);
          next = i + 1;
          break;
        }
        text += " " + lines[next++].m_strText;
      }
      i = next - 1;
    }
    if (row.m_cells.size() > std::size_t{MOST_COLUMNS}) row.m_cells.resize(MOST_COLUMNS);
    if (lines[i].m_pBroken != nullptr) row.m_strFault = std::string("文字编码损坏：不是 ") + lines[i].m_pBroken;
    const bool blank =
        std::all_of(row.m_cells.begin(), row.m_cells.end(), [](const auto& cell) { return cell.empty(); });
    if (!blank || !row.m_strFault.empty()) rows.push_back(std::move(row));
  }
  return rows;
}

/// How much of the rows a separator makes a table of: those that have a cell which is a code as a whole, or titles.
double scoreOf(const std::vector<SSheetRow>& rows, bool& header) {
  double score = 0;
  std::vector<std::size_t> widths;
  for (const SSheetRow& row : rows) {
    if (row.m_cells.size() < 2) continue;
    widths.push_back(row.m_cells.size());
    const bool code = std::any_of(row.m_cells.begin(), row.m_cells.end(), [](const std::string& cell) {
      const auto read = cell.size() >= 6 ? codeIn(cell) : std::nullopt;
      return read && read->m_strCode.size() == 6;
    });
    const bool titles = knownTitles(row.m_cells) >= 2;
    header = header || titles;
    score += code || titles ? 1 : 0.1;
  }
  if (widths.empty()) return 0;
  std::sort(widths.begin(), widths.end());
  const auto usual = std::count(widths.begin(), widths.end(), widths[widths.size() / 2]);
  return score * static_cast<double>(usual) / static_cast<double>(rows.size());
}

/// Empty: the text is prose.
std::string_view separatorOf(const Lines& lines) {
  constexpr std::array<std::string_view, 6> separators{"\t", ",", ";", "|", "，", BLANKS};
  std::string_view best;
  double most = 0.3;  // less is a text in which some line happens to hold it
  for (const std::string_view separator : separators) {
    bool header = false;
    const auto rows = splitRows(lines, SAMPLE, separator);
    const double score = scoreOf(rows, header);
    // A sentence has blanks, too; only titles make a table of it.
    if (score <= most * 1.05 || (separator == BLANKS && !header)) continue;
    most = score;
    best = separator;
  }
  return best;
}

SSheet proseOf(const Lines& lines) {
  SSheet sheet;
  sheet.m_bProse = true;
  for (const STextLine& line : lines) {
    SSheetRow row{line.m_nLine, {std::string(trimmed(line.m_strText))}, {}};
    if (line.m_pBroken != nullptr) row.m_strFault = std::string("文字编码损坏：不是 ") + line.m_pBroken;
    if (row.m_cells.front().size() > LONGEST_SENTENCE) row = {line.m_nLine, {"…"}, "一句超过 4000 字节"};
    if (!row.m_cells.front().empty() || !row.m_strFault.empty()) sheet.m_rows.push_back(std::move(row));
  }
  return sheet;
}

}  // namespace

SSource readSourceText(std::string_view bytes) {
  SSource source;
  if (bytes.size() > MOST_BYTES) {
    source.m_strFault = "超过 50 MB";
    return source;
  }
  if (isWorkbook(bytes)) return readWorkbook(bytes);
  const auto ends = std::count_if(bytes.begin(), bytes.end(), [](char each) { return each == '\n' || each == '\r'; });
  if (ends > 2L * (MOST_LINES + 1)) {
    source.m_strFault = TOO_MANY_LINES;
    return source;
  }
  const Lines lines = decodeLines(bytes);
  if (lines.size() > MOST_LINES) {
    source.m_strFault = TOO_MANY_LINES;
    return source;
  }
  const std::string_view separator = separatorOf(lines);
  SSheet sheet;
  if (separator.empty()) {
    sheet = proseOf(lines);
  } else {
    sheet.m_bText = true;
    sheet.m_rows = splitRows(lines, lines.size(), separator);
  }
  if (sheet.m_rows.empty()) {
    source.m_strFault = "没有内容";
  } else {
    source.m_sheets.push_back(std::move(sheet));
  }
  return source;
}

SSource readSourceFile(const std::string& path) {
  const SFileBytes file = readFileBytes(path);
  if (file.m_refusal == ERefusal::None) return readSourceText(file.m_strBytes);
  SSource source;
  source.m_strFault = file.m_refusal == ERefusal::TooLarge ? "超过 50 MB"
                      : file.m_refusal == ERefusal::NoFile ? "不是普通文件"
                                                           : "不能读取";
  return source;
}

}  // namespace basket
