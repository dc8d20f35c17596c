// The table under mouse, keys and a screen reader.
#include <QAccessible>
#include <QTest>

#include "TableFixture.h"

class TableInput : public TableTest {
 protected:
  void click(const QPoint& point, Qt::KeyboardModifiers modifiers = {}, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mouseClick(m_table.viewport(), button, modifiers, point);
  }
  QPoint at(int row, int column) const { return m_table.cellRect(row, column).center(); }
};

TEST_F(TableInput, ClicksReachTheTable) {
  click(at(4, 1));
  EXPECT_EQ(m_table.take(GV::EventCellClicked), QStringList("1 r4"));
  EXPECT_EQ(m_table.currentKey(), "r4");
  QTest::mouseDClick(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, at(4, 1));
  EXPECT_EQ(m_table.take(GV::EventColumnDoubleClicked), QStringList("1 1"));
  QMouseEvent move(QEvent::MouseMove, at(6, 3), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QApplication::sendEvent(m_table.viewport(), &move);
  EXPECT_TRUE(m_table.take(GV::EventColumnMouse).endsWith("3 r6"));

  // A press that ends in another cell is no click.
  m_table.m_events.clear();
  QTest::mousePress(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, at(4, 1));
  QTest::mouseRelease(m_table.viewport(), Qt::LeftButton, Qt::NoModifier, at(5, 1));
  EXPECT_EQ(m_table.take(GV::EventCellClicked), QStringList());
}

TEST_F(TableInput, BranchFoldsByMouseAndKeyboard) {
  for (const bool expanded : {true, false}) {
    click(m_table.cellRect(0, 0).topLeft() + QPoint(9, 10));
    EXPECT_EQ(m_table.isExpanded("r0"), expanded);
    EXPECT_TRUE(m_table.m_events.empty()) << "folding is no click on the cell";
  }
  m_table.setCurrentKey("r0");
  const std::tuple<Qt::Key, const char*, bool> steps[] = {
      {Qt::Key_Right, "r0", true},   {Qt::Key_Right, "r0.c0", true}, {Qt::Key_Down, "r0.c1", true},
      {Qt::Key_Left, "r0", true},    {Qt::Key_Left, "r0", false},    {Qt::Key_Plus, "r0", true},
      {Qt::Key_Minus, "r0", false},  {Qt::Key_Down, "r1", false},    {Qt::Key_PageDown, "r21", false},
      {Qt::Key_PageUp, "r1", false}, {Qt::Key_End, "r59", false},    {Qt::Key_Down, "r59", false},
      {Qt::Key_Home, "r0", false},   {Qt::Key_Up, "r0", false}};
  ASSERT_EQ(m_table.pageRows(), 20);
  for (const auto& [key, current, expanded] : steps) {
    QTest::keyClick(&m_table, key);
    EXPECT_EQ(m_table.currentKey(), current) << key;
    EXPECT_EQ(m_table.isExpanded("r0"), expanded) << key;
  }
}

TEST_F(TableInput, ShiftAndControlSelect) {
  click(at(2, 1));
  click(at(4, 1), Qt::ShiftModifier);
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{"r2", "r3", "r4"}));
  click(at(3, 1), Qt::ControlModifier);
  click(at(6, 1), Qt::ControlModifier);
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{"r2", "r4", "r6"}));
  // A right click on the selection keeps it for the menu; elsewhere it selects the row.
  click(at(4, 1), {}, Qt::RightButton);
  EXPECT_EQ(m_table.selectedKeys().size(), 3);
  click(at(9, 1), {}, Qt::RightButton);
  EXPECT_EQ(m_table.selectedKeys(), QStringList("r9"));
  QTest::keySequence(&m_table, QKeySequence::SelectAll);
  EXPECT_EQ(m_table.selectedKeys().size(), kRoots);
}

TEST_F(TableInput, ButtonsAreLaidOutAndPressed) {
  const auto pressed = [this] { return m_table.take(GV::EventRowButtonClicked).join(','); };
  m_buttons.setItemButtons("r1", {{0, "stop", 3}, {1, "pause", 2}, {2, "go", 1}});
  EXPECT_TRUE(m_buttons.getIsItemButtonEnabled("r1", 2));
  EXPECT_FALSE(m_buttons.getIsItemButtonVisible("r1", 2)) << "a new set is hidden";
  EXPECT_FALSE(m_buttons.clickButton("r1", 2));
  m_buttons.setItemButtonVisible("r1", 2, true);
  EXPECT_TRUE(m_buttons.clickButton("r1", 2));
  EXPECT_EQ(pressed(), "2 r1");

  // The only one that shows stands at the left, whatever its place in the set.
  const QPoint first = m_table.cellRect(1, 3).topLeft() + QPoint(12, 10);
  click(first);
  EXPECT_EQ(pressed(), "2 r1");
  m_buttons.setItemButtonVisible("r1", 0, true);
  click(first);
  EXPECT_EQ(pressed(), "0 r1");
  EXPECT_EQ(m_table.take(GV::EventCellClicked), QStringList()) << "a press on a button is no click on the cell";

  m_buttons.setItemButtonEnabled("r1", 0, false);
  click(first);
  m_buttons.setItemButtonEnabled("r1", 0, true);
  m_table.setUiLock(true);
  click(first);
  m_table.setUiLock(false);
  m_buttons.setItemVisible("r1", false);
  EXPECT_FALSE(m_buttons.clickButton("r1", 0));
  EXPECT_EQ(pressed(), "");

  m_buttons.setItemVisible("r1", true);
  EXPECT_TRUE(m_buttons.getIsItemButtonVisible("r1", 0)) << "the set's hiding kept the buttons' own";
  m_buttons.setItemButtonVisible("r1", 77, true);
  m_buttons.setItemButtonVisible("nobody", 0, true);
  EXPECT_EQ(m_buttons.itemButtons("r1").size(), 3u);
}

TEST_F(TableInput, KeysGoFromCellToCellAndEnterDoesWhatTheMouseDoesThere) {
  QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(&m_table);
  m_buttons.setItemButtons("r1", {{0, "stop", 3}, {1, "pause", 2}, {2, "go", 1}});
  for (const int id : {0, 2}) m_buttons.setItemButtonVisible("r1", id, true);
  m_table.setColumnVisible(1, false);
  m_table.setCurrentKey("r1");
  m_table.activateWindow();
  m_table.setFocus();
  const auto focused = [reader] {
    const QAccessibleInterface* cell = reader->focusChild();
    return cell == nullptr ? QString() : cell->text(QAccessible::Name);
  };
  const auto enter = [&table = m_table] {
    QTest::keyClick(&table, Qt::Key_Return);
    return table.take(GV::EventRowButtonClicked).join(',');
  };
  EXPECT_EQ(enter(), "");
  EXPECT_TRUE(m_table.isExpanded("r1"));
  // Right to the last button and back: the row itself, its cells that show, its buttons that show.
  using Stop = std::tuple<Qt::Key, int, const char*, const char*>;
  for (const auto& [key, column, name, pressed] :
       {Stop{Qt::Key_Right, 0, "name r1", ""}, Stop{Qt::Key_Right, 2, "1.00", ""},
        Stop{Qt::Key_Right, 3, "stop", "0 r1"}, Stop{Qt::Key_Right, 3, "go", "2 r1"},
        Stop{Qt::Key_Right, 3, "go", "2 r1"}, Stop{Qt::Key_Left, 3, "stop", "0 r1"}, Stop{Qt::Key_Left, 2, "1.00", ""},
        Stop{Qt::Key_Left, 0, "name r1", ""}, Stop{Qt::Key_Left, -1, "name r1", ""},
        Stop{Qt::Key_Left, -1, "name r1", ""}}) {
    const bool expanded = m_table.isExpanded("r1");
    QTest::keyClick(&m_table, key, Qt::ControlModifier);
    EXPECT_EQ(m_table.currentColumn(), column);
    EXPECT_EQ(focused(), name);
    EXPECT_EQ(enter(), pressed);
    EXPECT_EQ(m_table.isExpanded("r1") == expanded, column == 3) << "Enter folds wherever there is nothing else to do";
  }

  for (int i = 0; i < 3; ++i) QTest::keyClick(&m_table, Qt::Key_Right, Qt::ControlModifier);
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
  QApplication::sendEvent(&m_table, &held);
  m_table.setUiLock(true);
  EXPECT_EQ(enter(), "") << "locked, and before a key that was held down";
  m_table.setUiLock(false);
  m_buttons.setItemButtonVisible("r1", 0, false);
  EXPECT_EQ(enter(), "") << "another button than the one that was meant";
  m_buttons.setItemButtonVisible("r1", 0, true);
  m_table.verticalScrollBar()->setValue(30);
  EXPECT_EQ(enter(), "") << "out of sight: shown first";
  EXPECT_EQ(enter(), "0 r1");

  // A click makes its cell the current one, but no button.
  click(at(1, 3));
  EXPECT_EQ(m_table.currentColumn(), 3);
  EXPECT_EQ(enter(), "");
  m_table.resize(200, 200);
  QTest::keyClick(&m_table, Qt::Key_Left, Qt::ControlModifier);
  EXPECT_TRUE(m_table.viewport()->rect().contains(m_table.cellRect(1, 2))) << "scrolled to";
}

TEST_F(TableInput, AScreenReaderReadsRowsAndCells) {
  QAccessibleInterface* table = QAccessible::queryAccessibleInterface(&m_table);
  EXPECT_EQ(table->role(), QAccessible::Tree);
  QAccessibleTableInterface* cells = table->tableInterface();
  EXPECT_EQ(cells->rowCount(), kRoots);
  EXPECT_EQ(table->childCount(), kRoots * 4);
  EXPECT_EQ(cells->columnDescription(2), "Figure");
  EXPECT_EQ(cells->cellAt(5, 0)->text(QAccessible::Name), "name r5");
  EXPECT_EQ(cells->cellAt(kRoots, 0), nullptr);
  EXPECT_EQ(table->indexOfChild(table->child(23)), 23);

  QAccessibleInterface* cell = cells->cellAt(5, 2);
  EXPECT_EQ(table->childAt(cell->rect().center().x(), cell->rect().center().y()), cell);
  EXPECT_FALSE(cell->state().offscreen);
  EXPECT_TRUE(cells->cellAt(50, 2)->state().offscreen);

  // A cell that a reader holds goes with its row.
  m_table.expandItem("r1", true);
  EXPECT_EQ(cell->tableCellInterface()->rowIndex(), 5 + kChildren);
  EXPECT_EQ(cell->text(QAccessible::Name), "5.00");
  m_table.hideItem("r5", true);
  EXPECT_FALSE(cell->isValid());
  EXPECT_EQ(cell->text(QAccessible::Name), "");
}

TEST_F(TableInput, AScreenReaderFoldsRowsAndPressesButtons) {
  QAccessibleTableInterface* cells = QAccessible::queryAccessibleInterface(&m_table)->tableInterface();
  QAccessibleInterface* tree = cells->cellAt(2, 0);
  EXPECT_TRUE(tree->state().collapsed);
  tree->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(m_table.isExpanded("r2"));
  EXPECT_TRUE(tree->state().expanded);
  cells->cellAt(3, 1)->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
  EXPECT_EQ(m_table.currentKey(), "r2.c0");
  EXPECT_EQ(cells->selectedRows(), QList<int>{3});

  m_buttons.setItemButtons("r0", {{0, "stop", 3}, {1, "go", 1}});
  EXPECT_EQ(cells->cellAt(0, 3)->childCount(), 0);
  m_buttons.setItemButtonVisible("r0", 1, true);
  ASSERT_EQ(cells->cellAt(0, 3)->childCount(), 1);
  QAccessibleInterface* button = cells->cellAt(0, 3)->child(0);
  EXPECT_EQ(button->text(QAccessible::Name), "go");
  EXPECT_TRUE(cells->cellAt(0, 3)->rect().contains(button->rect()));
  for (const bool locked : {false, true}) {
    m_table.setUiLock(locked);
    EXPECT_EQ(button->state().disabled, locked);
    button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(m_table.take(GV::EventRowButtonClicked), locked ? QStringList() : QStringList("1 r0"));
  }
}

TEST_F(TableInput, TheFirstColumnStaysWhenTheOthersAreScrolledBelowIt) {
  QHeaderView& header = *m_table.header();
  header.resizeSection(3, 600);
  const QImage plain = m_table.viewport()->grab().toImage();
  m_table.horizontalScrollBar()->setValue(150);
  EXPECT_EQ(m_table.frozenWidth(), 120);
  EXPECT_EQ(m_table.cellRect(0, 0).left(), 0);
  EXPECT_EQ(m_table.columnAtX(60), 0) << "not the figure that is scrolled there";
  EXPECT_EQ(m_table.columnAtX(121), 2);
  const QImage scrolled = m_table.viewport()->grab().toImage();
  const QRect frozen(0, 0, 119, m_table.viewport()->height());
  EXPECT_EQ(differingPixels(plain, scrolled, frozen), 0);
  EXPECT_GT(differingPixels(plain, scrolled, frozen.translated(120, 0)), 100);
  const int y = m_table.cellRect(2, 0).center().y();
  click(QPoint(60, y));
  click(QPoint(121, y));
  EXPECT_EQ(m_table.take(GV::EventCellClicked), QStringList({"0 r2", "2 r2"}));
  click(m_table.cellRect(0, 0).topLeft() + QPoint(9, 10));
  EXPECT_TRUE(m_table.isExpanded("r0"));

  QWidget* titles = header.viewport();
  QTest::mouseClick(titles, Qt::LeftButton, Qt::NoModifier, QPoint(60, 10));
  EXPECT_EQ(m_table.dataModel()->sortColumn(), 0);
  const auto drag = [titles](int from, int to) {
    const auto send = [titles](QEvent::Type type, int x, Qt::MouseButtons held) {
      QMouseEvent event(type, QPointF(x, 10), Qt::LeftButton, held, Qt::NoModifier);
      QApplication::sendEvent(titles, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    for (const int x : {(from + to) / 2, to}) send(QEvent::MouseMove, x, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, to, Qt::NoButton);
  };
  drag(118, 138);
  EXPECT_EQ(m_table.columnWidth(0), 140) << "taken at its edge";
  drag(140, 120);
  EXPECT_EQ(m_table.columnWidth(0), 120) << "and from outside";
  drag(300, 20);
  EXPECT_EQ(header.logicalIndex(0), 3) << "before the one that is seen there";
  EXPECT_EQ(m_table.frozenWidth(), 0) << "it would leave no room for the others";
  EXPECT_EQ(m_table.cellRect(0, 3).left(), -150);
}
