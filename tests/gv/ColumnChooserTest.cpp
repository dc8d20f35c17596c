// The choice of a table's columns.
#include "TableFixture.h"
#include "gv/CColumnChooser.h"

class ColumnChooserTest : public TableTest {
 public:
  ~ColumnChooserTest() override { GV::CCommonDialog::setExecHook({}); }

 protected:
  bool choose(const GV::DialogHook& work) {
    GV::CCommonDialog::setExecHook(work);
    return GV::CColumnChooser::choose(m_table, nullptr);
  }
  QStringList shown() const {
    QStringList titles;
    for (int visual = 0; visual < m_table.header()->count(); ++visual) {
      const int column = m_table.header()->logicalIndex(visual);
      if (m_table.isColumnVisible(column)) titles.append(m_table.columnHeader(column).trimmed());
    }
    return titles;
  }
};

TEST_F(ColumnChooserTest, ShowsHidesAndMovesColumnsOnceAccepted) {
  const auto work = [](GV::CCommonDialog& dialog, const char* end) {
    EXPECT_EQ(dialog.check(QStringLiteral("Text"), false), QString());
    EXPECT_EQ(dialog.press(QStringLiteral("下移")), QString());  // the first row is the current one
    EXPECT_EQ(dialog.press(QStringLiteral("下移")), QString());
    EXPECT_EQ(dialog.press(QString::fromUtf8(end)), QString());
  };
  EXPECT_FALSE(choose([&](GV::CCommonDialog& dialog) { work(dialog, "取消"); }));
  EXPECT_EQ(shown(), (QStringList{"Tree", "Text", "Figure", "Buttons"}));
  EXPECT_TRUE(choose([&](GV::CCommonDialog& dialog) { work(dialog, "确定"); }));
  EXPECT_EQ(shown(), (QStringList{"Figure", "Tree", "Buttons"}));
  const QString config = m_table.saveConfigStr();

  EXPECT_TRUE(choose([](GV::CCommonDialog& dialog) {
    ASSERT_EQ(dialog.state().rows.size(), 4u);
    EXPECT_EQ(dialog.state().rows[0].key, QStringLiteral("Text")) << "in the order of the table";
    EXPECT_FALSE(dialog.state().rows[0].checked);
    EXPECT_EQ(dialog.press(QStringLiteral("上移")), QString()) << "the first stays the first";
    EXPECT_NE(dialog.check(QStringLiteral("Tree"), false), QString()) << "the tree column stays";
    EXPECT_EQ(dialog.press(QStringLiteral("确定")), QString());
  }));
  EXPECT_EQ(m_table.saveConfigStr(), config);
}
