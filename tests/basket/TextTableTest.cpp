#include "TestFile.h"

using namespace basket;

namespace {

const std::vector<SColumnTitles> COLUMNS{{{"code", "代码"}}, {{"name", "名称"}}, {{"note"}, false}};

/// Rows and faults, each row as "line|field|field...".
struct SRead {
  explicit SRead(const std::string& bytes) {
    const CTestFile file(bytes);
    CFaults faults(file.path());
    for (const STextRow& row : readTextTable(file.path(), COLUMNS, faults)) {
      std::string text = std::to_string(row.m_nLine);
      for (const std::string& field : row.m_fields) text.append(1, '|').append(field);
      m_rows.push_back(text);
    }
    m_faults = file.told(faults.take());
  }
  Texts m_rows;
  Texts m_faults;
};

const std::string BYTE_ORDER_MARK = "\xEF\xBB\xBF";
// 名称 / 平安银行 in GB18030.
const std::string GB_NAME = "\xC3\xFB\xB3\xC6";
const std::string GB_BANK = "\xC6\xBD\xB0\xB2\xD2\xF8\xD0\xD0";

}  // namespace

TEST(TextTable, ReadsEveryEncodingSeparatorAndLineEnd) {
  const Texts expected{"2|000001|平安银行|", "3|600000|浦发|"};
  const Texts sources{
      "code,name\n000001,平安银行\n600000,浦发\n",
      "code,name\n000001,平安银行\n600000,浦发",  // no last line end
      BYTE_ORDER_MARK + "code,name\r\n000001,平安银行\r\n600000,浦发\r\n",
      "CODE\tName\r000001\t平安银行\r600000\t浦发\r",
      "\"code\" , \"name\"\n \"000001\", 平安银行 \n600000,\"浦发\"\n",
      "code," + GB_NAME + "\r\n000001," + GB_BANK + "\r\n600000,\xC6\xD6\xB7\xA2\r\n",
      "code\tname\n000001\t" + GB_BANK + "\n600000\t\xC6\xD6\xB7\xA2\n",
  };
  for (const std::string& source : sources) {
    const SRead read(source);
    EXPECT_EQ(read.m_rows, expected) << source;
    EXPECT_EQ(read.m_faults, Texts()) << source;
  }
}

TEST(TextTable, FindsColumnsByTitleAndSkipsWhatIsEmpty) {
  const SRead read("note,x,名称,代码\n\nn,1,a,000001\n,,,\n  \n,\"2\"\"\n3\",b,000002\n,4,c,000003\n");
  EXPECT_EQ(read.m_rows, (Texts{"3|000001|a|n", "6|000002|b|", "8|000003|c|"}));  // a field goes over two lines
  EXPECT_EQ(read.m_faults, Texts());
}

TEST(TextTable, NamesTheFaultsOfStructureAndOfEncoding) {
  const Texts noUtf8{"F:3: broken text encoding: this line is no UTF-8"};
  const std::pair<std::string, Texts> cases[] = {
      {"", {"F:1: the file is empty"}},
      {"\xEF\xBB\xBF\r\n\r\n", {"F:1: the file is empty"}},
      {"\ncode,nam\n1,2\n", {"F:2: the column name is missing"}},
      {"a,b\n", {"F:1: the column code is missing", "F:1: the column name is missing"}},
      {"code,name,代码\n1,2,3\n", {"F:1: two columns are code"}},
      {"code,name\n1\n1,2\n1,2,3\n", {"F:2: 1 fields where the header has 2", "F:4: 3 fields where the header has 2"}},
      {"code,name\n1,2\n1,\"two\n3,4\n", {"F:3: a quotation mark that is never closed"}},
      {"code,name\n1,2\n1,t\"wo\n3\n",
       {"F:3: a quotation mark within a field: a field that has one is quoted, and the mark doubled"}},
      {"代码,名称\n000001,平安\n000002,\xE5\xB9\n000003,浦发\n", noUtf8},
      {"code,name\n000001,平安\n000002," + GB_BANK + "\n", noUtf8},
      {BYTE_ORDER_MARK + "code,name\n000001,a\n000002," + GB_BANK + "\n", noUtf8},
      {"code," + GB_NAME + "\n1," + GB_BANK + "\n1,\xC6\n", {"F:3: broken text encoding: this line is no GB18030"}},
  };
  for (const auto& [source, faults] : cases) EXPECT_EQ(SRead(source).m_faults, faults) << source;
  // What a UTF-16 file looks like.
  const SRead wide(
      std::string("\xFF\xFE"
                  "c\0o\0d\0e\0,\0n\0a\0m\0e\0\n\0",
                  22));
  EXPECT_TRUE(wide.m_faults.at(0).starts_with("F:1: broken text encoding")) << wide.m_faults[0];
}

TEST(TextTable, TellsNoMoreFaultsThanCanBeReadAndReadsNoDirectory) {
  std::string source = "code,name\n";
  for (int i = 0; i < 100; ++i) source += "1\n";
  EXPECT_EQ(SRead(source).m_faults.size(), CFaults::MOST);
  const CTestFile large("code,name\n");
  std::filesystem::resize_file(large.path(), 50'000'001);
  const std::pair<std::string, const char*> refused[] = {
      {std::filesystem::temp_directory_path().string(), ": cannot be read"},
      {"/nowhere/at all.csv", ": cannot be read"},
      {"/dev/zero", ": is no regular file"},
      {large.path(), ": is larger than 50 MB"},
  };
  for (const auto& [path, why] : refused) {
    CFaults faults(path);
    readTextTable(path, COLUMNS, faults);
    EXPECT_EQ(faults.take().at(0).toString(), path + why);
  }
}

TEST(TextTable, AnyBytesAreReadOrRefused) {
  const std::string good = "代码,名称\n000001,\"平\"\"安\"\n000002,\"a\nb\"\r\n" + GB_BANK + ",x\n";
  std::uint64_t state = 1;
  const auto next = [&state] { return (state = state * 6364136223846793005u + 1442695040888963407u) >> 33; };
  for (int round = 0; round < 500; ++round) {
    std::string bytes = good.substr(0, next() % (good.size() + 1));
    for (int i = 0; i < 4 && !bytes.empty(); ++i) bytes[next() % bytes.size()] = static_cast<char>(next());
    const SRead read(bytes);
    EXPECT_LE(read.m_rows.size(), bytes.size());
  }
}
