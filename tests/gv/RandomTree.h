/// A model that is driven at random beside a plain tree, rows one by one or in blocks, and who follows its notices.
#pragma once

#include <optional>

#include "Random.h"
#include "TableFixture.h"

constexpr auto FATAL = QAbstractItemModelTester::FailureReportingMode::Fatal;

/// What a model shows: key and figure of each row.
inline QStringList linesOf(const GV::IBaseHpfTableModel& model, int first, int last) {
  QStringList lines;
  for (int row = first; row <= last; ++row) {
    lines.append(model.index(row, 0).data(GV::IBaseHpfTableModel::KeyRole).toString() + '=' +
                 model.index(row, 2).data().toString());
  }
  return lines;
}

inline std::string joined(const QStringList& lines) { return lines.join(' ').toStdString(); }

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

inline bool accepts(const GV::CHpfTreeTableData& row) { return row.text(2).contains('3'); }

inline bool acceptedAbove(const Node& node) { return node.row && (accepts(*node.row) || acceptedAbove(*node.parent)); }

inline bool acceptedBelow(const Node& node) {
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
