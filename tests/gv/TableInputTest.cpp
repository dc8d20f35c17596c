#include <QMenu>
#include <QTest>

#include "TableFixture.h"

namespace {

using TableInput = TableTest;

const std::vector<GV::STableButton> kSet = {{0, k("stop"), 3}, {1, k("pause"), 2}, {2, k("go"), 1}};

}  // namespace

TEST_F(TableInput, ClicksReachTheTable) {
  const QPoint cell = m_table.cellRect(4, 1).center();
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, cell);
  ASSERT_EQ(m_table.of(GV::EventCellClicked).size(), 1u);
  EXPECT_EQ(m_table.of(GV::EventCellClicked)[0].id, 1);
  EXPECT_EQ(m_table.of(GV::EventCellClicked)[0].key, k("r4"));
  EXPECT_EQ(m_table.currentKey(), k("r4"));

  QTest::mouseDClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, cell);
  ASSERT_EQ(m_table.of(GV::EventColumnDoubleClicked).size(), 1u);
  EXPECT_EQ(m_table.of(GV::EventColumnDoubleClicked)[0].key, k("1"));

  QMouseEvent move(QEvent::MouseMove, m_table.cellRect(6, 3).center(), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QApplication::sendEvent(m_table.viewport(), &move);
  ASSERT_FALSE(m_table.of(GV::EventColumnMouse).empty());
  EXPECT_EQ(m_table.of(GV::EventColumnMouse).back().id, 3);
  EXPECT_EQ(m_table.of(GV::EventColumnMouse).back().key, k("r6"));

  // A press that ends in another cell is no click.
  m_table.m_events.clear();
  QTest::mousePress(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, cell);
  QTest::mouseRelease(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, m_table.cellRect(5, 1).center());
  EXPECT_TRUE(m_table.of(GV::EventCellClicked).empty());
}

TEST_F(TableInput, BranchFoldsByMouseAndKeyboard) {
  const QPoint branch = m_table.cellRect(0, 0).topLeft() + QPoint(9, 10);
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, branch);
  EXPECT_TRUE(m_table.isExpanded(k("r0")));
  EXPECT_TRUE(m_table.m_events.empty()) << "folding is no click on the cell";
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, branch);
  EXPECT_FALSE(m_table.isExpanded(k("r0")));

  m_table.setCurrentKey(k("r0"));
  const struct {
    int key;
    const char* current;
    bool expanded;
  } steps[] = {{Qt::Key_Right, "r0", true},   {Qt::Key_Right, "r0.c0", true}, {Qt::Key_Down, "r0.c1", true},
               {Qt::Key_Left, "r0", true},    {Qt::Key_Left, "r0", false},    {Qt::Key_Plus, "r0", true},
               {Qt::Key_Minus, "r0", false},  {Qt::Key_Down, "r1", false},    {Qt::Key_PageDown, "r21", false},
               {Qt::Key_PageUp, "r1", false}, {Qt::Key_End, "r59", false},    {Qt::Key_Down, "r59", false},
               {Qt::Key_Home, "r0", false},   {Qt::Key_Up, "r0", false}};
  ASSERT_EQ(m_table.pageRows(), 20);
  for (const auto& step : steps) {
    QTest::keyClick(&m_table, static_cast<Qt::Key>(step.key));
    EXPECT_EQ(m_table.currentKey(), k(step.current)) << step.key;
    EXPECT_EQ(m_table.isExpanded(k("r0")), step.expanded) << step.key;
  }
}

TEST_F(TableInput, ShiftAndControlSelect) {
  const auto click = [&](int row, Qt::KeyboardModifiers modifiers) {
    QTest::mouseClick(m_table.viewport(), Qt::LeftButton, modifiers, m_table.cellRect(row, 1).center());
  };
  click(2, Qt::NoModifier);
  click(4, Qt::ShiftModifier);
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{k("r2"), k("r3"), k("r4")}));
  click(3, Qt::ControlModifier);
  click(6, Qt::ControlModifier);
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{k("r2"), k("r4"), k("r6")}));
  // A right click on the selection keeps it for the menu; elsewhere it selects the row.
  QTest::mouseClick(m_table.viewport(), Qt::RightButton, Qt::NoModifier, m_table.cellRect(4, 1).center());
  EXPECT_EQ(m_table.selectedKeys().size(), 3);
  QTest::mouseClick(m_table.viewport(), Qt::RightButton, Qt::NoModifier, m_table.cellRect(9, 1).center());
  EXPECT_EQ(m_table.selectedKeys(), QStringList{k("r9")});
  QTest::keySequence(&m_table, QKeySequence::SelectAll);
  EXPECT_EQ(m_table.selectedKeys().size(), kRoots);
}

TEST_F(TableInput, ButtonsAreLaidOutAndPressed) {
  m_buttons.setItemButtons(k("r1"), kSet);
  EXPECT_TRUE(m_buttons.getIsItemButtonEnabled(k("r1"), 2));
  EXPECT_FALSE(m_buttons.getIsItemButtonVisible(k("r1"), 2)) << "a new set is hidden";
  EXPECT_FALSE(m_buttons.clickButton(k("r1"), 2));
  m_buttons.setItemButtonVisible(k("r1"), 2, true);
  EXPECT_TRUE(m_buttons.clickButton(k("r1"), 2));
  ASSERT_EQ(m_table.of(GV::EventRowButtonClicked).size(), 1u);

  // The only one that shows stands at the left, whatever its place in the set.
  const QPoint first = m_table.cellRect(1, 3).topLeft() + QPoint(12, 10);
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, first);
  ASSERT_EQ(m_table.of(GV::EventRowButtonClicked).size(), 2u);
  EXPECT_EQ(m_table.of(GV::EventRowButtonClicked)[1].id, 2);
  EXPECT_EQ(m_table.of(GV::EventRowButtonClicked)[1].key, k("r1"));
  m_buttons.setItemButtonVisible(k("r1"), 0, true);
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, first);
  EXPECT_EQ(m_table.of(GV::EventRowButtonClicked).back().id, 0);
  EXPECT_TRUE(m_table.of(GV::EventCellClicked).empty()) << "a press on a button is no click on the cell";

  m_table.m_events.clear();
  m_buttons.setItemButtonEnabled(k("r1"), 0, false);
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, first);
  m_buttons.setItemButtonEnabled(k("r1"), 0, true);
  m_table.setUiLock(true);
  QTest::mouseClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, first);
  m_table.setUiLock(false);
  m_buttons.setItemVisible(k("r1"), false);
  EXPECT_FALSE(m_buttons.clickButton(k("r1"), 0));
  EXPECT_TRUE(m_table.of(GV::EventRowButtonClicked).empty());

  m_buttons.setItemVisible(k("r1"), true);
  EXPECT_TRUE(m_buttons.getIsItemButtonVisible(k("r1"), 0)) << "the set's hiding kept the buttons' own";
  m_buttons.setItemButtonVisible(k("r1"), 77, true);
  m_buttons.setItemButtonVisible(k("nobody"), 0, true);
  EXPECT_EQ(m_buttons.itemButtons(k("r1")).size(), kSet.size());
}
