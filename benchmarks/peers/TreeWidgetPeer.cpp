// QTreeWidget with rows of one height, filled while no signal leaves it.
#include <QTreeWidget>
#include <numeric>

#include "BasketColumns.h"
#include "Subject.h"
#include "TableExport.h"

namespace bench {
namespace {

/// A row that sorts by its amount.
class CAmountRow : public QTreeWidgetItem {
 public:
  bool operator<(const QTreeWidgetItem& other) const override {
    return m_dAmount < static_cast<const CAmountRow&>(other).m_dAmount;
  }
  double m_dAmount = 0;
  bool m_bFinished = false;
};

class CTreeWidgetPeer : public ISubject {
 public:
  CTreeWidgetPeer(const CBoard& board, const CLimit& limit) : m_board(board), m_limit(limit) {
    m_view.setUniformRowHeights(true);
    m_view.setColumnCount(TC::EBC_Count);
  }

  QString name() const override { return QStringLiteral("tree widget, tuned"); }
  QAbstractScrollArea* view() override { return &m_view; }

  void build() override {
    m_view.clear();
    m_rows.clear();
    QList<QTreeWidgetItem*> roots;
    for (int task = 0; task < m_board.taskCount() && !m_limit.isOver(); ++task) roots.append(makeTask(task));
    m_view.addTopLevelItems(roots);
    m_view.expandAll();
  }

  void refresh(const SChange& change) override {
    m_view.model()->blockSignals(true);
    for (const int task : change.tasks) {
      if (m_limit.isOver()) break;
      const std::vector<CAmountRow*>& rows = m_rows[static_cast<std::size_t>(task)];
      const std::size_t count = change.rows > 0 ? static_cast<std::size_t>(change.rows) : rows.size();
      for (std::size_t row = 0; row < count; ++row) {
        fill(*rows[row], m_board.rows(task).data(static_cast<int>(row)), figureColumns());
      }
    }
    m_view.model()->blockSignals(false);
    m_view.viewport()->update();
  }

  void setFinishedHidden(bool hidden) override {
    m_view.setUpdatesEnabled(false);
    const QAbstractItemModel& model = *m_view.model();
    for (int root = 0; root < m_view.topLevelItemCount() && !m_limit.isOver(); ++root) {
      const QModelIndex parent = model.index(root, 0);
      const QTreeWidgetItem* item = m_view.topLevelItem(root);
      for (int row = 0; row < item->childCount(); ++row) {
        if (static_cast<const CAmountRow*>(item->child(row))->m_bFinished) m_view.setRowHidden(row, parent, hidden);
      }
    }
    m_view.setUpdatesEnabled(true);
  }

  void setExpanded(bool expanded) override {
    if (expanded) {
      m_view.expandAll();
    } else {
      m_view.collapseAll();
    }
  }

  void sortByAmount(Qt::SortOrder order) override { m_view.sortItems(TC::EBC_Amount, order); }

  QString exportText() override {
    QString text;
    for (const std::vector<CAmountRow*>& rows : m_rows) {
      for (const CAmountRow* row : rows) {
        for (const int column : TC::exportColumns()) {
          text += row->text(column);
          text += QLatin1Char('\t');
        }
        text += QLatin1Char('\n');
      }
    }
    return text;
  }

 private:
  QTreeWidgetItem* makeTask(int task) {
    static const std::vector<int> all = [] {
      std::vector<int> columns(TC::EBC_Count);
      std::iota(columns.begin(), columns.end(), 0);
      return columns;
    }();
    const TC::CTaskBlock& block = m_board.rows(task);
    std::vector<CAmountRow*> rows;
    QList<QTreeWidgetItem*> children;
    for (int row = 0; row < block.size(); ++row) {
      rows.push_back(new CAmountRow);
      fill(*rows.back(), block.data(row), all);
      if (row > 0) children.append(rows.back());
    }
    rows.front()->addChildren(children);
    m_rows.push_back(rows);
    return rows.front();
  }

  static void fill(CAmountRow& row, const TC::CHpfBasketStatusData& data, const std::vector<int>& columns) {
    for (const int column : columns) row.setText(column, cellText(data, column));
    row.m_dAmount = data.figures.tradedAmount;
    row.m_bFinished = isFinished(data);
  }

  const CBoard& m_board;
  const CLimit& m_limit;
  QTreeWidget m_view;
  std::vector<std::vector<CAmountRow*>> m_rows;  ///< by task and row
};

}  // namespace

std::unique_ptr<ISubject> makeTreeWidgetPeer(const CBoard& board, const CLimit& limit) {
  return std::make_unique<CTreeWidgetPeer>(board, limit);
}

}  // namespace bench
