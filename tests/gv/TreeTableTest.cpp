#include "TableFixture.h"
#include "gv/CColumnChooser.h"
#include "gv/CStatisticsLine.h"

using TreeTable = TableTest;

TEST_F(TreeTable, ShowsHidesAndUnfolds) {
  m_table.hideItem("r1", true);
  m_table.showItemNoRecursive("r0", true);
  EXPECT_EQ(m_table.rowCount(), kRoots - 1 + kChildren);
  m_table.showItemNoRecursive("r0", false);
  EXPECT_TRUE(m_table.isExpanded("r0")) << "showing never folds";

  m_table.hideItem("r1.c1", true);
  m_table.showItemNoRecursive("r1", true);
  EXPECT_EQ(m_table.rowCount(), kRoots + 2 * kChildren - 1) << "what is below stays hidden";
  m_table.showItem("r1", true);
  EXPECT_EQ(m_table.rowCount(), kRoots + 2 * kChildren);
  EXPECT_EQ(m_table.itemText(1 + kChildren + 2, 0), "name r1.c1");

  m_table.removeDataByKey("r0");
  m_table.hideItem("nobody", true);
  EXPECT_EQ(m_table.rowCount(), kRoots - 1 + kChildren);
  EXPECT_EQ(m_table.itemText(-1, 0), QString());
  EXPECT_EQ(m_table.itemText(0, 99), QString());
}

TEST_F(TreeTable, UpdatesByKey) {
  row("r0").m_dValue = 7.5;
  EXPECT_TRUE(m_table.updateData(m_table.dataByKey("r0"), QString()));
  EXPECT_EQ(m_table.itemText(0, 2), "7.50");
  EXPECT_TRUE(m_table.updateData(boost::make_shared<TestRow>("r0", 8.0), QString())) << "another record of a row";
  EXPECT_EQ(m_table.itemText(0, 2), "8.00");
  EXPECT_EQ(m_table.dataByKey("r0.c0")->parent(), m_table.dataByKey("r0"));
  EXPECT_FALSE(m_table.updateData(boost::make_shared<TestRow>("x"), "nobody"));
}

TEST_F(TreeTable, FindsRowsByTheirPaths) {
  EXPECT_EQ(m_table.rowByPath("r1/c2")->key(), "r1.c2");
  EXPECT_FALSE(m_table.rowByPath("r1/c9"));
  EXPECT_FALSE(m_table.rowByPath(QString()));
  add("r1/c2.x/y", QString(), 0);
  add("r1/c2.x/y.z", "r1/c2.x/y", 0);
  EXPECT_EQ(m_table.rowByPath("x/y/z")->key(), "r1/c2.x/y.z");
}

TEST_F(TreeTable, SelectionAndCurrentRowSurvive) {
  m_table.setCurrentKey("r5");
  m_table.setSelectedKeys({"r5", "r7"});
  m_table.hideItem("r5", true);
  EXPECT_EQ(m_table.selectedKeys(), QStringList{"r7"}) << "a hidden row is not acted on";
  m_table.allRowsChanged();
  m_table.sortByColumn(2, Qt::DescendingOrder);
  m_table.hideItem("r5", false);
  EXPECT_EQ(m_table.currentKey(), "r5");
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{"r7", "r5"}));
  m_table.expandAll(true);
  m_table.expandAll(false);
  EXPECT_EQ(m_table.selectedKeys(), (QStringList{"r7", "r5"}));
}

TEST_F(TreeTable, PageStaysWhenRowsThatMovedPassIt) {
  m_table.sortByColumn(2, Qt::AscendingOrder);
  m_table.verticalScrollBar()->setValue(20);
  // From above the page to the end, and one of the page itself.
  for (const QString& key : {QString("r0"), QString("r1"), topKey()}) row(key).m_dValue = 1000;
  m_table.allRowsChanged();
  EXPECT_EQ(m_table.topRow(), 17);
  EXPECT_EQ(m_table.dataModel()->rowAt(18).key(), "r21") << "the second of the page, as before";
  m_table.sortByColumn(2, Qt::DescendingOrder);
  EXPECT_EQ(m_table.topRow(), 17) << "a sort keeps the place";
}

TEST_F(TreeTable, ScrollingNeverJumps) {
  m_table.verticalScrollBar()->setValue(30);
  ASSERT_EQ(topKey(), "r30");
  add("new", QString(), -1);
  EXPECT_EQ(topKey(), "r30");
  m_table.expandItem("r2", true);
  EXPECT_EQ(topKey(), "r30");
  m_table.removeDataByKey("r3");
  m_table.hideItem("r4", true);
  EXPECT_EQ(topKey(), "r30");
  m_table.expandAll(true);  // by a reset
  EXPECT_EQ(topKey(), "r30");
  {
    const GV::CModelBatch batch(*m_table.dataModel());
    for (int i = 20; i <= 30; ++i) {
      for (const char* key : {"r%1.c0", "r%1.c1", "r%1.c2", "r%1"}) m_table.hideItem(QString(key).arg(i), true);
    }
  }
  EXPECT_EQ(m_table.dataModel()->rowAt(m_table.topRow() + 4).key(), "r31") << "the first row left keeps its place";

  m_table.verticalScrollBar()->setValue(m_table.dataModel()->positionOf("r50.c1"));
  m_table.expandAll(false);
  EXPECT_EQ(topKey(), "r40") << "as far down as it goes";
  m_table.clear();
  EXPECT_EQ(m_table.rowCount() + m_table.topRow(), 0);
}

TEST_F(TreeTable, ConfigurationStringRoundTrips) {
  m_table.header()->moveSection(m_table.header()->visualIndex(2), 0);
  m_table.header()->resizeSection(1, 133);
  m_table.setColumnVisible(3, false);
  m_table.sortByColumn(2, Qt::DescendingOrder);
  int resized = 0;
  QObject::connect(m_table.header(), &QHeaderView::sectionResized, [&resized] { ++resized; });
  const QString saved = m_table.saveConfigStr();
  EXPECT_EQ(resized, 0) << "who saves on every change of a column would save for ever";
  EXPECT_FALSE(saved.contains('/') || saved.contains('*'));

  RecordingTable other;
  other.setDataModel(new GV::CHpfTreeTableModel(testColumns()));
  ASSERT_TRUE(other.restoreConfigStr(saved));
  EXPECT_EQ(other.saveConfigStr(), saved);
  EXPECT_EQ(other.header()->logicalIndex(0), 2);
  EXPECT_EQ(other.columnWidth(1), 133);
  EXPECT_FALSE(other.isColumnVisible(3));
  EXPECT_EQ(other.dataModel()->sortColumn(), 2);
  EXPECT_EQ(other.dataModel()->sortOrder(), Qt::DescendingOrder);
  other.setColumnVisible(3, true);
  EXPECT_EQ(other.columnWidth(3), 160) << "a hidden column keeps its width";

  const QString before = other.saveConfigStr();
  for (const char* bad : {"", "1", "2|0:1:0|-1:0", "1|0:10:0,0:10:0|-1:0", "1|9:10:0|-1:0", "1|0:x:0|-1:0",
                          "1|0:10:0|7:0", "1|0:10:2|-1:0", "1|0:10:0|-1"}) {
    EXPECT_FALSE(other.restoreConfigStr(bad)) << bad;
    EXPECT_EQ(other.saveConfigStr(), before) << bad;
  }
  EXPECT_TRUE(other.restoreConfigStr("1|1:50:0|-1:0")) << "columns that it does not know keep what they have";
  EXPECT_EQ(other.header()->logicalIndex(0), 1);
}

TEST_F(TreeTable, PaintsTextsSelectionAndFlash) {
  const QImage plain = m_table.viewport()->grab().toImage();
  const QRect name = m_table.cellRect(2, 0);
  const QRect figure = m_table.cellRect(2, 2);
  EXPECT_GT(differingPixels(plain, plain.mirrored(true, false), name), 20) << "something is painted";

  row("r2").m_dChange = 1.0;
  const QImage flashed = m_table.viewport()->grab().toImage();
  EXPECT_GT(differingPixels(plain, flashed, figure), figure.width() * 10);
  EXPECT_EQ(differingPixels(plain, flashed, name), 0);
  EXPECT_EQ(row("r2").m_dChange, 0.0);
  m_table.setOptions(m_table.options() & ~GV::CBaseHighPerformanceTable::OptionFlash);
  row("r3").m_dChange = -1.0;
  m_table.setCurrentKey("r2");
  const QImage still = m_table.viewport()->grab().toImage();
  EXPECT_EQ(differingPixels(plain, still, m_table.cellRect(3, 2)), 0) << "switched off";
  EXPECT_GT(differingPixels(plain, still, name), name.width() * 10);
}

TEST_F(TreeTable, HeaderSortsThreeWaysAndItsMenuHidesColumns) {
  m_table.header()->sectionClicked(2);
  EXPECT_EQ(m_table.dataModel()->sortOrder(), Qt::AscendingOrder);
  m_table.header()->sectionClicked(2);
  EXPECT_EQ(m_table.dataModel()->rowAt(0).key(), QString("r%1").arg(kRoots - 1));
  m_table.header()->sectionClicked(2);
  EXPECT_EQ(m_table.dataModel()->sortColumn(), -1);

  const QList<QAction*> actions = m_table.headerMenu(1)->actions();
  EXPECT_FALSE(actions[0]->isEnabled()) << "the tree column stays";
  actions[1]->trigger();
  EXPECT_FALSE(m_table.isColumnVisible(1));
  m_table.header()->moveSection(3, 0);
  actions.last()->trigger();
  EXPECT_TRUE(m_table.isColumnVisible(1));
  EXPECT_EQ(m_table.header()->logicalIndex(0), 0);
}

TEST_F(TreeTable, FiltersByTheTextsOfColumns) {
  m_table.setColumnFilter(0, "R7.C");
  EXPECT_EQ(m_table.rowCount(), 1) << "the row above those that match";
  m_table.expandAll(true);
  EXPECT_EQ(m_table.rowCount(), 1 + kChildren);
  m_table.setColumnFilter(2, "2.00");
  EXPECT_EQ(m_table.itemText(1, 0), "name r7.c2");
  row("r7.c0").m_dValue = 2.0;
  EXPECT_TRUE(m_table.updateData(m_table.dataByKey("r7.c0"), "r7"));
  EXPECT_EQ(m_table.rowCount(), 3) << "a row that changed is looked at again";
  m_table.hideItem("r7.c0", true);
  m_table.clearColumnFilters();
  EXPECT_EQ(m_table.rowCount(), kRoots * (1 + kChildren) - 1) << "hiding stays";

  m_table.setColumnFilterable(1, true);
  EXPECT_TRUE(m_table.headerMenu(1)->actions().first()->text().contains("Text"));
  EXPECT_FALSE(m_table.headerMenu(2)->actions().first()->text().contains("Figure"));
}

TEST_F(TreeTable, MarksTheHeadersOfFilteredColumns) {
  m_table.header()->resizeSection(1, 26);
  const auto grab = [this] {
    QApplication::processEvents();
    return m_table.header()->grab().toImage();
  };
  const QImage plain = grab();
  const auto marks = [&](int column) {
    const int left = m_table.header()->sectionViewportPosition(column);
    return differingPixels(plain, grab(), QRect(left, 0, m_table.columnWidth(column), 18));
  };
  m_table.setColumnFilter(1, "<b>t</b>");
  EXPECT_GT(marks(1), 15) << "also in a narrow column";
  EXPECT_EQ(marks(2), 0);
  const auto tip = [this](int column) {
    return m_table.header()->model()->headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString();
  };
  EXPECT_TRUE(tip(1).contains("“&lt;b&gt;t")) << "as it stands, whatever it looks like";
  m_table.setColumnFilter(2, "1");
  m_table.setColumnFilter(1, QString());
  EXPECT_EQ(marks(1), 0);
  EXPECT_GT(marks(2), 15);
  m_table.clearColumnFilters();
  EXPECT_EQ(grab(), plain);
  EXPECT_EQ(tip(2), QString());
}

TEST_F(TreeTable, AdjustsColumnsToWhatShows) {
  const int before = m_table.getAdjustVisibleRowsColumnWidth(2);
  row("r1").m_dValue = 123456789012.0;
  EXPECT_GT(m_table.getAdjustVisibleRowsColumnWidth(2), before);
  EXPECT_GE(m_table.getColumnAdjustedWidth(2), m_table.getAdjustVisibleRowsColumnWidth(2));
  row("r1").m_dValue = 1.0;
  row("r55").m_dValue = 123456789012.0;
  EXPECT_EQ(m_table.getAdjustVisibleRowsColumnWidth(2), before) << "a row off screen does not count";
}

TEST_F(TreeTable, PaintsASumWholeInANarrowColumn) {
  row("r1").m_dValue = 123456789012.0;
  m_table.setColumnStatEnable(2, true);
  const auto paint = [&](int before, int width) {
    m_table.header()->resizeSection(1, before);
    m_table.header()->resizeSection(2, width);
    return m_table.findChild<GV::CStatisticsLine*>()->grab().toImage();
  };
  EXPECT_EQ(paint(270, 30), paint(100, 200)) << "both columns end at the same place";
}

TEST_F(TreeTable, TheChooserShowsHidesAndMovesColumnsOnceAccepted) {
  const auto choose = [this](const GV::DialogHook& work) {
    GV::CCommonDialog::setExecHook(work);
    const bool accepted = GV::CColumnChooser::choose(m_table, nullptr);
    GV::CCommonDialog::setExecHook({});
    return accepted;
  };
  const auto shownAfter = [&](const char* end) {
    EXPECT_EQ(choose([end](GV::CCommonDialog& dialog) {
                EXPECT_EQ(dialog.check("Text", false), QString());
                // The first row is the current one.
                for (const char* button : {"下移", "下移", end}) EXPECT_EQ(dialog.press(button), QString());
              }),
              end == std::string("确定"));
    QStringList titles;
    for (int visual = 0; visual < m_table.header()->count(); ++visual) {
      const int column = m_table.header()->logicalIndex(visual);
      if (m_table.isColumnVisible(column)) titles.append(m_table.columnHeader(column).trimmed());
    }
    return titles.join(' ');
  };
  EXPECT_EQ(shownAfter("取消"), "Tree Text Figure Buttons");
  EXPECT_EQ(shownAfter("确定"), "Figure Tree Buttons");
  const QString config = m_table.saveConfigStr();

  EXPECT_TRUE(choose([](GV::CCommonDialog& dialog) {
    ASSERT_EQ(dialog.state().rows.size(), 4u);
    EXPECT_EQ(dialog.state().rows[0].key, "Text") << "in the order of the table";
    EXPECT_FALSE(dialog.state().rows[0].checked);
    EXPECT_EQ(dialog.press("上移"), QString()) << "the first stays the first";
    EXPECT_NE(dialog.check("Tree", false), QString()) << "the tree column stays";
    EXPECT_EQ(dialog.press("确定"), QString());
  }));
  EXPECT_EQ(m_table.saveConfigStr(), config);
}
