#include <QAccessible>

#include "TableFixture.h"

using Accessibility = TableTest;

TEST_F(Accessibility, RowsAndCellsCanBeRead) {
  QAccessibleInterface* table = QAccessible::queryAccessibleInterface(&m_table);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->role(), QAccessible::Tree);
  QAccessibleTableInterface* cells = table->tableInterface();
  ASSERT_NE(cells, nullptr);
  EXPECT_EQ(cells->rowCount(), kRoots);
  EXPECT_EQ(table->childCount(), kRoots * 4);
  EXPECT_EQ(cells->columnDescription(2), k("Figure"));
  EXPECT_EQ(cells->cellAt(5, 0)->text(QAccessible::Name), k("name r5"));
  EXPECT_EQ(cells->cellAt(5, 2)->text(QAccessible::Name), k("5.00"));
  EXPECT_EQ(cells->cellAt(kRoots, 0), nullptr);
  EXPECT_EQ(table->indexOfChild(table->child(23)), 23);

  QAccessibleInterface* cell = cells->cellAt(5, 2);
  EXPECT_EQ(table->childAt(cell->rect().center().x(), cell->rect().center().y()), cell);
  EXPECT_FALSE(cell->state().offscreen);
  EXPECT_TRUE(cells->cellAt(50, 2)->state().offscreen);

  // A cell that a reader holds goes with its row.
  m_table.expandItem(k("r1"), true);
  EXPECT_EQ(cell->tableCellInterface()->rowIndex(), 5 + kChildren);
  EXPECT_EQ(cell->text(QAccessible::Name), k("5.00"));
  m_table.hideItem(k("r5"), true);
  EXPECT_FALSE(cell->isValid());
  EXPECT_TRUE(cell->text(QAccessible::Name).isEmpty());
}

TEST_F(Accessibility, RowsFoldAndButtonsPress) {
  QAccessibleTableInterface* cells = QAccessible::queryAccessibleInterface(&m_table)->tableInterface();
  QAccessibleInterface* tree = cells->cellAt(2, 0);
  EXPECT_TRUE(tree->state().collapsed);
  tree->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(m_table.isExpanded(k("r2")));
  EXPECT_TRUE(tree->state().expanded);
  cells->cellAt(3, 1)->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
  EXPECT_EQ(m_table.currentKey(), k("r2.c0"));
  EXPECT_EQ(cells->selectedRows(), QList<int>{3});

  m_buttons.setItemButtons(k("r0"), {{0, k("stop"), 3}, {1, k("go"), 1}});
  EXPECT_EQ(cells->cellAt(0, 3)->childCount(), 0);
  m_buttons.setItemButtonVisible(k("r0"), 1, true);
  ASSERT_EQ(cells->cellAt(0, 3)->childCount(), 1);
  QAccessibleInterface* button = cells->cellAt(0, 3)->child(0);
  EXPECT_EQ(button->text(QAccessible::Name), k("go"));
  EXPECT_TRUE(cells->cellAt(0, 3)->rect().contains(button->rect()));
  button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  ASSERT_EQ(m_table.of(GV::EventRowButtonClicked).size(), 1u);
  EXPECT_EQ(m_table.of(GV::EventRowButtonClicked)[0].id, 1);
  m_table.setUiLock(true);
  EXPECT_TRUE(button->state().disabled);
  button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(m_table.of(GV::EventRowButtonClicked).size(), 1u);
}
