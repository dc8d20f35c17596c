#include "Workbook.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <deque>
#include <memory>
#include <orcus/orcus_ods.hpp>
#include <orcus/spreadsheet/import_interface.hpp>
#include <stdexcept>
#include <utility>

#include "SourceLimits.h"
#include "Text.h"
#include "Xlsx.h"
#include "ZipDirectory.h"

namespace basket {
namespace {

namespace ss = orcus::spreadsheet;

constexpr std::string_view ZIP_MARK = "PK\x03\x04";
constexpr std::string_view OLD_MARK = "\xD0\xCF\x11\xE0";
constexpr std::uint64_t MOST_UNPACKED = 500'000'000;
constexpr std::size_t MOST_PARTS = 10'000;
constexpr std::size_t MOST_CELLS = 8'000'000;

/// Ends the reading of a workbook that holds more than is read.
struct STooMuch : std::runtime_error {
  using std::runtime_error::runtime_error;
};

std::string numberText(double value) {
  if (!std::isfinite(value)) return {};
  std::array<char, 400> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return {text.data(), end.ptr};
}

std::string dateText(int year, int month, int day) {
  const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  return std::to_string(year) + "-" + two(month) + "-" + two(day);
}

class CStrings : public ss::iface::import_shared_strings {
 public:
  std::size_t append(std::string_view text) override {
    m_texts.emplace_back(text);
    return m_texts.size() - 1;
  }
  std::size_t add(std::string_view text) override { return append(text); }
  void set_segment_font(std::size_t) override {}
  void set_segment_bold(bool) override {}
  void set_segment_italic(bool) override {}
  void set_segment_font_name(std::string_view) override {}
  void set_segment_font_size(double) override {}
  void set_segment_font_color(ss::color_elem_t, ss::color_elem_t, ss::color_elem_t, ss::color_elem_t) override {}
  void append_segment(std::string_view text) override { m_strSegments += text; }
  std::size_t commit_segments() override { return append(std::exchange(m_strSegments, {})); }

  std::string_view text(std::size_t index) const {
    return index < m_texts.size() ? std::string_view(m_texts[index]) : std::string_view();
  }

 private:
  std::deque<std::string> m_texts;
  std::string m_strSegments;
};

/// The cells of one sheet.
class CSheet : public ss::iface::import_sheet, public ss::iface::import_formula {
 public:
  CSheet(std::string_view name, const CStrings& strings, std::size_t& cells) : m_strings(strings), m_cells(cells) {
    m_sheet.m_strName = name;
  }

  void set_auto(ss::row_t row, ss::col_t column, std::string_view text) override {
    put(row, column, std::string(text));
  }
  void set_string(ss::row_t row, ss::col_t column, ss::string_id_t index) override {
    put(row, column, std::string(m_strings.text(index)));
  }
  void set_value(ss::row_t row, ss::col_t column, double value) override { put(row, column, numberText(value)); }
  void set_bool(ss::row_t row, ss::col_t column, bool value) override { put(row, column, value ? "TRUE" : "FALSE"); }
  void set_date_time(ss::row_t row, ss::col_t column, int year, int month, int day, int, int, double) override {
    put(row, column, dateText(year, month, day));
  }
  void set_format(ss::row_t, ss::col_t, std::size_t) override {}
  void set_format(ss::row_t, ss::col_t, ss::row_t, ss::col_t, std::size_t) override {}
  void fill_down_cells(ss::row_t row, ss::col_t column, ss::row_t count) override {
    const std::string text = textAt(row, column);
    for (ss::row_t i = 1; i <= count && !text.empty(); ++i) put(row + i, column, text);
  }
  ss::range_size_t get_sheet_size() const override { return {1'048'576, 16'384}; }

  ss::iface::import_formula* get_formula() override { return this; }
  void set_position(ss::row_t row, ss::col_t column) override { m_formula = {row, column}; }
  void set_formula(ss::formula_grammar_t, std::string_view) override {}
  void set_shared_formula_index(std::size_t) override {}
  void set_result_string(std::string_view text) override { putResult(std::string(text)); }
  void set_result_value(double value) override { putResult(numberText(value)); }
  void set_result_bool(bool value) override { putResult(value ? "TRUE" : "FALSE"); }
  void set_result_empty() override {}
  void commit() override {}

  SSheet take() {
    std::erase_if(m_sheet.m_rows, [](const SSheetRow& row) { return row.m_cells.empty(); });
    return std::move(m_sheet);
  }

 private:
  void putResult(const std::string& text) { put(m_formula.first, m_formula.second, text); }

  std::string textAt(ss::row_t row, ss::col_t column) const {
    if (row < 0 || column < 0 || static_cast<std::size_t>(row) >= m_sheet.m_rows.size()) return {};
    const auto& cells = m_sheet.m_rows[static_cast<std::size_t>(row)].m_cells;
    return static_cast<std::size_t>(column) < cells.size() ? cells[static_cast<std::size_t>(column)] : std::string();
  }

  void put(ss::row_t row, ss::col_t column, const std::string& text) {
    const std::string_view bare = trimmed(text);
    if (bare.empty() || row < 0 || column < 0 || column >= MOST_COLUMNS) return;
    if (row >= MOST_LINES) throw STooMuch(TOO_MANY_LINES);
    const auto at = static_cast<std::size_t>(row);
    while (m_sheet.m_rows.size() <= at) m_sheet.m_rows.push_back({static_cast<int>(m_sheet.m_rows.size()) + 1, {}, {}});
    auto& cells = m_sheet.m_rows[at].m_cells;
    // A row takes memory up to its last cell.
    const std::size_t width = std::max(cells.size(), static_cast<std::size_t>(column) + 1);
    m_cells += width - cells.size();
    if (m_cells > MOST_CELLS) throw STooMuch("单元格太多");
    cells.resize(width);
    cells[static_cast<std::size_t>(column)] = bare;
  }

  const CStrings& m_strings;
  std::size_t& m_cells;
  SSheet m_sheet;
  std::pair<ss::row_t, ss::col_t> m_formula{};
};

/// "B5" and "A3:C3", which the library asks to have read.
class CResolver : public ss::iface::import_reference_resolver {
 public:
  ss::src_address_t resolve_address(std::string_view text) override {
    ss::src_address_t address{0, 0, 0};
    for (const char letter : text) {
      if (isLetter(letter) && address.column < MOST_COLUMNS * 26) {
        address.column = address.column * 26 + (letter & ~32) - 'A' + 1;
      } else if (isDigit(letter) && address.row <= MOST_LINES) {
        address.row = address.row * 10 + letter - '0';
      }
    }
    --address.column;
    --address.row;
    return address;
  }
  ss::src_range_t resolve_range(std::string_view text) override {
    const std::size_t joint = text.find(':');
    return {resolve_address(text.substr(0, joint)),
            resolve_address(joint == std::string_view::npos ? text : text.substr(joint + 1))};
  }
};

class CFactory : public ss::iface::import_factory, public IXlsxCells {
 public:
  ss::iface::import_shared_strings* get_shared_strings() override { return &m_strings; }
  ss::iface::import_reference_resolver* get_reference_resolver(ss::formula_ref_context_t) override {
    return &m_resolver;
  }
  ss::iface::import_sheet* append_sheet(ss::sheet_t, std::string_view name) override {
    m_sheets.push_back(std::make_unique<CSheet>(name, m_strings, m_nCells));
    m_names.emplace_back(name);
    return m_sheets.back().get();
  }
  ss::iface::import_sheet* get_sheet(std::string_view name) override {
    const auto at = std::find(m_names.begin(), m_names.end(), name);
    return at == m_names.end() ? nullptr : m_sheets[static_cast<std::size_t>(at - m_names.begin())].get();
  }
  ss::iface::import_sheet* get_sheet(ss::sheet_t index) override {
    const bool known = index >= 0 && static_cast<std::size_t>(index) < m_sheets.size();
    return known ? m_sheets[static_cast<std::size_t>(index)].get() : nullptr;
  }
  void finalize() override {}

  void beginSheet(std::string_view name) override { append_sheet(0, name); }
  void putText(int row, int column, std::string_view text) override { m_sheets.back()->set_auto(row, column, text); }
  void putNumber(int row, int column, double value) override { m_sheets.back()->set_value(row, column, value); }

  std::vector<SSheet> take() {
    std::vector<SSheet> sheets;
    for (const auto& each : m_sheets) {
      if (SSheet sheet = each->take(); !sheet.m_rows.empty()) sheets.push_back(std::move(sheet));
    }
    return sheets;
  }

 private:
  CStrings m_strings;
  CResolver m_resolver;
  std::vector<std::unique_ptr<CSheet>> m_sheets;
  std::vector<std::string> m_names;
  std::size_t m_nCells = 0;
};

/// liborcus unpacks a part into as much memory as the directory says, and no further: what a directory that lies packs
/// beyond that is not read.
std::string refusalOf(const std::vector<SZipEntry>& entries) {
  if (entries.empty()) return "文件损坏，不能读取";
  std::uint64_t sum = 0;
  for (const SZipEntry& entry : entries) sum += entry.m_nUnpacked;
  if (sum > MOST_UNPACKED) return "解压后超过 500 MB";
  return entries.size() > MOST_PARTS ? "文件损坏，不能读取" : std::string();
}

bool has(const std::vector<SZipEntry>& entries, std::string_view name) {
  return std::any_of(entries.begin(), entries.end(),
                     [name](const SZipEntry& entry) { return entry.m_strName == name; });
}

}  // namespace

bool isWorkbook(std::string_view bytes) { return bytes.starts_with(ZIP_MARK) || bytes.starts_with(OLD_MARK); }

SSource readWorkbook(std::string_view bytes) {
  SSource source;
  if (bytes.starts_with(OLD_MARK)) {
    source.m_strFault = "旧版 XLS 或加密的工作簿不能读取，请另存为 XLSX";
    return source;
  }
  try {
    const std::vector<SZipEntry> entries = readZipDirectory(bytes);
    source.m_strFault = refusalOf(entries);
    if (!source.m_strFault.empty()) return source;
    CFactory factory;
    const bool isXlsx = has(entries, "[Content_Types].xml");
    if (!isXlsx && !has(entries, "content.xml")) {
      source.m_strFault = "不是 XLSX 或 ODS 工作簿";
      return source;
    }
    if (isXlsx) {
      readXlsx(bytes, factory);
    } else {
      orcus::orcus_ods(&factory).read_stream(bytes);
    }
    source.m_sheets = factory.take();
    if (source.m_sheets.empty()) source.m_strFault = "工作簿中没有内容";
  } catch (const STooMuch& error) {
    source.m_strFault = error.what();
  } catch (const std::exception&) {
    source.m_strFault = "文件损坏，不能读取";  // what the library throws says nothing
  }
  return source;
}

}  // namespace basket
