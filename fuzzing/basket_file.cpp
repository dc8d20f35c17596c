// Files of baskets, instruments, positions, fees and of a broker, as text and as workbooks. The first byte says which.
#include <iterator>
#include <sstream>

#include "AccountFiles.h"
#include "BasketFiles.h"
#include "BasketReader.h"
#include "DayMatch.h"
#include "Fuzz.h"

namespace {

const basket::CSecurities& securities() {
  static const basket::CSecurities listed({{"SH", "600000", "浦发银行"},
                                           {"SH", "600036", "招商银行"},
                                           {"SZ", "000001", "平安银行"},
                                           {"SZ", "300750", "宁德时代"},
                                           {"SH", "000001", "上证指数"},
                                           {"CFFEX", "IF2612", "沪深300期指2612"}});
  return listed;
}

void look(const basket::SSource& source) {
  fuzz::require(source.m_sheets.empty() || source.m_strFault.empty(), "what could not be read has no tables");
  for (const basket::SSheet& sheet : source.m_sheets) {
    const basket::SLayout layout = basket::guessLayout(sheet, securities());
    for (const basket::SReadLine& line : basket::readLines(sheet, layout, securities()).m_lines) {
      fuzz::require(line.m_nLine > 0, "a line has its place in the source");
      if (line.m_measure != basket::EMeasure::None) fuzz::require(line.m_dQuantity > 0, "a quantity is above 0");
    }
  }
}

void readText(std::string_view bytes) { look(basket::readSourceText(bytes)); }

void readSource(std::string_view bytes) { look(basket::readSourceFile(fuzz::writeFile("source", bytes))); }

void readBasket(std::string_view bytes) {
  const basket::SBasketFile read = basket::readBasketFile(fuzz::writeFile("basket", bytes), securities());
  fuzz::require(read.m_lines.empty() || read.isGood(), "a basket is whole or refused");
  for (const basket::SBasketLine& line : read.m_lines) {
    fuzz::require(line.m_nQuantity > 0 && securities().find(line.m_strMarket, line.m_strCode) >= 0,
                  "a line of a basket is of what is listed");
  }
}

void readInstruments(std::string_view bytes) {
  const basket::SInstrumentFile read = basket::readInstrumentFile(fuzz::writeFile("instruments", bytes));
  fuzz::require(read.m_instruments.empty() || read.isGood(), "a list of instruments is whole or refused");
}

void readPositions(std::string_view bytes) {
  const auto isAccount = [](const std::string& account) { return account == "1001" || account == "A1"; };
  const auto read =
      basket::readPositionFile(fuzz::writeFile("positions", bytes), isAccount,
                               [](auto market, auto code) { return securities().find(market, code) >= 0; });
  for (const basket::SPositionLine& line : read.m_lines) {
    fuzz::require(line.m_nQuantity > 0 && line.m_nToday >= 0 && line.m_nToday <= line.m_nQuantity,
                  "of a position no more is of today than there is");
  }
}

void readFees(std::string_view bytes) { basket::readFeeFile(fuzz::writeFile("fees", bytes)); }

/// A broker's or a market's file, held against a day of two orders.
void match(std::string_view bytes) {
  const app::SBrokerFile file = app::readBrokerFile(fuzz::writeFile("broker", bytes));
  if (!file.m_strFault.empty()) return;
  static const std::vector<app::SMatchOrder> day{
      {"1-1-1", "A1", "1001", "SH", "600000", true, 1, {{100, 1000}, {200, 2010}}},
      {"1-1-2", "A1", "1001", "SZ", "000001", false, 1, {{300, 3600.5}}}};
  std::ostringstream out;
  app::matchDay(day, file, out);
}

/// The text in another encoding of two bytes a character.
void readUtf16(std::string_view bytes) {
  std::string text("\xff\xfe");
  for (const char each : bytes) text += {each, '\0'};
  readText(text);
}

void append(std::string& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8U * static_cast<unsigned>(i)));
}

std::uint32_t crcOf(std::string_view bytes) {
  std::uint32_t crc = 0xffffffffU;
  for (const char each : bytes) {
    crc ^= static_cast<unsigned char>(each);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xedb88320U : 0);
  }
  return ~crc;
}

/// A zip file of parts that are not compressed.
std::string zipOf(const std::vector<std::pair<std::string_view, std::string_view>>& parts) {
  std::string files;
  std::string directory;
  for (const auto& [name, content] : parts) {
    std::string facts;
    for (const std::uint32_t each : {20U, 0U, 0U, 0U, 0U}) append(facts, each, 2);
    append(facts, crcOf(content), 4);
    for (int i = 0; i < 2; ++i) append(facts, static_cast<std::uint32_t>(content.size()), 4);
    append(facts, static_cast<std::uint32_t>(name.size()), 2);
    append(facts, 0, 2);
    directory.append("PK\x01\x02\x14", 5).append(1, '\0').append(facts).append(10, '\0');
    append(directory, static_cast<std::uint32_t>(files.size()), 4);
    directory.append(name);
    files.append("PK\x03\x04").append(facts).append(name).append(content);
  }
  std::string end("PK\x05\x06");
  end.append(4, '\0');
  for (int i = 0; i < 2; ++i) append(end, static_cast<std::uint32_t>(parts.size()), 2);
  append(end, static_cast<std::uint32_t>(directory.size()), 4);
  append(end, static_cast<std::uint32_t>(files.size()), 4);
  append(end, 0, 2);
  return files + directory + end;
}

/// A workbook of which the sheet is these bytes; up to a byte 0, behind it the texts that its cells share.
void readXlsx(std::string_view bytes) {
  const std::size_t end = bytes.find('\0');
  const std::string_view sheet = bytes.substr(0, end);
  const std::string_view texts = end == std::string_view::npos ? "" : bytes.substr(end + 1);
  readText(zipOf(
      {{"[Content_Types].xml",
        R"(<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="xml" ContentType="application/xml"/><Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/><Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/><Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/></Types>)"},
       {"_rels/.rels",
        R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/></Relationships>)"},
       {"xl/workbook.xml",
        R"(<?xml version="1.0"?><workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets><sheet name="Sheet1" sheetId="1" r:id="rId1"/></sheets></workbook>)"},
       {"xl/_rels/workbook.xml.rels",
        R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="worksheets/sheet1.xml"/><Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings" Target="sharedStrings.xml"/></Relationships>)"},
       {"xl/worksheets/sheet1.xml", sheet},
       {"xl/sharedStrings.xml", texts}}));
}

void readOds(std::string_view bytes) {
  readText(zipOf(
      {{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
       {"META-INF/manifest.xml",
        R"(<?xml version="1.0"?><manifest:manifest xmlns:manifest="urn:oasis:names:tc:opendocument:xmlns:manifest:1.0"><manifest:file-entry manifest:full-path="/" manifest:media-type="application/vnd.oasis.opendocument.spreadsheet"/><manifest:file-entry manifest:full-path="content.xml" manifest:media-type="text/xml"/></manifest:manifest>)"},
       {"content.xml", bytes}}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*KINDS[])(std::string_view) = {
      readText, readSource, readBasket, readInstruments, readPositions, readFees, match, readUtf16, readXlsx, readOds};
  fuzz::CBytes bytes(data, size);
  const auto read = bytes.oneOf(KINDS);
  read(bytes.rest());
  return 0;
}
