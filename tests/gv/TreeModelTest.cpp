#include <optional>

#include "Random.h"
#include "TableFixture.h"
#include "gv/CStandardHpfTableModel.h"

namespace {

constexpr auto FATAL = QAbstractItemModelTester::FailureReportingMode::Fatal;

/// What a model shows: key and figure of each row.
QStringList linesOf(const GV::IBaseHpfTableModel& model, int first, int last) {
  QStringList lines;
  for (int row = first; row <= last; ++row) {
    lines.append(model.index(row, 0).data(GV::IBaseHpfTableModel::KeyRole).toString() + '=' +
                 model.index(row, 2).data().toString());
  }
  return lines;
}

std::string joined(const QStringList& lines) { return lines.join(' ').toStdString(); }

/// Knows the rows only by the model's notices.
class Follower {
 public:
  explicit Follower(const GV::IBaseHpfTableModel& model) {
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, [&](const QModelIndex&, int first, int last) {
      m_lines = m_lines.mid(0, first) + linesOf(model, first, last) + m_lines.mid(first);
    });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, [this](const QModelIndex&, int first, int last) {
      m_lines.erase(m_lines.begin() + first, m_lines.begin() + last + 1);
    });
    QObject::connect(&model, &QAbstractItemModel::dataChanged, [&](const QModelIndex& first, const QModelIndex& last) {
      const QStringList changed = linesOf(model, first.row(), last.row());
      std::copy(changed.begin(), changed.end(), m_lines.begin() + first.row());
      EXPECT_TRUE(!m_told || first.row() > *m_told) << "what lies together is told at once, beside a reset nothing";
      if (m_told) m_told = last.row() + 1;
      ++m_nChanges;
    });
    const auto readAll = [&] { m_lines = linesOf(model, 0, model.rowCount() - 1); };
    QObject::connect(&model, &QAbstractItemModel::layoutChanged, readAll);
    QObject::connect(&model, &QAbstractItemModel::modelReset, [this, readAll, &model] {
      readAll();
      if (m_told) m_told = model.rowCount();
    });
  }

  QStringList m_lines;
  std::optional<int> m_told;  ///< in a batch, the row behind the last that was told of as changed
  int m_nChanges = 0;
};

/// The plain way to keep a tree: everything is worked out anew whenever it is asked for.
struct Node {
  TestRowPtr row;  ///< null at the top
  Node* parent = nullptr;
  bool expanded = false;
  bool hidden = false;
  std::vector<std::unique_ptr<Node>> children = {};  ///< in their own order

  QString key() const { return row ? row->m_strKey : QString(); }
};

bool accepts(const GV::CHpfTreeTableData& row) { return row.text(2).contains('3'); }

bool acceptedAbove(const Node& node) { return node.row && (accepts(*node.row) || acceptedAbove(*node.parent)); }

bool acceptedBelow(const Node& node) {
  return std::any_of(node.children.begin(), node.children.end(),
                     [](const auto& child) { return accepts(*child->row) || acceptedBelow(*child); });
}

/// What rows hold, copied out of them.
struct State : GV::ITreeState {
  struct Row {
    int parent;
    int order;
    double value;
    QString name;
    QString text;
  };

  int rowCount() const override { return static_cast<int>(rows.size()); }
  const Row& at(int row) const { return rows[static_cast<std::size_t>(row)]; }
  int parentOf(int row) const override { return at(row).parent; }
  int sortOrder(int row) const override { return at(row).order; }
  QString name(int row) const override { return at(row).name; }
  QString text(int row, int column) const override {
    return column == 2 ? QString::number(at(row).value, 'f', 2) : sortText(row, column);
  }
  double sortNumber(int row, int column) const override { return column == 2 ? at(row).value : 0.0; }
  QString sortText(int row, int column) const override { return column == 1 ? at(row).text : QString(); }

  std::vector<Row> rows;
};

/// A root with all below it.
class Block : public GV::ITreeBlock {
 public:
  /// Takes the rows as they are now; gives where each of them was before, -1 for a new one.
  std::vector<int> take(const std::vector<TestRowPtr>& rows, const std::vector<int>& parents) {
    std::vector<int> before;
    before.reserve(rows.size());
    for (const TestRowPtr& row : rows) before.push_back(find(row->m_strKey));
    for (const TestRowPtr& row : m_rows) row->bind(nullptr, -1);
    m_rows = rows;
    m_state.rows.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      rows[i]->bind(this, static_cast<int>(i));
      m_state.rows.push_back(
          {parents[i], rows[i]->m_nOrder, rows[i]->m_dValue, rows[i]->displayName(), rows[i]->text(1)});
    }
    return before;
  }

  const GV::ITreeState& state() const override { return m_state; }
  std::shared_ptr<const GV::ITreeState> freeze() const override { return std::make_shared<State>(m_state); }
  QString key(int row) const override { return m_rows[static_cast<std::size_t>(row)]->m_strKey; }
  int find(const QString& key) const override {
    const auto isIt = [&key](const TestRowPtr& row) { return row->m_strKey == key; };
    const auto found = std::find_if(m_rows.begin(), m_rows.end(), isIt);
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
  }
  QString scriptName(int row) const override { return key(row); }
  GV::CHpfTreeTableDataPtr record(int row) override { return m_rows[static_cast<std::size_t>(row)]; }
  void visitCounted(int column, const CountedVisitor& visit) const override {
    for (int row = 0; row < m_state.rowCount(); ++row) {
      const TestRow& each = *m_rows[static_cast<std::size_t>(row)];
      if (each.m_bCounted) visit(row, each.number(column));
    }
  }

 private:
  std::vector<TestRowPtr> m_rows;
  State m_state;
};

class BlockModel : public GV::CHpfTreeTableModel {
 public:
  BlockModel() : GV::CHpfTreeTableModel(testColumns()) {}

  std::map<const Node*, std::unique_ptr<Block>> m_blocks;  ///< by root

 protected:
  int blockOfKey(const QString& key) const override {
    for (const auto& [root, block] : m_blocks) {
      if (block->find(key) >= 0) return block->number();
    }
    return -1;
  }
};

/// Does the same random things to a model and to a plain tree.
class RandomTree {
 public:
  /// blocks: the rows of a root come as a block, else one by one. Every other seed counts roots alone.
  explicit RandomTree(unsigned seed, bool blocks) : m_random(seed), m_bCountRoots(seed % 2 == 0), m_bBlocks(blocks) {}

  void step() {
    using Action = void (RandomTree::*)();
    static constexpr Action ACTIONS[] = {&RandomTree::insert, &RandomTree::insert, &RandomTree::insert,
                                         &RandomTree::remove, &RandomTree::hide,   &RandomTree::expand,
                                         &RandomTree::expand, &RandomTree::change, &RandomTree::change,
                                         &RandomTree::sort,   &RandomTree::filter};
    (this->*test::pick(m_random, ACTIONS))();
  }

  /// The rows that show, in the order of the table.
  QStringList lines() const {
    QStringList lines;
    walk(m_top, true, [&lines](const TestRow& row) { lines.append(row.m_strKey + '=' + row.text(2)); });
    return lines;
  }
  /// Of the counted rows that neither are hidden nor have one above them that is, added up in their own order.
  double sum() const {
    double total = 0.0;
    walk(m_top, false, [&total](const TestRow& row) { total += row.m_bCounted ? row.m_dValue : 0.0; });
    return total;
  }

  test::Random m_random;
  BlockModel m_model;

 private:
  /// Brings the block of a node's root in line with the plain tree; shape: with other rows than before.
  void bring(const Node& node, bool shape) {
    const Node* root = &node;
    while (root->parent != &m_top) root = root->parent;
    std::vector<TestRowPtr> rows;
    std::vector<int> parents;
    gather(*root, -1, rows, parents);
    std::unique_ptr<Block>& block = m_model.m_blocks[root];
    if (block && !shape) {
      block->take(rows, parents);
      m_model.blockChanged(*block);
    } else if (block) {
      const GV::CModelBatch batch(m_model);
      m_model.announceByReset();
      m_model.reshapeBlock(*block, block->take(rows, parents));
    } else {
      block = std::make_unique<Block>();
      block->take(rows, parents);
      m_model.addBlock(*block, false);
    }
  }
  void gather(const Node& node, int parent, std::vector<TestRowPtr>& rows, std::vector<int>& parents) const {
    const auto row = static_cast<int>(rows.size());
    rows.push_back(node.row);
    parents.push_back(parent);
    for (const auto& child : node.children) gather(*child, row, rows, parents);
  }

  void walk(const Node& node, bool shown, const std::function<void(const TestRow&)>& visit) const {
    if (node.row) visit(*node.row);
    if (shown && !node.expanded) return;
    std::vector<const Node*> children;
    for (const auto& child : node.children) children.push_back(child.get());
    std::stable_sort(children.begin(), children.end(), [this, shown](const Node* a, const Node* b) {
      const int difference = shown ? compare(*a->row, *b->row) : 0;
      return difference != 0 ? difference < 0 : a->row->sortOrder() < b->row->sortOrder();
    });
    for (const Node* child : children) {
      if (child->hidden || (m_bFilter && !acceptedAbove(*child) && !acceptedBelow(*child))) continue;
      walk(*child, shown, visit);
    }
  }
  int compare(const TestRow& a, const TestRow& b) const {
    int difference = 0;
    if (m_nSortColumn == 2) difference = a.m_dValue < b.m_dValue ? -1 : a.m_dValue > b.m_dValue ? 1 : 0;
    if (m_nSortColumn == 1) difference = a.text(1).compare(b.text(1));
    // The tree column: roots by their order, the rest by what it shows.
    if (m_nSortColumn == 0 && a.parent() == nullptr) difference = a.m_nOrder - b.m_nOrder;
    if (m_nSortColumn == 0 && a.parent() != nullptr) difference = a.displayName().compare(b.displayName());
    return m_bDescending ? -difference : difference;
  }

  Node* any() { return m_nodes.empty() ? nullptr : test::pick(m_random, m_nodes); }
  Node& anyParent() {
    Node* node = test::chance(m_random, 33) ? nullptr : any();
    return node == nullptr ? m_top : *node;
  }
  /// Some do not add up exactly, so that their sum tells in which order it was formed.
  double anyFigure() {
    static constexpr double FIGURES[] = {0, 1, 3, 1e16, -1e16};
    return test::pick(m_random, FIGURES);
  }

  void insert() {
    Node& parent = anyParent();
    const auto row = boost::make_shared<TestRow>(QString("k%1").arg(++m_nKeys), anyFigure(), test::below(m_random, 3));
    row->m_bCounted = m_bCountRoots ? &parent == &m_top : test::chance(m_random, 50);
    ASSERT_TRUE(m_bBlocks || m_model.insertData(row, parent.key()));
    parent.children.push_back(std::make_unique<Node>(Node{row, &parent}));
    m_nodes.push_back(parent.children.back().get());
    if (m_bBlocks) bring(*m_nodes.back(), true);
  }

  void forget(const Node& node) {
    m_nodes.erase(std::find(m_nodes.begin(), m_nodes.end(), &node));
    for (const auto& child : node.children) forget(*child);
  }

  void remove() {
    Node* node = test::chance(m_random, 33) ? any() : nullptr;
    if (node == nullptr) return;
    ASSERT_TRUE(m_bBlocks || m_model.removeDataByKey(node->key()));
    forget(*node);
    Node& parent = *node->parent;
    if (m_bBlocks && &parent == &m_top) {
      m_model.removeBlock(*m_model.m_blocks.at(node));
      m_model.m_blocks.erase(node);
    }
    std::erase_if(parent.children, [node](const auto& child) { return child.get() == node; });
    if (m_bBlocks && &parent != &m_top) bring(parent, true);
  }

  /// One, or many at once.
  void hide() {
    if (m_nodes.empty()) return;
    const bool on = test::chance(m_random, 50);
    const GV::STreeRow first = m_model.find(any()->key());
    GV::RowFlags hidden = m_model.tree().flags(first.block, GV::CTreeBlocks::Hidden);
    const bool many = test::chance(m_random, 50);
    for (int i = many ? 1 + test::below(m_random, 40) : 1; i > 0; --i) {
      Node& node = *any();
      const GV::STreeRow row = m_model.find(node.key());
      if (many && row.block != first.block) continue;
      node.hidden = on;
      many ? void(hidden.set(static_cast<std::size_t>(row.row), on)) : m_model.setHidden(row, on);
    }
    if (many) m_model.setHidden(m_model.tree().source(first.block), hidden);
  }

  void expand() {
    const bool on = test::chance(m_random, 67);
    const bool all = test::chance(m_random, 12);
    for (Node* node : all ? m_nodes : std::vector<Node*>{any()}) {
      if (node == nullptr || (all && node->children.empty())) continue;
      node->expanded = on;
      if (!all) m_model.setExpanded(m_model.find(node->key()), on);
    }
    if (all) m_model.setAllExpanded(on);
  }

  void changeBelow(Node& node) {
    node.row->m_dValue = anyFigure();
    for (const auto& child : node.children) changeBelow(*child);
  }

  void change() {
    Node* node = any();
    if (node == nullptr) return;
    if (test::chance(m_random, 25)) node->row->m_nOrder = test::below(m_random, 3);
    changeBelow(*node);
    m_bBlocks ? bring(*node, false) : m_model.rowChanged(m_model.find(node->key()), true);
  }

  void sort() {
    m_nSortColumn = test::below(m_random, 4) - 1;
    m_bDescending = test::chance(m_random, 50);
    m_model.sort(m_nSortColumn, m_bDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
  }

  void filter() {
    m_bFilter = test::chance(m_random, 50);
    m_model.setFilter(m_bFilter ? std::vector<GV::SColumnFilter>{{2, "3"}} : std::vector<GV::SColumnFilter>());
  }

  const bool m_bCountRoots;
  const bool m_bBlocks;
  int m_nKeys = 0;
  Node m_top = {.row = nullptr, .expanded = true};
  std::vector<Node*> m_nodes;  ///< all, in the order of their making
  int m_nSortColumn = -1;
  bool m_bDescending = false;
  bool m_bFilter = false;
};

}  // namespace

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
