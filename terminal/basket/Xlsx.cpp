#include "Xlsx.h"

#include <charconv>
#include <functional>
#include <map>
#include <orcus/sax_parser.hpp>
#include <orcus/zip_archive.hpp>
#include <orcus/zip_archive_stream.hpp>
#include <string>
#include <utility>
#include <vector>

#include "SourceLimits.h"
#include "Text.h"

namespace basket {
namespace {

using Bytes = std::vector<unsigned char>;
using Attributes = std::map<std::string, std::string, std::less<>>;  ///< by name, without its prefix

constexpr int MOST_COLUMN_NUMBER = 1'000'000;

/// Gathers the attributes of each element, which the parser tells before the element.
class CElements : public orcus::sax_handler {
 public:
  virtual ~CElements() = default;
  void attribute(const orcus::sax::parser_attribute& attribute) {
    m_attributes.insert_or_assign(std::string(attribute.name), std::string(attribute.value));
  }
  void start_element(const orcus::sax::parser_element& element) {
    begin(element.name, std::exchange(m_attributes, {}));
  }
  void end_element(const orcus::sax::parser_element& element) { end(element.name); }
  void characters(std::string_view text, bool) { add(text); }
  /// Those of a declaration are no element's.
  void end_declaration(std::string_view) { m_attributes.clear(); }

 protected:
  virtual void begin(std::string_view name, Attributes attributes) = 0;
  virtual void end(std::string_view) {}
  virtual void add(std::string_view) {}

 private:
  Attributes m_attributes;
};

/// All elements of a name, by their attributes.
class CFound : public CElements {
 public:
  explicit CFound(std::string_view name) : m_strName(name) {}
  std::vector<Attributes> m_all;

 protected:
  void begin(std::string_view name, Attributes attributes) override {
    if (name == m_strName) m_all.push_back(std::move(attributes));
  }

 private:
  std::string m_strName;
};

/// A text, perhaps of several runs of letters; how it is read aloud is no part of it.
class CText {
 public:
  void begin(std::string_view element) {
    if (element == "rPh") m_bAloud = true;
    m_bOpen = element == "t" || element == "v";
  }
  void end(std::string_view element) {
    if (element == "rPh") m_bAloud = false;
    m_bOpen = false;
  }
  void add(std::string_view text) {
    if (m_bOpen && !m_bAloud) m_strText += text;
  }
  std::string take() { return std::exchange(m_strText, {}); }

 private:
  std::string m_strText;
  bool m_bOpen = false;
  bool m_bAloud = false;
};

/// The table of texts.
class CTexts : public CElements {
 public:
  std::vector<std::string> m_all;

 protected:
  void begin(std::string_view name, Attributes) override { m_text.begin(name); }
  void end(std::string_view name) override {
    m_text.end(name);
    if (name == "si") m_all.push_back(m_text.take());
  }
  void add(std::string_view text) override { m_text.add(text); }

 private:
  CText m_text;
};

/// The number that a text is, whole.
template <typename Number>
bool isNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// Hands the cells of a sheet on. A row or a cell that does not say where it stands follows the one before.
class CCells : public CElements {
 public:
  CCells(const std::vector<std::string>& texts, IXlsxCells& cells) : m_texts(texts), m_cells(cells) {}

 protected:
  void begin(std::string_view name, Attributes attributes) override {
    if (name == "row") {
      ++m_nRow;
      m_nColumn = -1;
      if (int row = 0; isNumber(attributes["r"], row) && row > 0) m_nRow = row - 1;
    } else if (name == "c") {
      ++m_nColumn;
      moveTo(attributes["r"]);
      m_strType = attributes["t"];
      m_text.take();
    }
    m_text.begin(name);
  }
  void end(std::string_view name) override {
    m_text.end(name);
    if (name == "c") put(m_text.take());
  }
  void add(std::string_view text) override { m_text.add(text); }

 private:
  /// "AB12"
  void moveTo(std::string_view address) {
    int column = 0;
    std::size_t at = 0;
    for (; at < address.size() && isLetter(address[at]) && column < MOST_COLUMN_NUMBER; ++at) {
      column = column * 26 + (address[at] & ~32) - 'A' + 1;
    }
    int row = 0;
    if (column == 0 || !isNumber(address.substr(at), row) || row <= 0) return;
    m_nRow = row - 1;
    m_nColumn = column - 1;
  }

  void put(const std::string& text) {
    if (m_strType == "s") {
      std::size_t number = 0;
      if (isNumber(trimmed(text), number) && number < m_texts.size()) put(m_nRow, m_texts[number]);
    } else if (m_strType == "b") {
      put(m_nRow, trimmed(text) == "1" ? "TRUE" : "FALSE");
    } else if (double value = 0; (m_strType.empty() || m_strType == "n") && isNumber(trimmed(text), value)) {
      m_cells.putNumber(m_nRow, m_nColumn, value);
    } else {
      put(m_nRow, text);
    }
  }
  void put(int row, std::string_view text) { m_cells.putText(row, m_nColumn, text); }

  const std::vector<std::string>& m_texts;
  IXlsxCells& m_cells;
  CText m_text;
  std::string m_strType;
  int m_nRow = -1;
  int m_nColumn = -1;
};

constexpr std::size_t GUARD = 16;

class CPackage {
 public:
  explicit CPackage(std::string_view bytes)
      : m_stream(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()), m_archive(&m_stream) {
    m_archive.load();
  }

  /// False when there is no such part.
  bool parse(const std::string& part, CElements& into) {
    Bytes bytes;
    if (!m_archive.read_file_entry(part, bytes)) return false;
    // The parser looks at what follows the end of a part that ends within a mark.
    const std::size_t size = bytes.size();
    bytes.resize(size + GUARD);
    orcus::sax_parser<CElements>(reinterpret_cast<const char*>(bytes.data()), size, into).parse();
    return true;
  }

  /// What a part ("" for the package) refers to: of each reference its identifier, the end of its type, and the part.
  struct SReference {
    std::string m_strId;
    std::string m_strType;
    std::string m_strPart;
  };
  std::vector<SReference> references(const std::string& part) {
    const std::size_t name = part.rfind('/') + 1;  // 0 where there is no folder
    const std::string folder = part.substr(0, name);
    CFound found("Relationship");
    parse(folder + "_rels/" + part.substr(name) + ".rels", found);
    std::vector<SReference> references;
    for (Attributes& each : found.m_all) {
      const std::string& target = each["Target"];
      const std::string& type = each["Type"];
      references.push_back(
          {each["Id"], type.substr(type.rfind('/') + 1), target.starts_with('/') ? target.substr(1) : folder + target});
    }
    return references;
  }

 private:
  orcus::zip_archive_stream_blob m_stream;
  orcus::zip_archive m_archive;
};

}  // namespace

void readXlsx(std::string_view workbook, IXlsxCells& cells) {
  CPackage package(workbook);
  std::string book = "xl/workbook.xml";
  for (const auto& each : package.references("")) {
    if (each.m_strType == "officeDocument") book = each.m_strPart;
  }
  CFound sheets("sheet");
  package.parse(book, sheets);
  CTexts texts;
  std::map<std::string, std::string> parts;
  for (const auto& each : package.references(book)) {
    if (each.m_strType == "sharedStrings") package.parse(each.m_strPart, texts);
    parts.emplace(each.m_strId, each.m_strPart);
  }
  for (Attributes& sheet : sheets.m_all) {
    cells.beginSheet(sheet["name"]);
    CCells reader(texts.m_all, cells);
    package.parse(parts[sheet["id"]], reader);
  }
}

}  // namespace basket
