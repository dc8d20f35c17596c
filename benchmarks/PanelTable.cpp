// The panel's own table: staging, change set, view.
#include "BasketColumns.h"
#include "CHpfBasketStatusTable.h"
#include "Subject.h"
#include "TableExport.h"

namespace bench {
namespace {

class CPanelTable : public ISubject {
 public:
  explicit CPanelTable(const CBoard& board) : m_board(board), m_table(0, nullptr) {}

  QString name() const override { return QStringLiteral("panel"); }
  QAbstractScrollArea* view() override { return &m_table; }

  void stage(const SChange& change) override {
    m_table.beginRefresh(0);
    for (const int task : change.tasks) m_table.updateTask(m_board.task(task));
  }
  void build() override { m_table.applyStaged(); }
  /// As the panel ends a refresh: the staged rows, then the pass of its filters.
  void refresh(const SChange&) override {
    m_table.applyStaged();
    filterPass();
  }
  void setFinishedHidden(bool hidden) override {
    m_bHideFinished = hidden;
    filterPass();
  }
  void setExpanded(bool expanded) override { m_table.expandAll(expanded); }
  void sortByAmount(Qt::SortOrder order) override { m_table.sortByColumn(TC::EBC_Amount, order); }
  void unsort() override { m_table.sortByColumn(-1, Qt::AscendingOrder); }
  QString exportText() override {
    QString text;
    const TC::CTableSnapshot snapshot(*m_table.dataModel());
    const auto append = [&text](const QString& lines) {
      text += lines;
      return true;
    };
    TC::exportLines(snapshot.rows(), QLatin1Char('\t'), append, [](int) { return true; });
    return text;
  }

 private:
  void filterPass() { m_table.filterTasks({{}, m_bHideFinished}); }

  const CBoard& m_board;
  TC::CHpfBasketStatusTable m_table;
  bool m_bHideFinished = false;
};

}  // namespace

std::unique_ptr<ISubject> makePanelTable(const CBoard& board) { return std::make_unique<CPanelTable>(board); }

}  // namespace bench
