#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QStringList>
#include <random>

#include "TestRow.h"
#include "gv/CStandardHpfTableModel.h"

namespace {

constexpr auto FATAL = QAbstractItemModelTester::FailureReportingMode::Fatal;

/// The plain way to keep the same tree: everything is worked out anew whenever it is asked for.
struct NaiveNode {
  TestRowPtr row;
  NaiveNode* parent = nullptr;
  bool expanded = false;
  bool hidden = false;
  std::vector<std::unique_ptr<NaiveNode>> children;  ///< in their own order
};

class NaiveTree {
 public:
  NaiveTree() { m_top.expanded = true; }

  std::vector<NaiveNode*> sorted(const NaiveNode& parent, bool own = false) const {
    std::vector<NaiveNode*> nodes;
    for (const auto& child : parent.children) nodes.push_back(child.get());
    std::stable_sort(nodes.begin(), nodes.end(), [this, own](const NaiveNode* a, const NaiveNode* b) {
      const int difference = own ? 0 : compare(*a->row, *b->row);
      if (difference != 0) return difference < 0;
      return a->row->sortOrder() < b->row->sortOrder();
    });
    return nodes;
  }

  QStringList print(const NaiveNode& node) const {
    QStringList lines;
    if (!node.expanded) return lines;
    for (const NaiveNode* child : sorted(node)) {
      if (!isShown(*child)) continue;
      lines.append(child->row->m_strKey + QLatin1Char('=') + child->row->text(2));
      lines.append(print(*child));
    }
    return lines;
  }
  QStringList print() const { return print(m_top); }
  double sum() const {
    double total = 0.0;
    addTo(total, m_top);
    return total;
  }

  static bool accepts(const GV::CHpfTreeTableData& row) { return row.number(2) >= 3.0; }
  bool isShown(const NaiveNode& node) const {
    return !node.hidden && (!m_bFilter || acceptedAbove(node) || acceptedBelow(node));
  }
  bool acceptedAbove(const NaiveNode& node) const {
    return node.row && (accepts(*node.row) || acceptedAbove(*node.parent));
  }
  bool acceptedBelow(const NaiveNode& node) const {
    return std::any_of(node.children.begin(), node.children.end(),
                       [this](const auto& child) { return accepts(*child->row) || acceptedBelow(*child); });
  }

  /// The counted rows that neither are hidden nor have one above them that is, in their own order.
  void addTo(double& total, const NaiveNode& node) const {
    if (node.row && node.row->m_bCounted) total += node.row->m_dValue;
    for (const NaiveNode* child : sorted(node, true)) {
      if (isShown(*child)) addTo(total, *child);
    }
  }

  /// In the order of the rows' making, so that a random pick depends on nothing else.
  std::vector<NaiveNode*> all() {
    std::vector<NaiveNode*> nodes;
    gather(m_top, nodes);
    std::sort(nodes.begin(), nodes.end(),
              [](const NaiveNode* a, const NaiveNode* b) { return a->row->m_strKey < b->row->m_strKey; });
    return nodes;
  }

  NaiveNode m_top;
  int m_nSortColumn = -1;
  bool m_bDescending = false;
  bool m_bFilter = false;

 private:
  int compare(const TestRow& a, const TestRow& b) const {
    int difference = 0;
    if (m_nSortColumn == 2) difference = a.m_dValue < b.m_dValue ? -1 : a.m_dValue > b.m_dValue ? 1 : 0;
    if (m_nSortColumn == 1) difference = a.text(1).compare(b.text(1));
    // The tree column: roots by their order, the rest by what it shows.
    if (m_nSortColumn == 0 && a.parent() == nullptr) difference = a.m_nOrder - b.m_nOrder;
    if (m_nSortColumn == 0 && a.parent() != nullptr) difference = a.displayName().compare(b.displayName());
    return m_bDescending ? -difference : difference;
  }
  void gather(NaiveNode& node, std::vector<NaiveNode*>& nodes) {
    for (const auto& child : node.children) {
      nodes.push_back(child.get());
      gather(*child, nodes);
    }
  }
};

/// Knows the rows only by the model's notices.
class Follower {
 public:
  explicit Follower(const GV::IBaseHpfTableModel& model) : m_model(model) {
    QObject::connect(&model, &QAbstractItemModel::rowsInserted, [this](const QModelIndex&, int first, int last) {
      for (int row = first; row <= last; ++row) m_lines.insert(row, line(row));
    });
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, [this](const QModelIndex&, int first, int last) {
      m_lines.erase(m_lines.begin() + first, m_lines.begin() + last + 1);
    });
    QObject::connect(&model, &QAbstractItemModel::dataChanged,
                     [this](const QModelIndex& first, const QModelIndex& last) {
                       ++m_nChanges;
                       for (int row = first.row(); row <= last.row(); ++row) m_lines[row] = line(row);
                     });
    QObject::connect(&model, &QAbstractItemModel::layoutChanged, [this] { readAll(); });
    QObject::connect(&model, &QAbstractItemModel::modelReset, [this] { readAll(); });
  }

  QStringList m_lines;
  int m_nChanges = 0;

 private:
  QString line(int row) const {
    return m_model.index(row, 0).data(GV::IBaseHpfTableModel::KeyRole).toString() + QLatin1Char('=') +
           m_model.index(row, 2).data().toString();
  }
  void readAll() {
    m_lines.clear();
    for (int row = 0; row < m_model.rowCount(); ++row) m_lines.append(line(row));
  }

  const GV::IBaseHpfTableModel& m_model;
};

/// Does the same random things to the model and to the plain tree.
class RandomTree {
 public:
  /// Every other seed counts roots alone.
  explicit RandomTree(unsigned seed) : m_random(seed), m_bCountRoots(seed % 2 == 0) {}

  void step() {
    using Action = void (RandomTree::*)();
    static const Action actions[] = {&RandomTree::insert, &RandomTree::insert, &RandomTree::insert,
                                     &RandomTree::remove, &RandomTree::hide,   &RandomTree::expand,
                                     &RandomTree::expand, &RandomTree::change, &RandomTree::change,
                                     &RandomTree::sort,   &RandomTree::filter, &RandomTree::reorder};
    (this->*actions[pick(std::size(actions))])();
  }

  std::size_t pick(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random); }

  GV::CHpfTreeTableModel m_model{testColumns()};
  NaiveTree m_tree;

 private:
  NaiveNode* any() {
    const std::vector<NaiveNode*> nodes = m_tree.all();
    return nodes.empty() ? nullptr : nodes[pick(nodes.size())];
  }
  NaiveNode& anyParent() {
    NaiveNode* node = pick(3) == 0 ? nullptr : any();
    return node == nullptr ? m_tree.m_top : *node;
  }
  /// Some do not add up exactly, so that their sum tells in which order it was formed.
  double anyFigure() {
    static constexpr double figures[] = {0, 1, 3, 1e16, -1e16};
    return figures[pick(std::size(figures))];
  }
  static QString keyOf(const NaiveNode& node) { return node.row ? node.row->m_strKey : QString(); }

  void insert() {
    NaiveNode& parent = anyParent();
    const auto row = boost::make_shared<TestRow>(QStringLiteral("k%1").arg(++m_nKeys, 5, 10, QLatin1Char('0')),
                                                 anyFigure(), static_cast<int>(pick(3)));
    row->m_bCounted = m_bCountRoots ? &parent == &m_tree.m_top : pick(2) == 0;
    auto at = parent.children.end();
    if (!parent.children.empty() && pick(2) == 0) at -= 1 + static_cast<long>(pick(parent.children.size()));
    const QString before = at == parent.children.end() ? QString() : keyOf(**at);
    ASSERT_TRUE(m_model.insertData(row, keyOf(parent), before));
    auto node = std::make_unique<NaiveNode>();
    node->row = row;
    node->parent = &parent;
    parent.children.insert(at, std::move(node));
  }

  void remove() {
    NaiveNode* node = pick(3) == 0 ? any() : nullptr;
    if (node == nullptr) return;
    ASSERT_TRUE(m_model.removeDataByKey(node->row->m_strKey));
    auto& siblings = node->parent->children;
    siblings.erase(std::find_if(siblings.begin(), siblings.end(), [&](const auto& c) { return c.get() == node; }));
  }

  /// One, or many at once.
  void hide() {
    const bool on = pick(2) == 0;
    const std::vector<NaiveNode*> all = m_tree.all();
    std::vector<int> nodes;
    for (std::size_t i = pick(all.size() + 1); i < all.size(); i += 1 + pick(8)) {
      all[i]->hidden = on;
      nodes.push_back(m_model.find(all[i]->row->m_strKey));
      if (pick(2) == 0) break;
    }
    nodes.size() == 1 ? m_model.setHidden(nodes.front(), on) : m_model.setHidden(nodes, on);
  }

  void expand() {
    const bool on = pick(3) != 0;
    const bool all = pick(8) == 0;
    for (NaiveNode* node : all ? m_tree.all() : std::vector<NaiveNode*>{any()}) {
      if (node == nullptr || (all && node->children.empty())) continue;
      node->expanded = on;
      if (!all) m_model.setExpanded(m_model.find(node->row->m_strKey), on);
    }
    if (all) m_model.setAllExpanded(on);
  }

  void changeBelow(NaiveNode& node) {
    node.row->m_dValue = anyFigure();
    for (const auto& child : node.children) changeBelow(*child);
  }

  void change() {
    NaiveNode* node = any();
    if (node == nullptr) return;
    if (pick(4) == 0) node->row->m_nOrder = static_cast<int>(pick(3));
    changeBelow(*node);
    m_model.rowsChanged(m_model.find(node->row->m_strKey));
  }

  void sort() {
    m_tree.m_nSortColumn = static_cast<int>(pick(4)) - 1;
    m_tree.m_bDescending = pick(2) == 0;
    m_model.sort(m_tree.m_nSortColumn, m_tree.m_bDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
  }

  void reorder() {
    NaiveNode& parent = anyParent();
    QStringList keys;
    const std::size_t named = parent.children.empty() ? 0 : pick(parent.children.size());
    for (std::size_t i = 0; i < named; ++i) {
      const std::size_t other = i + pick(parent.children.size() - i);
      std::rotate(parent.children.begin() + static_cast<long>(i), parent.children.begin() + static_cast<long>(other),
                  parent.children.begin() + static_cast<long>(other) + 1);
      keys.append(parent.children[i]->row->m_strKey);
    }
    ASSERT_TRUE(m_model.reorderChildren(keyOf(parent), keys));
  }

  void filter() {
    m_tree.m_bFilter = pick(2) == 0;
    m_model.setFilter(m_tree.m_bFilter ? &NaiveTree::accepts : GV::CHpfTreeTableModel::RowFilter());
  }

  std::mt19937 m_random;
  const bool m_bCountRoots;
  int m_nKeys = 0;
};

QStringList shownLines(const GV::CHpfTreeTableModel& model) {
  QStringList lines;
  for (int row = 0; row < model.rowCount(); ++row) {
    const GV::CHpfTreeTableData& data = model.rowAt(row);
    lines.append(data.key() + QLatin1Char('=') + data.text(2));
    EXPECT_EQ(model.positionOf(data.key()), row);
  }
  return lines;
}

std::string joined(const QStringList& lines) { return lines.join(QLatin1Char(' ')).toStdString(); }

}  // namespace

/// Whatever is done in whatever order, alone or in batches small and large: the flat list is the plain tree printed,
/// and whoever listens to the notices alone arrives at the same.
TEST(TreeModel, RandomChangesMatchAPlainTree) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    RandomTree random(seed);
    const QAbstractItemModelTester tester(&random.m_model, FATAL);
    const Follower follower(random.m_model);
    for (int round = 0; round < 60; ++round) {
      const std::size_t steps = round % 10 == 9 ? 80 : random.pick(6);
      random.m_model.beginBatch();
      for (std::size_t i = 0; i < steps; ++i) random.step();
      random.m_model.endBatch();
      random.step();
      const std::string expected = joined(random.m_tree.print());
      ASSERT_EQ(joined(shownLines(random.m_model)), expected) << "seed " << seed << " round " << round;
      ASSERT_EQ(joined(follower.m_lines), expected) << "notices, seed " << seed << " round " << round;
      ASSERT_EQ(random.m_model.statistic(2), random.m_tree.sum()) << "sum, seed " << seed << " round " << round;
    }
  }
}

TEST(TreeModel, ManyChangesAreFewNotices) {
  GV::CHpfTreeTableModel model(testColumns());
  const Follower follower(model);
  std::vector<TestRowPtr> rows;
  {
    const GV::CModelBatch batch(model);
    for (int root = 0; root < 50; ++root) {
      rows.push_back(boost::make_shared<TestRow>(QStringLiteral("r%1").arg(root), 0, root));
      model.insertData(rows.back(), QString());
      for (int child = 0; child < 5; ++child) {
        model.insertData(boost::make_shared<TestRow>(QStringLiteral("r%1.%2").arg(root).arg(child)),
                         rows.back()->key());
      }
    }
    model.setAllExpanded(true);
  }
  ASSERT_EQ(model.rowCount(), 300);
  EXPECT_EQ(follower.m_nChanges, 0);
  {
    const GV::CModelBatch batch(model);
    for (const TestRowPtr& row : rows) model.rowsChanged(model.nodeOf(*row));
  }
  EXPECT_EQ(follower.m_nChanges, 1);
  {
    const GV::CModelBatch batch(model);
    for (const int root : {3, 4, 20}) model.rowsChanged(model.find(QStringLiteral("r%1").arg(root)));
    model.rowChanged(model.find(QStringLiteral("r3.2")));
  }
  EXPECT_EQ(follower.m_nChanges, 3);
}

TEST(TreeModel, RefusesWhatItCannotPlace) {
  GV::CHpfTreeTableModel model(testColumns());
  const auto row = boost::make_shared<TestRow>(QStringLiteral("a"));
  EXPECT_FALSE(model.insertData(nullptr, QString()));
  EXPECT_FALSE(model.insertData(row, QStringLiteral("nobody")));
  EXPECT_TRUE(model.insertData(row, QString()));
  EXPECT_FALSE(model.insertData(row, QString()));
  EXPECT_FALSE(model.insertData(boost::make_shared<TestRow>(QStringLiteral("a")), QString()));
  EXPECT_FALSE(model.insertData(boost::make_shared<TestRow>(QStringLiteral("b")), QString(), QStringLiteral("nobody")));
  EXPECT_FALSE(model.removeDataByKey(QStringLiteral("b")));
  EXPECT_FALSE(model.reorderChildren(QString(), {QStringLiteral("b")}));
  EXPECT_EQ(model.rowCount(), 1);
  EXPECT_TRUE(model.removeDataByKey(QStringLiteral("a")));
  EXPECT_FALSE(row->isInTable());
}

TEST(StandardModel, SortsItsRowsAndSaysWhatChanged) {
  GV::CStandardHpfTableModel model(testColumns(), nullptr);
  const QAbstractItemModelTester tester(&model, FATAL);
  const Follower follower(model);
  std::vector<TestRowPtr> rows;
  for (const double value : {2, 1, 2, 3}) {
    rows.push_back(boost::make_shared<TestRow>(QString(QChar('a' + static_cast<int>(rows.size()))), value));
  }
  model.setRows({rows.begin(), rows.end()});
  EXPECT_EQ(joined(follower.m_lines), "a=2.00 b=1.00 c=2.00 d=3.00");
  model.sort(2, Qt::DescendingOrder);
  rows[1]->m_dValue = 9;
  model.rowChanged(QStringLiteral("b"));
  model.rowChanged(QStringLiteral("nobody"));
  EXPECT_EQ(joined(follower.m_lines), "d=3.00 a=2.00 c=2.00 b=9.00") << "equal figures keep the rows' own order";
  EXPECT_EQ(follower.m_nChanges, 1);
  model.setRows({rows.begin(), rows.end()});
  EXPECT_EQ(joined(follower.m_lines), "b=9.00 d=3.00 a=2.00 c=2.00") << "the sort stays";
  EXPECT_EQ(model.positionOf(QStringLiteral("d")), 1);
  EXPECT_EQ(model.statistic(2), 16);
}
