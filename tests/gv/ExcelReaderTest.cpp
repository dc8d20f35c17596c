#include "gv/CExcelReader.h"

#include <array>

#include "FolderTest.h"

namespace {

/// With a sheet, and nothing in it.
class ExcelReader : public test::CFolderTest {
 protected:
  ExcelReader() { EXPECT_TRUE(m_writer.newfile() && m_writer.addSheet()); }

  GV::CExcelReader m_writer{false};
};

TEST_F(ExcelReader, CountsFromOneAndRefusesWhatIsNoPlace) {
  GV::CExcelReader writer(false);
  EXPECT_FALSE(writer.addSheet()) << "before a file was begun";
  EXPECT_FALSE(writer.saveAs(path("none.xlsx")));
  ASSERT_TRUE(writer.newfile());
  EXPECT_FALSE(writer.saveAs(path("none.xlsx"))) << "without a sheet";
  EXPECT_FALSE(writer.setData(1, 1, 1, "x"));
  EXPECT_TRUE(m_writer.setData(1, 1048576, 1, "last"));
  EXPECT_TRUE(m_writer.setData(1, 1, 16384, "last"));
  for (const auto& [sheet, row, column] : {std::array{0, 1, 1}, std::array{2, 1, 1}, std::array{1, 0, 1},
                                           std::array{1, 1, 0}, std::array{1, 1048577, 1}, std::array{1, 1, 16385}}) {
    EXPECT_FALSE(m_writer.setData(sheet, row, column, "x")) << sheet << "," << row << "," << column;
    EXPECT_FALSE(m_writer.setNumber(sheet, row, column, "1")) << sheet << "," << row << "," << column;
  }
  EXPECT_TRUE(files().isEmpty());
}

TEST_F(ExcelReader, SeparatedTextIsQuotedWhateverTheCaseOfTheName) {
  ASSERT_TRUE(m_writer.addSheet());
  m_writer.setData(1, 1, 1, "账号,\"甲\"");
  m_writer.setData(1, 1, 3, "two\nlines");
  m_writer.setData(1, 3, 1, "00012");
  m_writer.setNumber(1, 3, 2, "-1.50");
  m_writer.setData(2, 1, 1, "second");
  const QByteArray csv = "\"账号,\"\"甲\"\"\",\"\",\"two\nlines\"\n\n\"00012\",\"-1.50\"\n\"second\"\n";
  ASSERT_TRUE(m_writer.saveAs(path("中文 名.CSV")));
  EXPECT_EQ(contentOf("中文 名.CSV"), csv);
  ASSERT_TRUE(m_writer.saveAs(path("out.Txt")));
  EXPECT_EQ(contentOf("out.Txt"), QByteArray(csv).replace("\",\"", "\"\t\""));
}

TEST_F(ExcelReader, AnyOtherNameIsAWorkbookThatTakesThePlaceOfTheOldFile) {
  m_writer.setData(1, 1, 1, "x");
  for (const char* name : {"out.xlsx", "out.dat", "out", "名 称.XLSX"}) {
    put(name, QByteArray(100000, '-'));
    ASSERT_TRUE(m_writer.saveAs(path(name))) << name;
    EXPECT_EQ(contentOf(name).left(4), QByteArray("PK\3\4")) << name;
    EXPECT_LT(contentOf(name).size(), 100000) << name;
  }
  EXPECT_EQ(files().size(), 4) << "nothing is left beside";
}

TEST_F(ExcelReader, ATextThatAWorkbookCannotHoldLeavesTheOldFile) {
  m_writer.setData(1, 1, 1, QString(40000, 'x'));
  put("out.xlsx", "old");
  EXPECT_FALSE(m_writer.saveAs(path("out.xlsx")));
  EXPECT_EQ(contentOf("out.xlsx"), "old");
  EXPECT_FALSE(m_writer.saveAs(path("missing folder/out.xlsx")));
  EXPECT_FALSE(m_writer.saveAs(path("missing folder/out.CSV")));
}

TEST_F(ExcelReader, IsInvalidWithoutAFolderForIntermediateFiles) {
  put("file", {});
  const QByteArray before = qgetenv("TMPDIR");
  qputenv("TMPDIR", path("file").toLocal8Bit());
  GV::CExcelReader writer(false);
  EXPECT_FALSE(writer.isValid());
  EXPECT_FALSE(writer.newfile());
  EXPECT_FALSE(writer.addSheet());
  EXPECT_FALSE(writer.saveAs(path("out.xlsx")));
  before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
}

}  // namespace
