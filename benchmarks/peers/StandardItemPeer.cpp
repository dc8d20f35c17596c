// QStandardItemModel with QTreeView.
#include <QStandardItemModel>
#include <QTreeView>

#include "BasketColumns.h"
#include "Subject.h"
#include "TableExport.h"

namespace bench {
namespace {

/// A cell that sorts by its figure.
class CAmountItem : public QStandardItem {
 public:
  bool operator<(const QStandardItem& other) const override {
    return m_dAmount < static_cast<const CAmountItem&>(other).m_dAmount;
  }
  double m_dAmount = 0;
};

class CStandardItemPeer : public ISubject {
 public:
  CStandardItemPeer(const CBoard& board, const CLimit& limit, bool tuned)
      : m_board(board), m_limit(limit), m_bTuned(tuned) {
    m_view.setUniformRowHeights(tuned);
  }

  QString name() const override {
    return m_bTuned ? QStringLiteral("standard model, tuned") : QStringLiteral("standard model, plain");
  }
  QAbstractScrollArea* view() override { return &m_view; }

  void build() override {
    m_pModel = std::make_unique<QStandardItemModel>(0, TC::EBC_Count);
    m_rows.clear();
    if (!m_bTuned) showModel();
    for (int task = 0; task < m_board.taskCount() && !m_limit.isOver(); ++task) addTask(task);
    if (m_bTuned) showModel();
  }

  void refresh(const SChange& change) override {
    m_pModel->blockSignals(m_bTuned);
    for (const int task : change.tasks) {
      if (m_limit.isOver()) break;
      std::vector<Row>& rows = m_rows[static_cast<std::size_t>(task)];
      const std::size_t count = change.rows > 0 ? static_cast<std::size_t>(change.rows) : rows.size();
      for (std::size_t row = 0; row < count; ++row) fill(rows[row], m_board.rows(task).data(static_cast<int>(row)));
    }
    m_pModel->blockSignals(false);
    m_view.viewport()->update();
  }

  void setFinishedHidden(bool hidden) override {
    m_view.setUpdatesEnabled(!m_bTuned);
    for (int task = 0; task < m_board.taskCount() && !m_limit.isOver(); ++task) {
      const TC::CTaskBlock& block = m_board.rows(task);
      const std::vector<Row>& rows = m_rows[static_cast<std::size_t>(task)];
      const QModelIndex parent = rows.front().front()->index();
      for (int row = 1; row < block.size(); ++row) {
        if (!isFinished(block.data(row))) continue;
        m_view.setRowHidden(rows[static_cast<std::size_t>(row)].front()->row(), parent, hidden);
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

  void sortByAmount(Qt::SortOrder order) override { m_pModel->sort(TC::EBC_Amount, order); }

  QString exportText() override {
    QString text;
    for (const std::vector<Row>& rows : m_rows) {
      for (const Row& row : rows) {
        for (const int column : TC::exportColumns()) {
          text += row[static_cast<std::size_t>(column)]->text();
          text += QLatin1Char('\t');
        }
        text += QLatin1Char('\n');
      }
    }
    return text;
  }

 private:
  using Row = std::vector<QStandardItem*>;

  void showModel() {
    m_view.setModel(m_pModel.get());
    m_view.expandAll();
  }

  void addTask(int task) {
    const TC::CTaskBlock& block = m_board.rows(task);
    m_rows.emplace_back();
    for (int row = 0; row < block.size(); ++row) {
      const QList<QStandardItem*> items = makeRow(block.data(row));
      if (row == 0) {
        m_pModel->appendRow(items);
        if (!m_bTuned) m_view.expand(items.front()->index());
      } else {
        m_rows.back().front().front()->appendRow(items);
      }
      m_rows.back().emplace_back(items.begin(), items.end());
    }
  }

  static QList<QStandardItem*> makeRow(const TC::CHpfBasketStatusData& data) {
    QList<QStandardItem*> items;
    for (int column = 0; column < TC::EBC_Count; ++column) {
      QStandardItem* item = column == TC::EBC_Amount ? new CAmountItem : new QStandardItem;
      item->setText(cellText(data, column));
      items.append(item);
    }
    static_cast<CAmountItem*>(items[TC::EBC_Amount])->m_dAmount = data.figures.tradedAmount;
    return items;
  }

  static void fill(const Row& row, const TC::CHpfBasketStatusData& data) {
    for (const int column : figureColumns()) row[static_cast<std::size_t>(column)]->setText(cellText(data, column));
    static_cast<CAmountItem*>(row[TC::EBC_Amount])->m_dAmount = data.figures.tradedAmount;
  }

  const CBoard& m_board;
  const CLimit& m_limit;
  const bool m_bTuned;
  std::unique_ptr<QStandardItemModel> m_pModel;
  QTreeView m_view;
  std::vector<std::vector<Row>> m_rows;  ///< the items by task and row
};

}  // namespace

std::unique_ptr<ISubject> makeStandardItemPeer(const CBoard& board, const CLimit& limit, bool tuned) {
  return std::make_unique<CStandardItemPeer>(board, limit, tuned);
}

}  // namespace bench
