#include "TableRun.h"

#include <memory>

#include "BasketColumns.h"
#include "CHpfBasketStatusTable.h"
#include "Subject.h"
#include "TableExport.h"
#include "View.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");
constexpr int PAIRS_PER_RUN = 5;     ///< a ratio near 1 needs more of them than a duration
constexpr int STEADY_REFRESHES = 5;  ///< what is given back goes round once

class CTableRun {
 public:
  CTableRun(CBoard& board, int runs, CReport& report) : m_board(board), m_nRuns(runs), m_report(report) {
    m_dEmpty = heapBytes();
    stage(m_board.everything());
    apply();
    m_watch.settle();
  }

  /// Full refreshes, the rest of the table as it stands.
  void refresh(const QString& name) {
    time(
        name, [&] { renewFigures(); }, [&] { apply(); });
  }

  void sort(int column) { m_table.sortByColumn(column, Qt::DescendingOrder); }
  void unsort() { m_table.sortByColumn(-1, Qt::AscendingOrder); }
  /// By a part of the code; empty: all rows.
  void filter(const QString& text) {
    if (text.isEmpty()) return m_table.clearColumnFilters();
    m_table.setColumnFilter(TC::EBC_Tree, text);
  }

  void sortByText() {
    time(
        work::SORT_TEXT, [&] { showFresh([&] { unsort(); }); }, [&] { sort(TC::EBC_Tree); });
    unsort();
  }
  void filterColumn() {
    time(
        work::COLUMN_FILTER, [&] { showFresh([&] { filter({}); }); }, [&] { filter(work::SOME_CODES); });
    filter({});
  }

  void select() {
    time(
        work::SELECT_ALL, [&] { showFresh([&] { m_table.clearSelection(); }); }, [&] { m_table.selectAll(); });
    int keys = 0;
    m_report.add(work::SELECTED_KEYS, PANEL,
                 measure(
                     m_nRuns, m_limit, [] {}, [&] { keys = m_table.selectedKeys().size(); }));
    if (keys < m_board.rowCount()) qFatal("only %d rows are selected", keys);
  }

  /// A sparse refresh and a repaint that finds the caches in the same state, in turns: the median of their ratios.
  void pair(const QString& name, const SChange& change) {
    std::vector<double> ratios;
    for (int i = 0; i < m_nRuns * PAIRS_PER_RUN; ++i) {
      m_board.advance();
      stage(change);
      const double refreshed = cost([&] { apply(); });
      m_board.advance();
      const double painted = cost([&] { m_table.viewport()->update(); });
      ratios.push_back(refreshed / painted);
    }
    m_report.addValue(name, PANEL, median(ratios), QStringLiteral("x"));
  }

  /// The table's export and the floor's, in turns.
  void pairExport() {
    const std::unique_ptr<ISubject> floor = makeFloor(m_board);
    floor->build();
    const auto append = [](QString& text) {
      return [&text](const QString& lines) {
        text += lines;
        return true;
      };
    };
    std::vector<double> ratios;
    for (int i = 0; i < m_nRuns; ++i) {
      QString text;
      const CStopwatch own;
      const TC::CTableSnapshot snapshot(*m_table.dataModel());
      TC::exportLines(snapshot.rows(), QLatin1Char('\t'), append(text), [](int) { return true; });
      const double exported = own.elapsed().cpu;
      text = QString();
      const CStopwatch other;
      text = floor->exportText();
      ratios.push_back(exported / other.elapsed().cpu);
    }
    m_report.addValue(work::PAIRED_EXPORT, PANEL, median(ratios), QStringLiteral("x"));
  }

  void bytes() {
    for (int i = 0; i < STEADY_REFRESHES; ++i) {
      stage(m_board.everything());
      apply();
      m_watch.settle();
    }
    m_report.addValue(work::STEADY_BYTES, PANEL, (heapBytes() - m_dEmpty) / m_board.rowCount(),
                      QStringLiteral("bytes"));
  }

 private:
  void stage(const SChange& change) {
    m_table.beginRefresh(0);
    for (const int task : change.tasks) m_table.updateTask(m_board.task(task));
  }
  /// As the panel ends a refresh.
  void apply() {
    m_table.applyStaged();
    m_table.filterTasks({});
  }
  void renewFigures() {
    m_board.advance();
    stage(m_board.everything());
  }
  void showFresh(const std::function<void()>& put) {
    put();
    renewFigures();
    apply();
    m_watch.settle();
  }
  double cost(const std::function<void()>& run) const {
    const CStopwatch watch;
    run();
    m_watch.settle();
    return watch.elapsed().cpu;
  }
  void time(const QString& name, const std::function<void()>& prepare, const std::function<void()>& run) {
    m_report.add(name, PANEL, measure(m_nRuns, m_limit, prepare, [&] {
                   run();
                   m_watch.settle();
                 }));
  }

  CBoard& m_board;
  const int m_nRuns;
  CReport& m_report;
  CLimit m_limit;
  TC::CHpfBasketStatusTable m_table{0, nullptr};
  CPaintWatch m_watch{m_table};
  double m_dEmpty = 0;
};

}  // namespace

void runTable(CBoard& board, int runs, CReport& report) {
  CTableRun run(board, runs, report);
  run.bytes();
  run.pair(work::PAIRED_TASKS, board.someTasks());
  run.pair(work::PAIRED_ROWS, board.someRows());
  run.pairExport();
  run.sort(TC::EBC_Amount);
  run.refresh(work::SORTED_FIGURE);
  run.sort(TC::EBC_Tree);
  run.refresh(work::SORTED_TEXT);
  run.unsort();
  run.filter(work::SOME_CODES);
  run.refresh(work::FILTERED);
  run.filter({});
  run.sortByText();
  run.filterColumn();
  run.select();
}

}  // namespace bench
