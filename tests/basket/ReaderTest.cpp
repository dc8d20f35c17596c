#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>

#include "BasketReader.h"

using namespace basket;
namespace fs = std::filesystem;

namespace {

const fs::path FOLDER = PBT_SOURCE_DIR "/tests/basket/files";

const CSecurities SECURITIES({{"SH", "600000", "浦发银行"},
                              {"SH", "600009", "上海机场"},
                              {"SH", "600012", "皖通高速"},
                              {"SH", "600036", "招商银行"},
                              {"SH", "688981", "中芯国际"},
                              {"SZ", "000001", "平安银行"},
                              {"SZ", "000002", "万 科Ａ"},
                              {"SZ", "000858", "五 粮 液"},
                              {"SZ", "300750", "宁德时代"},
                              {"BJ", "430047", "诺思兰德"},
                              {"SH", "000858", "某指数"},
                              {"CFFEX", "IF2612", "沪深2612"}});

std::string numberText(double value) {
  std::ostringstream text;
  text.precision(12);
  text << value;
  return text.str();
}

/// The roles of the columns, then what became of each row: its line, security, side, size, price, name, fault.
std::string print(const SSource& source) {
  constexpr const char* roles[] = {"-", "market", "code", "name", "side", "quantity", "amount", "weight", "price"};
  constexpr const char* units[] = {"", "/lots", "/10000", "/%"};
  constexpr const char* measures[] = {"none", "shares", "CNY", "weight"};
  std::string text;
  if (!source.m_strFault.empty()) text += "refused: " + source.m_strFault + "\n";
  for (const SSheet& sheet : source.m_sheets) {
    const SLayout layout = guessLayout(sheet, SECURITIES);
    text += sheet.m_bProse ? "prose" : "columns";
    for (const SColumn& column : layout.m_columns) {
      text += std::string(" ") + roles[static_cast<int>(column.m_role)] + units[static_cast<int>(column.m_unit)];
      if (column.m_bBuy) text += *column.m_bBuy ? "(buy)" : "(sell)";
    }
    text += sheet.m_strName.empty() ? "\n" : " of " + sheet.m_strName + "\n";
    const SReadBasket read = readLines(sheet, layout, SECURITIES);
    for (const SReadLine& line : read.m_lines) {
      text += std::to_string(line.m_nLine) + " " + line.m_strMarket + "." + line.m_strCode;
      text += !line.m_bBuy ? " ?" : *line.m_bBuy ? " buy" : " sell";
      if (line.m_nOperation >= 0) text += "#" + std::to_string(line.m_nOperation);
      text += " " + numberText(line.m_dQuantity) + " " + measures[static_cast<int>(line.m_measure)];
      if (line.m_dPrice) text += " @" + numberText(*line.m_dPrice);
      text += " " + line.m_strName + (line.m_strFault.empty() ? "" : " !" + line.m_strFault) + "\n";
    }
    for (const SLeftOut& left : read.m_leftOut)
      text += std::to_string(left.m_nLine) + " left out: " + left.m_strReason + "\n";
  }
  return text;
}

std::string bytesOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The odd files, without what is expected of them.
std::set<fs::path> oddFiles() {
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(FOLDER)) {
    if (entry.path().extension() != ".expected") files.insert(entry.path());
  }
  return files;
}

}  // namespace

TEST(BasketReader, ReadsOddFilesAsTheyAreMeant) {
  EXPECT_GE(oddFiles().size(), 15u);
  for (const fs::path& file : oddFiles()) {
    const std::string read = print(readSourceFile(file.string()));
    const std::string expected = bytesOf(file.string() + ".expected");
    EXPECT_EQ(read, expected) << file.filename();
    if (read != expected) std::ofstream(fs::temp_directory_path() / (file.filename().string() + ".read")) << read;
  }
}

TEST(BasketReader, EveryMutantIsReadOrRefusedWithItsLines) {
  std::mt19937 random(20261123);
  std::vector<std::string> files;
  for (const fs::path& file : oddFiles()) files.push_back(bytesOf(file));
  for (int round = 0; round < 1000; ++round) {
    std::string bytes = files[static_cast<std::size_t>(round) % files.size()];
    const auto place = [&] { return random() % bytes.size(); };
    for (unsigned i = 0; i <= random() % 6 && !bytes.empty(); ++i) {
      const std::size_t at = place();
      switch (random() % 4) {
        case 0:
          bytes[at] = static_cast<char>(random());
          break;
        case 1:
          bytes.erase(at, 1 + random() % 40);
          break;
        case 2:
          bytes.insert(at, bytes.substr(place(), random() % 200));
          break;
        default:
          bytes.insert(at, 1, "\",;\t\n'=-0%@"[random() % 11]);
      }
    }
    const SSource source = readSourceText(bytes);
    EXPECT_EQ(source.m_sheets.empty(), !source.m_strFault.empty()) << round;
    for (const SSheet& sheet : source.m_sheets) {
      const SReadBasket read = readLines(sheet, guessLayout(sheet, SECURITIES), SECURITIES);
      std::set<int> told;
      for (const SReadLine& line : read.m_lines) {
        told.insert(line.m_nLine);
        EXPECT_EQ(line.m_dQuantity > 0, line.m_measure != EMeasure::None) << round;
      }
      for (const SLeftOut& left : read.m_leftOut) told.insert(left.m_nLine);
      // Nothing is dropped in silence, but for the row of titles.
      EXPECT_GE(told.size() + 1, sheet.m_rows.size()) << round;
    }
  }
}

TEST(BasketReader, RefusesAtOnceWhatIsTooLarge) {
  std::string large;
  large.resize(50'000'001, 'x');
  EXPECT_EQ(readSourceText(large).m_strFault, "超过 50 MB");
  std::string lines;
  for (int i = 0; i < 200'000; ++i) lines += "600000,买入,100\n";
  const SSource source = readSourceText(lines);
  ASSERT_EQ(source.m_sheets.size(), 1u);
  EXPECT_EQ(readLines(source.m_sheets[0], guessLayout(source.m_sheets[0], SECURITIES), SECURITIES).m_lines.size(),
            200'000u);
  EXPECT_EQ(readSourceText(lines + "600000,买入,100\n").m_strFault, "超过 200000 行");
  // As of a workbook, what stands far to the right is no basket.
  const SSource prose = readSourceText("买入 600000 100 股\n" + std::string(1000000, ',') + "买\n");
  ASSERT_EQ(prose.m_sheets.size(), 1u);
  EXPECT_EQ(prose.m_sheets[0].m_rows[1].m_strFault, "一句超过 4000 字节");
  const SSource wide = readSourceText("代码,方向,数量" + std::string(500000, ',') + "\n600000,买入,100\n");
  ASSERT_EQ(wide.m_sheets.size(), 1u);
  EXPECT_EQ(wide.m_sheets[0].m_rows[0].m_cells.size(), 1024u);
  EXPECT_EQ(wide.m_sheets[0].m_rows[1].m_cells.size(), 3u);
  // A directory that says one part unpacks to 500 MB and a byte.
  std::string zip = bytesOf(FOLDER / "merged-header.xlsx");
  const std::size_t entry = zip.find("PK\x01\x02");
  ASSERT_NE(entry, std::string::npos);
  zip.replace(entry + 24, 4, std::string("\x01\x65\xCD\x1D", 4));
  EXPECT_EQ(readSourceText(zip).m_strFault, "解压后超过 500 MB");
  // One that says the same of its packed bytes takes no more memory than the file has.
  zip = bytesOf(FOLDER / "merged-header.xlsx");
  zip.replace(entry + 20, 4, std::string("\xAA\x00\x00\x70", 4));
  const auto most = [] {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;  // MB
  };
  const long before = most();
  EXPECT_EQ(readSourceText(zip).m_strFault, "文件损坏，不能读取");
  EXPECT_LT(most() - before, 500);
}

TEST(Securities, FindsByNameOfAnyWidthAndProposesWhatIsNear) {
  EXPECT_EQ(SECURITIES.withName("万科A"), std::vector<int>{6});
  EXPECT_EQ(SECURITIES.withCode("000858").size(), 2u);
  EXPECT_EQ(SECURITIES.find("SZ", "600000"), -1);
  const std::tuple<const char*, const char*, int> cases[] = {
      {"600090", "", 1},    // two changed places
      {"60036", "", 3},     // one missing
      {"600037", "", 3},    // one wrong
      {"", "浦发", 0},      // a part of the name
      {"", "宁得时代", 8},  // a character wrong
      {"600009", "招商银行", 3 - 2},
  };
  for (const auto& [code, name, index] : cases) {
    const std::vector<int> near = SECURITIES.nearest(code, name, 3);
    ASSERT_FALSE(near.empty()) << code << name;
    EXPECT_EQ(near.front(), index) << code << name;
  }
  EXPECT_TRUE(SECURITIES.nearest("123456", "没有这个", 3).empty());
}
