#include "RandomTree.h"
#include "gv/CStandardHpfTableModel.h"

/// Whatever is done in whatever order, alone or in batches small and large: the flat list is the plain tree printed,
/// and whoever listens to the notices alone arrives at the same.
TEST(TreeModel, RandomChangesMatchAPlainTree) {
  for (unsigned seed = 1; seed <= 80; ++seed) {
    RandomTree random(seed, seed % 4 > 1);
    const QAbstractItemModelTester tester(&random.m_model, FATAL);
    Follower follower(random.m_model);
    for (int round = 0; round < 60; ++round) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " round " << round);
      follower.m_told = -1;
      {
        const GV::CModelBatch batch(random.m_model);
        for (int steps = round % 10 == 9 ? 80 : test::below(random.m_random, 6); steps > 0; --steps) random.step();
      }
      follower.m_told.reset();
      random.step();
      const std::string expected = joined(random.lines());
      ASSERT_EQ(joined(linesOf(random.m_model, 0, random.m_model.rowCount() - 1)), expected);
      ASSERT_EQ(joined(follower.m_lines), expected) << "by the notices";
      ASSERT_EQ(random.m_model.statistic(2), random.sum());
      for (int row = 0; row < random.m_model.rowCount(); ++row) {
        ASSERT_EQ(random.m_model.positionOf(random.m_model.rowAt(row).key()), row);
      }
    }
  }
}

constexpr int MANY_ROWS = 9000;

/// A root of very many rows, k1... whose figures are these; they are in no order.
struct ManyRows : Block {
  explicit ManyRows(int factor = 7919) {
    for (int row = 0; row < MANY_ROWS; ++row) {
      m_list.push_back(boost::make_shared<TestRow>(QString("k%1").arg(row), row * factor % MANY_ROWS));
      m_parents.push_back(row == 0 ? -1 : 0);
    }
    take(m_list, m_parents);
  }
  void change(GV::CHpfTreeTableModel& model, double figure) {
    m_list[1]->m_dValue = figure;
    take(m_list, m_parents);
    model.blockChanged(*this);
  }

  std::vector<TestRowPtr> m_list;
  std::vector<int> m_parents;
};

bool shows(const GV::CHpfTreeTableModel& model, const GV::ITreeBlock& block, int row) {
  return model.positionOf(GV::STreeRow{block.number(), row}) >= 0;
}

bool waitFor(const std::function<bool()>& stands) {
  QElapsedTimer clock;
  for (clock.start(); !stands() && clock.elapsed() < 10000;) QApplication::processEvents();
  return stands();
}

/// A sort and a filter of very many rows are worked out elsewhere: until then what stood stands as a whole.
TEST(TreeModel, SortsAndFiltersVeryManyRowsALittleLater) {
  GV::CHpfTreeTableModel model(testColumns());
  const QAbstractItemModelTester tester(&model, FATAL);
  ManyRows block;
  model.addBlock(block, true);
  const auto figureAt = [&model](int position) { return model.rowAt(position).number(2); };
  model.sort(2, Qt::AscendingOrder);
  EXPECT_EQ(model.rowAt(2).key(), "k2") << "what stood";
  block.change(model, -5);  // while it is worked out
  ASSERT_TRUE(waitFor([&] { return figureAt(1) == -5 && figureAt(2) == 1; }));
  EXPECT_EQ(figureAt(MANY_ROWS - 1), MANY_ROWS - 1);
  model.setFilter({{2, "77"}});
  EXPECT_EQ(model.rowCount(), MANY_ROWS);
  block.change(model, 1177);
  ASSERT_TRUE(waitFor([&] { return model.rowCount() < MANY_ROWS && figureAt(1) == 77; }));
  ASSERT_TRUE(waitFor([&] { return model.positionOf(GV::STreeRow{block.number(), 1}) > 1; })) << "in its new place";
  model.setFilter({});
  EXPECT_EQ(model.rowCount(), MANY_ROWS) << "at once";
  model.sort(-1);
  EXPECT_EQ(model.rowAt(1).key(), "k1");
  model.removeBlock(block);
}

/// What was worked out elsewhere is for the rows that were looked at, as they were then.
TEST(TreeModel, TakesNothingForOtherRowsThanWereLookedAt) {
  GV::CHpfTreeTableModel model(testColumns());
  ManyRows gone;
  model.addBlock(gone, true);
  model.sort(2, Qt::AscendingOrder);
  model.clear();
  ManyRows block(4001);
  model.addBlock(block, true);
  double first = -1;
  QObject::connect(&model, &QAbstractItemModel::layoutChanged, [&] { first = model.rowAt(1).number(2); });
  ASSERT_TRUE(waitFor([&] { return first >= 0; }));
  EXPECT_EQ(first, 1) << "of the rows of now";

  Block few[2];
  const auto row = boost::make_shared<TestRow>("few");
  few[0].take({row}, {-1});
  few[1].take({boost::make_shared<TestRow>("other")}, {-1});
  for (Block& each : few) model.addBlock(each, true);
  model.setFilter({{2, "777"}});
  ASSERT_TRUE(waitFor([&] { return !shows(model, few[0], 0) && !shows(model, block, 1); }));
  {
    const GV::CModelBatch batch(model);
    block.change(model, 7777);
    model.blockChanged(few[0]);
  }
  row->m_dValue = 777;  // while both are looked at
  few[0].take({row}, {-1});
  model.blockChanged(few[0]);
  ASSERT_TRUE(waitFor([&] { return shows(model, block, 1); }));
  EXPECT_TRUE(waitFor([&] { return shows(model, few[0], 0); }));
  model.clear();
}

/// Sorted anew again and again: the order of what somebody has seen is known all the same.
TEST(TreeModel, TellsOfAMoveHoweverOftenItSorted) {
  GV::CHpfTreeTableModel model(testColumns());
  const QAbstractItemModelTester tester(&model, FATAL);
  Follower follower(model);
  model.sort(2, Qt::AscendingOrder);
  const auto moving = boost::make_shared<TestRow>("moving");
  ASSERT_TRUE(model.insertData(moving, QString()));
  for (int i = 1; i < 100; ++i) {
    {
      const GV::CModelBatch batch(model);
      model.announceByReset();
      ASSERT_TRUE(model.insertData(boost::make_shared<TestRow>(QString("k%1").arg(i), i), QString()));
    }
    moving->m_dValue = i % 2 * 1000;
    model.rowChanged(GV::CHpfTreeTableModel::treeRowOf(*moving));
    ASSERT_EQ(joined(follower.m_lines), joined(linesOf(model, 0, model.rowCount() - 1)));
  }
}

TEST(TreeModel, RefusesWhatItCannotPlace) {
  GV::CHpfTreeTableModel model(testColumns());
  const auto row = boost::make_shared<TestRow>("a");
  EXPECT_FALSE(model.insertData(nullptr, QString()));
  EXPECT_FALSE(model.insertData(row, "nobody"));
  EXPECT_TRUE(model.insertData(row, QString()));
  EXPECT_FALSE(model.insertData(row, QString()));
  EXPECT_FALSE(model.insertData(boost::make_shared<TestRow>("a"), QString()));
  EXPECT_FALSE(model.removeDataByKey("b"));
  EXPECT_EQ(model.rowCount(), 1);
  EXPECT_TRUE(model.removeDataByKey("a"));
  EXPECT_FALSE(row->isInTable());
}

TEST(StandardModel, SortsItsRowsAndSaysWhatChanged) {
  GV::CStandardHpfTableModel model(testColumns(), nullptr);
  const QAbstractItemModelTester tester(&model, FATAL);
  Follower follower(model);
  std::vector<TestRowPtr> rows;
  for (const char* key : {"a", "b", "c", "d"}) rows.push_back(boost::make_shared<TestRow>(key, 2));
  rows[1]->m_dValue = 1;
  rows[3]->m_dValue = 3;
  model.setRows({rows.begin(), rows.end()});
  EXPECT_EQ(joined(follower.m_lines), "a=2.00 b=1.00 c=2.00 d=3.00");
  model.sort(2, Qt::DescendingOrder);
  rows[1]->m_dValue = 9;
  model.rowChanged("b");
  model.rowChanged("nobody");
  EXPECT_EQ(joined(follower.m_lines), "d=3.00 a=2.00 c=2.00 b=9.00") << "equal figures keep the rows' own order";
  EXPECT_EQ(follower.m_nChanges, 1);
  model.setRows({rows.begin(), rows.end()});
  EXPECT_EQ(joined(follower.m_lines), "b=9.00 d=3.00 a=2.00 c=2.00") << "the sort stays";
  EXPECT_EQ(model.positionOf("d"), 1);
  EXPECT_EQ(model.statistic(2), 16);
}
