#include "SoakRun.h"

#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/range/adaptor/reversed.hpp>
#include <chrono>
#include <cmath>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int FEEDS = 2;
constexpr int DETAILS_PER_SECOND = 50200;  ///< a little above what is asked: the end of a round costs some
constexpr int SAMPLED_TASKS = 16;
constexpr int SAMPLED_ROWS = 4;      ///< of each of these
constexpr int REMEMBERED = 10;       ///< refreshes
constexpr int ROUND_SECONDS = 30;    ///< then the feed rests, the heap is read
constexpr int WARM_UP_SECONDS = 60;  ///< at least, of a run that is longer than two rounds
constexpr int REST_SECONDS = 30;     ///< at most
constexpr int LOAD_SECONDS = 300;    ///< at most

const QString PANEL = QStringLiteral("panel");

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

/// What was published of a task's root and of some of its rows, so that it can be told how old is what they show.
class CSample {
 public:
  CSample(const CLoad& load, int task) : m_nTask(task) {
    for (int i = 0; i < SAMPLED_ROWS; ++i) {
      m_rows.push_back((task * 7 + i * load.size().rows / SAMPLED_ROWS) % load.size().rows);
    }
  }

  int task() const { return m_nTask; }

  /// refreshes: those that had ended by then. The feed's thread.
  void note(const ksservice::CTaskDetail& detail, int refreshes) {
    std::vector<double> amounts{0};
    for (const auto& order : detail.m_orders) amounts.front() += order->m_dTradedAmount;
    for (const int row : m_rows) amounts.push_back(detail.m_orders[static_cast<std::size_t>(row)]->m_dTradedAmount);
    if (m_paths.isEmpty()) setPaths(detail);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_published.push_back({refreshes, std::move(amounts)});
    while (m_published[1].refreshes < refreshes - REMEMBERED) m_published.pop_front();
  }

  /// Adds the ages of what is shown: since how many refreshes there has been something newer, 0 for the newest; below 0
  /// for what was never published. GUI thread.
  void addAges(const TC::CHpfBasketStatusTable& table, int refreshes, std::vector<int>& ages) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (int i = 0; i < m_paths.size(); ++i) {
      const auto row = table.rowByPath(m_paths[i]);
      const double shown = row ? row->sortNumber(TC::EBC_Amount) : std::nan("");
      ages.push_back(age(static_cast<std::size_t>(i), shown, refreshes));
    }
  }

 private:
  struct SPublished {
    int refreshes;
    std::vector<double> amounts;  ///< the root's and those of the rows
  };

  void setPaths(const ksservice::CTaskDetail& detail) {
    QStringList paths{QString::number(detail.m_nTaskId)};
    for (const int row : m_rows) {
      const auto& stock = detail.m_params[static_cast<std::size_t>(row)].m_stock;
      paths +=
          QStringLiteral("%1/%2.%3买入")
              .arg(paths.front(), QString::fromStdString(stock.m_strMarket), QString::fromStdString(stock.m_strCode));
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_paths = paths;
  }

  int age(std::size_t figure, double shown, int refreshes) const {
    int sinceNewer = refreshes;
    for (const SPublished& each : boost::adaptors::reverse(m_published)) {
      const double amount = each.amounts[figure];
      if (std::fabs(amount - shown) <= 1e-9 * amount) return refreshes - sinceNewer;
      sinceNewer = each.refreshes;
    }
    return -1;
  }

  const int m_nTask;
  std::vector<int> m_rows;
  mutable std::mutex m_mutex;  ///< guards the rest
  QStringList m_paths;
  std::deque<SPublished> m_published;
};

/// One host thread with a share of the tasks: each detail has one fresh order, the others are those of the detail
/// before.
class CSoakFeed {
 public:
  CSoakFeed(desk::CDesk& desk, const CLoad& load, std::vector<std::unique_ptr<CSample>>& samples,
            const std::atomic<int>& refreshes, int first)
      : m_desk(desk), m_load(load), m_refreshes(refreshes), m_nFirst(first) {
    for (int task = first; task < load.size().tasks; task += FEEDS) m_newest.push_back(load.detail(task, 0));
    m_samples.resize(m_newest.size());
    for (const auto& sample : samples) {
      if (sample->task() % FEEDS == first) m_samples[static_cast<std::size_t>(sample->task() / FEEDS)] = sample.get();
    }
    for (std::size_t place = 0; place < m_newest.size(); ++place) publish(place, desk::EVia::Store);
  }

  void start() {
    m_bRun = true;
    m_thread = std::thread([this] { run(); });
  }
  void stop() {
    m_bRun = false;
    m_thread.join();
  }
  std::int64_t published() const { return m_nPublished; }

 private:
  void run() {
    const Clock::time_point begin = Clock::now();
    const std::int64_t before = m_nPublished;
    while (m_bRun) {
      const auto due = static_cast<std::int64_t>(seconds(Clock::now() - begin) * DETAILS_PER_SECOND / FEEDS);
      while (m_nPublished - before < due && m_bRun) publishNext();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void publishNext() {
    if (m_nNext == m_newest.size()) {
      m_nNext = 0;
      ++m_nSecond;
    }
    const std::size_t place = m_nNext++;
    const int task = m_nFirst + static_cast<int>(place) * FEEDS;
    auto detail = boost::make_shared<ksservice::CTaskDetail>(*m_newest[place]);
    const int fresh = m_nSecond % static_cast<int>(detail->m_orders.size());
    detail->m_orders[static_cast<std::size_t>(fresh)] = m_load.order(task, fresh, m_nSecond);
    m_newest[place] = detail;
    publish(place, desk::EVia::Feed);
    ++m_nPublished;
  }

  void publish(std::size_t place, desk::EVia via) {
    desk::SPublication publication;
    publication.m_pDetail = m_newest[place];
    publication.m_eVia = via;
    publication.m_bSameParams = via == desk::EVia::Feed;
    if (CSample* sample = m_samples[place]) sample->note(*m_newest[place], m_refreshes);
    m_desk.publishTask(publication);
  }

  desk::CDesk& m_desk;
  const CLoad& m_load;
  const std::atomic<int>& m_refreshes;
  const int m_nFirst;
  std::vector<ksservice::CTaskDetailPtr> m_newest;  ///< by place: tasks m_nFirst, m_nFirst + FEEDS, ...
  std::vector<CSample*> m_samples;                  ///< by place, null for most
  std::size_t m_nNext = 0;
  int m_nSecond = 1;
  std::int64_t m_nPublished = 0;
  std::atomic<bool> m_bRun{false};
  std::thread m_thread;
};

class CSoakRun {
 public:
  CSoakRun(desk::CDesk& desk, const CLoad& load) : m_load(load), m_panel(1, nullptr) {
    const int samples = std::min(SAMPLED_TASKS, load.size().tasks);
    for (int i = 0; i < samples; ++i) {
      m_samples.push_back(std::make_unique<CSample>(load, i * load.size().tasks / samples));
    }
    for (int i = 0; i < FEEDS; ++i) {
      m_feeds.push_back(std::make_unique<CSoakFeed>(desk, load, m_samples, m_refreshes, i));
    }
    m_pTable = m_panel.findChild<TC::CHpfBasketStatusTable*>();
    m_panel.resize(1600, 900);
    m_panel.show();
    QObject::connect(&m_panel, &TC::CBasketTasksPanel::sigRunningTasks, [this] { onRefreshed(); });
  }

  void run(int wanted, CReport& report) {
    m_panel.setTradeType(EMTT_Stock);
    const int rows = m_load.size().tasks * (m_load.size().rows + 1);
    runGui(LOAD_SECONDS, [&] { return m_pTable->rowCount() == rows; });
    if (m_pTable->rowCount() != rows) qFatal("%d rows of %d have come", m_pTable->rowCount(), rows);
    for (int second = 0; second < wanted; second += ROUND_SECONDS) {
      feedFor(std::min(ROUND_SECONDS, wanted - second));
      m_heap.emplace_back(seconds(Clock::now() - m_begin) / 60, heapBytes() / 1e6);
      if (second + ROUND_SECONDS <= WARM_UP_SECONDS && wanted > 2 * WARM_UP_SECONDS) m_heap.erase(m_heap.begin());
    }
    put(report);
  }

 private:
  void onRefreshed() {
    m_refreshTimes.push_back(seconds(Clock::now() - m_begin));
    std::vector<int> ages;
    for (const auto& sample : m_samples) sample->addAges(*m_pTable, m_refreshes + 1, ages);
    m_nWrong += static_cast<int>(std::count_if(ages.begin(), ages.end(), [](int age) { return age < 0; }));
    m_nOldest = std::max(m_nOldest, *std::max_element(ages.begin(), ages.end()));
    m_nSampled += static_cast<std::int64_t>(ages.size());
    ++m_refreshes;
  }

  /// Ends with two refreshes of what came last, so that the heap holds nothing that waits.
  void feedFor(int wanted) {
    const Clock::time_point begin = Clock::now();
    for (const auto& feed : m_feeds) feed->start();
    runGui(wanted, [] { return false; });
    for (const auto& feed : m_feeds) feed->stop();
    m_dFed += seconds(Clock::now() - begin);
    const int before = m_refreshes;
    runGui(REST_SECONDS, [&] { return m_refreshes >= before + 2; });
    std::vector<int> ages;
    for (const auto& sample : m_samples) sample->addAges(*m_pTable, m_refreshes, ages);
    m_nBehind += static_cast<int>(std::count_if(ages.begin(), ages.end(), [](int age) { return age != 0; }));
  }

  static void runGui(int wanted, const std::function<bool()>& isOver) {
    const Clock::time_point end = Clock::now() + std::chrono::seconds(wanted);
    while (Clock::now() < end && !isOver()) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  }

  /// Megabytes a minute, by least squares.
  double slope() const {
    double minutes = 0, heap = 0, products = 0, squares = 0;
    for (const auto& [minute, megabytes] : m_heap) {
      minutes += minute / static_cast<double>(m_heap.size());
      heap += megabytes / static_cast<double>(m_heap.size());
    }
    for (const auto& [minute, megabytes] : m_heap) {
      products += (minute - minutes) * (megabytes - heap);
      squares += (minute - minutes) * (minute - minutes);
    }
    return squares > 0 ? products / squares : 0;
  }

  void put(CReport& report) const {
    std::int64_t published = 0;
    for (const auto& feed : m_feeds) published += feed->published();
    std::vector<double> gaps;
    for (std::size_t i = 1; i < m_refreshTimes.size(); ++i) gaps.push_back(m_refreshTimes[i] - m_refreshTimes[i - 1]);
    const auto add = [&report](const QString& work, double value, const char* unit) {
      report.addValue(work, PANEL, value, QString::fromUtf8(unit));
    };
    add(work::SOAK_RATE, static_cast<double>(published) / m_dFed, "");
    add(QStringLiteral("  of it fed"), m_dFed, "s");
    add(QStringLiteral("refreshes with work"), m_refreshes, "");
    add(QStringLiteral("  from one to the next, median"), median(gaps), "s");
    add(QStringLiteral("rows looked at"), static_cast<double>(m_nSampled), "");
    add(work::SOAK_AGE, m_nOldest, "");
    add(work::SOAK_WRONG, m_nWrong, "");
    add(QStringLiteral("rows behind when the feed rested"), m_nBehind, "");
    add(QStringLiteral("heap after the warm-up"), m_heap.front().second, "MB");
    add(QStringLiteral("heap at the end"), m_heap.back().second, "MB");
    add(work::SOAK_GROWTH, m_heap.back().second / m_heap.front().second, "x");
    add(QStringLiteral("  growth"), slope(), "MB a minute");
  }

  const CLoad& m_load;
  const Clock::time_point m_begin = Clock::now();
  std::atomic<int> m_refreshes{0};
  std::vector<std::unique_ptr<CSample>> m_samples;
  TC::CBasketTasksPanel m_panel;
  TC::CHpfBasketStatusTable* m_pTable = nullptr;
  std::vector<std::unique_ptr<CSoakFeed>> m_feeds;
  double m_dFed = 0;  ///< seconds
  int m_nOldest = 0;
  int m_nWrong = 0;
  int m_nBehind = 0;
  std::int64_t m_nSampled = 0;
  std::vector<double> m_refreshTimes;             ///< seconds
  std::vector<std::pair<double, double>> m_heap;  ///< minutes, megabytes
};

}  // namespace

void runSoak(desk::CDesk& desk, const CLoad& load, int seconds, CReport& report) {
  CSoakRun(desk, load).run(seconds, report);
}

}  // namespace bench
