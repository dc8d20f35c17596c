#include "Works.h"

#include "View.h"

namespace bench {
namespace {

constexpr int PAGES = 20;

/// One subject on its way through the works.
class CCourse {
 public:
  CCourse(const SubjectMaker& make, CBoard& board, CLimit& limit, int runs, CReport& report)
      : m_make(make), m_board(board), m_limit(limit), m_nRuns(runs), m_report(report) {}

  bool build() {
    std::vector<double> staged;
    const SMedian built = measure(
        m_nRuns, m_limit,
        [&] {
          renew();
          staged.push_back(stage(m_board.everything()));
        },
        [&] {
          m_pSubject->build();
          settle();
        });
    m_report.add(work::BUILD, m_pSubject->name(), built);
    addStaged(work::BUILD_STAGED, staged);
    return !built.capped;
  }

  /// False when it was capped.
  bool refresh(const QString& name, const SChange& change) {
    std::vector<double> staged;
    const SMedian cost = measure(
        m_nRuns, m_limit,
        [&] {
          m_board.advance();
          staged.push_back(stage(change));
        },
        [&] {
          m_pSubject->refresh(change);
          settle();
        });
    m_report.add(name, m_pSubject->name(), cost);
    if (name == work::REFRESH) addStaged(work::REFRESH_STAGED, staged);
    return !cost.capped;
  }

  void repaint() {
    time(
        work::REPAINT, [] {}, [&] { showPage(0); });
  }

  /// The same after what comes before each refresh: other work has taken the caches. Nothing is staged.
  void repaintCold() {
    time(
        work::REPAINT_COLD, [&] { m_board.advance(); }, [&] { showPage(0); });
  }

  void filter() {
    m_board.advance(CLoad::EProgress::HalfFinished);
    stage(m_board.everything());
    m_pSubject->refresh(m_board.everything());
    settle();
    const auto hide = [&](bool hidden) { m_pSubject->setFinishedHidden(hidden); };
    timeSwitch(work::HIDE, hide, true);
    timeSwitch(work::SHOW, hide, false);
  }

  void fold() {
    const auto expand = [&](bool expanded) { m_pSubject->setExpanded(expanded); };
    timeSwitch(work::FOLD, expand, false);
    timeSwitch(work::UNFOLD, expand, true);
  }

  /// New figures before each sort, so that none finds its rows in order.
  void sort() {
    const auto renewFigures = [&] {
      m_pSubject->unsort();
      m_board.advance();
      stage(m_board.everything());
      m_pSubject->refresh(m_board.everything());
      settle();
    };
    time(work::SORT, renewFigures, [&] {
      m_pSubject->sortByAmount(Qt::DescendingOrder);
      settle();
    });
  }

  void exportText() {
    int size = 0;
    time(
        work::EXPORT, [] {}, [&] { size = m_pSubject->exportText().size(); });
    if (size < m_board.rowCount()) qFatal("the export of \"%s\" lacks rows", qPrintable(m_pSubject->name()));
  }

  void scroll() {
    time(
        work::SCROLL, [&] { showPage(0); },
        [&] {
          for (int page = 1; page <= PAGES; ++page) showPage(page);
        });
  }

  /// After a build and a refresh, so that what a refresh keeps counts too. What an empty view has (the picture of its
  /// window, most of all) is no row's.
  void bytes() {
    m_pWatch.reset();
    m_pSubject.reset();
    const double before = heapBytes();
    renew();
    const double empty = heapBytes();
    stage(m_board.everything());
    m_pSubject->build();
    settle();
    stage(m_board.everything());
    m_pSubject->refresh(m_board.everything());
    settle();
    const QString unit = QStringLiteral("bytes");
    m_report.addValue(work::BYTES, m_pSubject->name(), (heapBytes() - empty) / m_board.rowCount(), unit);
    m_report.addValue(work::EMPTY_BYTES, m_pSubject->name(), empty - before, unit);
  }

 private:
  void renew() {
    m_pWatch.reset();
    m_pSubject = m_make();
    if (m_pSubject->view()) m_pWatch = std::make_unique<CPaintWatch>(*m_pSubject->view());
  }

  double stage(const SChange& change) {
    const CStopwatch watch;
    m_pSubject->stage(change);
    return watch.elapsed().cpu;
  }

  void addStaged(const QString& name, const std::vector<double>& staged) {
    const double cost = median(staged);
    // A subject that stages nothing is not in this row.
    if (cost > 0.1) m_report.add(name, m_pSubject->name(), {cost, cost, static_cast<int>(staged.size()), false});
  }

  void time(const QString& name, const std::function<void()>& prepare, const std::function<void()>& run) {
    m_report.add(name, m_pSubject->name(), measure(m_nRuns, m_limit, prepare, run));
  }

  /// Times the way to a state, each time from the other one.
  void timeSwitch(const QString& name, const std::function<void(bool)>& put, bool state) {
    const auto prepare = [&] {
      put(!state);
      showPage(0);
    };
    time(name, prepare, [&] {
      put(state);
      settle();
    });
  }

  void settle() {
    if (m_pWatch) m_pWatch->settle();
  }
  void showPage(int page) {
    if (m_pWatch) {
      m_pWatch->scrollTo(page);
    } else {
      m_pSubject->formatPage(page);
    }
  }
  const SubjectMaker& m_make;
  CBoard& m_board;
  CLimit& m_limit;
  const int m_nRuns;
  CReport& m_report;
  std::unique_ptr<ISubject> m_pSubject;
  std::unique_ptr<CPaintWatch> m_pWatch;
};

}  // namespace

void runWorks(const SubjectMaker& make, CBoard& board, CLimit& limit, int runs, CReport& report) {
  CCourse course(make, board, limit, runs, report);
  if (!course.build()) return;
  const bool refreshes = course.refresh(work::REFRESH, board.everything());
  course.refresh(work::SPARSE_TASKS, board.someTasks());
  course.refresh(work::SPARSE_ROWS, board.someRows());
  course.repaint();
  course.repaintCold();
  course.fold();
  course.exportText();
  course.scroll();
  // These begin with a full refresh each.
  if (!refreshes) return;
  course.filter();
  course.sort();
  course.bytes();
}

}  // namespace bench
