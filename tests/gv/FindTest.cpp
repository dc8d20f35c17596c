// Finding rows by typing: what letters mean, the line for them, and how rows are gone to.
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

#include "TableFixture.h"
#include "gv/CFindBar.h"
#include "utils/Pinyin.h"

TEST(Pinyin, EveryReadingOfACharacterCounts) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"浦发银行", "pfyh", true}, {"浦发银行", "PFYX", true},   {"浦发银行", "yh", true},
      {"浦发银行", "py", false},  {"浦发银行", "pfyhs", false}, {"浦发银行", "", false},
      {"浦发银行", "p f", false}, {"浦发银行", "银h", false},   {"重庆啤酒", "cqpj", true},
      {"重庆啤酒", "z", true},    {"长城汽车", "zc", true},     {"厦门空港", "xmkg", true},
      {"*ST 金山", "stjs", true}, {"沪深300", "hs300", true},   {"ＴＣＬ科技", "tclk", true},
      {"万 科Ａ", "wka", true},   {"甲鿿乙", "jy", false},   {"", "a", false}};
  for (const auto& [name, typed, found] : cases) EXPECT_EQ(utils::matchesPinyin(name, typed), found) << name << typed;
  EXPECT_TRUE(utils::matchesGivenPinyin("PFYH SPDB", "spd"));
  EXPECT_FALSE(utils::matchesGivenPinyin("PFYH SPDB", "h s"));
  EXPECT_FALSE(utils::matchesGivenPinyin("PFYH", ""));
}

/// The line below a table, which finds rows by a part of their names.
class Find : public TableTest {
 protected:
  Find() {
    m_window.resize(600, 400);
    m_table.setParent(&m_window);
    m_table.resize(600, 340);
    m_bar.move(0, 350);
    m_window.show();
    m_window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&m_window));
    m_bar.begin();
  }
  void TearDown() override { m_table.setParent(nullptr); }

  std::string type(const QString& text) {
    m_edit.clear();
    QTest::keyClicks(&m_edit, text);
    return state();
  }
  std::string press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(&m_edit, key, modifiers);
    return state();
  }
  /// The current row and what the line says, when all is looked at.
  std::string state() {
    QApplication::processEvents();
    const auto* finder = m_table.findChild<GV::CTreeFinder*>();
    EXPECT_TRUE(QTest::qWaitFor([finder] { return !finder->isBusy(); }));
    QApplication::processEvents();
    return m_table.currentKey().toStdString() + ": " + m_count.text().toStdString();
  }

  QWidget m_window;
  GV::CFindBar m_bar{m_table,
                     [this](const QString& typed) {
                       return [this, typed](const GV::ITreeState& rows, int row) {
                         ++m_nAsked;
                         return rows.name(row).contains(typed);
                       };
                     },
                     "hint", &m_window};
  QLineEdit& m_edit = *m_bar.findChild<QLineEdit*>();
  QLabel& m_count = *m_bar.findChild<QLabel*>();
  int m_nAsked = 0;
};

TEST_F(Find, TypingGoesToTheNearestRowAndEnterOn) {
  EXPECT_TRUE(m_edit.hasFocus());
  m_table.setCurrentKey("r30");
  m_bar.begin();
  EXPECT_EQ(type("r5"), "r50: 5/44") << "from the current row on";
  EXPECT_EQ(m_table.selectedKeys(), QStringList("r50"));
  EXPECT_EQ(press(Qt::Key_Backspace), "r30: 121/240") << "the nearest of what is left of the text";
  EXPECT_EQ(type("r5.c"), "r5.c0: 1/3");
  EXPECT_TRUE(m_table.isExpanded("r5"));
  EXPECT_GE(m_table.baseModel()->positionOf(QString("r5.c0")), m_table.topRow());
  EXPECT_EQ(press(Qt::Key_Return), "r5.c1: 2/3");
  EXPECT_EQ(press(Qt::Key_Down), "r5.c2: 3/3");
  EXPECT_EQ(press(Qt::Key_Enter), "r5.c0: 1/3") << "round";
  EXPECT_EQ(press(Qt::Key_Return, Qt::ShiftModifier), "r5.c2: 3/3");
  EXPECT_EQ(press(Qt::Key_Up), "r5.c1: 2/3");
  EXPECT_TRUE(m_edit.hasFocus());
  EXPECT_EQ(type("nobody"), "r5.c1: 没有找到");
  EXPECT_TRUE(m_edit.property("invalid").toBool());
  EXPECT_EQ(press(Qt::Key_Return), "r5.c1: 没有找到");

  m_nAsked = 0;
  EXPECT_EQ(press(Qt::Key_Escape), "r5.c1: ");
  EXPECT_TRUE(m_table.hasFocus() && m_bar.isHidden());
  row("r1").m_dValue = 99;
  m_table.updateData(m_table.dataByKey("r1"), QString());
  EXPECT_EQ(state(), "r5.c1: ");
  EXPECT_EQ(m_nAsked, 0) << "nothing is looked at while it is hidden";
  m_bar.go(1);
  EXPECT_EQ(state(), "r5.c1: 没有找到");
  EXPECT_EQ(m_nAsked, kRoots * (kChildren + 1));
  EXPECT_EQ(m_edit.selectedText(), "nobody");
}

TEST_F(Find, RowsThatAFilterHidesAreCountedAndOrderIsTheTables) {
  m_table.sortByColumn(2, Qt::DescendingOrder);
  m_table.hideItem("r5", true);
  EXPECT_EQ(type("c1"), "r59.c1: 1/59  另有 1 行被筛选隐藏");
  EXPECT_EQ(press(Qt::Key_Return), "r58.c1: 2/59  另有 1 行被筛选隐藏");
  // What is found follows the rows.
  m_table.hideItem("r5", false);
  EXPECT_EQ(state(), "r58.c1: 2/60");
  m_table.sortByColumn(2, Qt::AscendingOrder);
  EXPECT_EQ(state(), "r58.c1: 59/60");
  add("new c1", QString(), 0);
  EXPECT_EQ(state(), "r58.c1: 60/61");
  m_table.removeDataByKey("r58");
  EXPECT_EQ(state(), "r58.c1: 0/60");
  m_table.setColumnFilter(0, "r7");
  EXPECT_EQ(type("c1"), "r7.c1: 1/1  另有 59 行被筛选隐藏");
  m_table.clear();
  EXPECT_EQ(state(), "r7.c1: 没有找到");
}

/// Many rows are looked at in pieces, and what is asked for meanwhile comes in its time.
TEST_F(Find, ManyRowsAreLookedAtBetweenOtherEvents) {
  {
    const GV::CModelBatch batch(*m_table.dataModel());
    for (int i = 0; i < 12000; ++i) add(QString("many%1").arg(i), QString(), 100 + i);
  }
  QApplication::processEvents();
  m_nAsked = 0;
  m_edit.setText("many");
  EXPECT_EQ(m_nAsked, 0);
  m_bar.go(1);
  QApplication::processEvents();
  EXPECT_GT(m_nAsked, 0);
  EXPECT_LT(m_nAsked, 12000);
  add("many more", QString(), 0);
  EXPECT_EQ(state(), "many more: 1/12001");
}
