#include "FeedRun.h"

#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <memory>
#include <thread>
#include <utility>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "DetailCaches.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int FEEDS = 4;
constexpr int DETAILS_PER_SECOND = 200000;
constexpr int VARIANTS = 4;          ///< details of each task that the feed turns over
constexpr int CHECK_SECONDS = 10;    ///< how often the feed rests and the screen is checked
constexpr int BUILD_SECONDS = 3;     ///< for the first refreshes, which make the rows
constexpr int WARM_UP_SECONDS = 60;  ///< memory is compared from then on in a long run

const QString PANEL = QStringLiteral("panel");

double microseconds(Clock::duration duration) { return std::chrono::duration<double, std::micro>(duration).count(); }

double residentMegabytes() {
  std::ifstream statm("/proc/self/statm");
  double pages = 0;
  statm >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// Durations in classes a tenth apart, so that millions of them take no memory.
class CHistogram {
 public:
  void add(double microSeconds) {
    const double place = std::log(std::max(microSeconds, 0.1) / 0.1) / std::log(1.1);
    ++m_counts[std::min(static_cast<std::size_t>(place), m_counts.size() - 1)];
    ++m_nCount;
    m_dLongest = std::max(m_dLongest, microSeconds);
  }
  void add(const CHistogram& other) {
    for (std::size_t i = 0; i < m_counts.size(); ++i) m_counts[i] += other.m_counts[i];
    m_nCount += other.m_nCount;
    m_dLongest = std::max(m_dLongest, other.m_dLongest);
  }
  /// Upper end of the class in which the share lies.
  double quantile(double share) const {
    double left = share * static_cast<double>(m_nCount);
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
      left -= static_cast<double>(m_counts[i]);
      if (left <= 0) return std::min(0.1 * std::pow(1.1, static_cast<double>(i + 1)), m_dLongest);
    }
    return m_dLongest;
  }
  double longest() const { return m_dLongest; }
  std::uint64_t count() const { return m_nCount; }

 private:
  std::array<std::uint64_t, 220> m_counts{};
  std::uint64_t m_nCount = 0;
  double m_dLongest = 0;
};

/// One host thread with a share of the tasks.
class CFeed {
 public:
  using Variants = std::vector<std::vector<ksservice::CTaskDetailPtr>>;  ///< by task, then variant

  CFeed(TC::CBasketTasksPanel& panel, const Variants& details, int first)
      : m_panel(panel), m_details(details), m_nFirst(first), m_newest(details.size(), -1) {}

  void start() {
    m_bRun = true;
    m_thread = std::thread([this] { run(); });
  }
  void stop() {
    m_bRun = false;
    if (m_thread.joinable()) m_thread.join();
  }
  /// Variant that was offered last of a task of this feed; -1 for others. While stopped.
  int newest(std::size_t task) const { return m_newest[task]; }
  const CHistogram& latencies() const { return m_latencies; }

 private:
  void run() {
    const Clock::time_point begin = Clock::now();
    std::int64_t offered = 0;
    while (m_bRun) {
      const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
      const auto due = static_cast<std::int64_t>(elapsed * DETAILS_PER_SECOND / FEEDS);
      for (; offered < due && m_bRun; ++offered) offerNext();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void offerNext() {
    if (m_nNext >= m_details.size()) {
      m_nNext = static_cast<std::size_t>(m_nFirst);
      m_nVariant = (m_nVariant + 1) % VARIANTS;
    }
    const Clock::time_point before = Clock::now();
    m_panel.onTaskDetail(m_details[m_nNext][static_cast<std::size_t>(m_nVariant)]);
    m_latencies.add(microseconds(Clock::now() - before));
    m_newest[m_nNext] = m_nVariant;
    m_nNext += FEEDS;
  }

  TC::CBasketTasksPanel& m_panel;
  const Variants& m_details;
  const int m_nFirst;
  std::size_t m_nNext = static_cast<std::size_t>(m_nFirst);
  int m_nVariant = 0;
  std::vector<int> m_newest;
  CHistogram m_latencies;
  std::atomic<bool> m_bRun{false};
  std::thread m_thread;
};

class CFeedRun {
 public:
  CFeedRun(const CLoad& load, int seconds) : m_nSeconds(seconds), m_panel(1, nullptr) {
    for (int task = 0; task < load.size().tasks; ++task) {
      auto& variants = m_details.emplace_back();
      for (int i = 0; i < VARIANTS; ++i) variants.push_back(load.detail(task, i));
    }
    m_panel.setTradeType(EMTT_Stock);
    m_pTable = m_panel.findChild<TC::CHpfBasketStatusTable*>();
    m_panel.resize(1600, 900);
    m_panel.show();
    QObject::connect(&m_panel, &TC::CBasketTasksPanel::sigRunningTasks, [this] { ++m_nRefreshes; });
    for (int i = 0; i < FEEDS; ++i) m_feeds.push_back(std::make_unique<CFeed>(m_panel, m_details, i));
  }

  bool run(CReport& report) {
    watchGaps();
    feedFor(BUILD_SECONDS);
    m_buildGaps = std::exchange(m_gaps, {});
    int stale = 0;
    for (int second = 0; second < m_nSeconds; second += CHECK_SECONDS) {
      feedFor(std::min(CHECK_SECONDS, m_nSeconds - second));
      stale += staleTasks();
      if (second < WARM_UP_SECONDS || m_dFirstMemory == 0) m_dFirstMemory = residentMegabytes();
    }
    put(report, stale);
    return stale == 0;
  }

 private:
  /// Ends with two refreshes, the most that a detail may wait for.
  void feedFor(int seconds) {
    for (const auto& feed : m_feeds) feed->start();
    runGui(seconds);
    for (const auto& feed : m_feeds) feed->stop();
    waitForRefreshes(2);
  }

  void watchGaps() {
    m_gapTimer.setTimerType(Qt::PreciseTimer);
    m_gapTimer.setInterval(1);
    m_lastTick = Clock::now();
    QObject::connect(&m_gapTimer, &QTimer::timeout, [this] {
      const Clock::time_point now = Clock::now();
      m_gaps.add(microseconds(now - m_lastTick));
      m_lastTick = now;
    });
    m_gapTimer.start();
  }

  static void runGui(int seconds) {
    const Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
    while (Clock::now() < end) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }

  void waitForRefreshes(int count) {
    const int before = m_nRefreshes;
    // A refresh without work announces nothing: three seconds are enough for two of those that start a second apart.
    const Clock::time_point end = Clock::now() + std::chrono::seconds(3);
    while (m_nRefreshes < before + count && Clock::now() < end) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }

  int staleTasks() const {
    int stale = 0;
    for (std::size_t task = 0; task < m_details.size(); ++task) {
      const int variant = m_feeds[task % FEEDS]->newest(task);
      if (variant < 0) continue;
      const ksservice::CTaskDetail& detail = *m_details[task][static_cast<std::size_t>(variant)];
      double amount = 0;
      for (const auto& order : detail.m_orders) amount += order->m_dTradedAmount;
      const auto root = m_pTable->rowByPath(QString::number(detail.m_nTaskId));
      if (!root || std::fabs(root->number(TC::EBC_Amount) - amount) > 1e-6 * amount) ++stale;
    }
    return stale;
  }

  void put(CReport& report, int stale) const {
    CHistogram feed;
    for (const auto& each : m_feeds) feed.add(each->latencies());
    const auto add = [&report](const char* work, double value, const char* unit) {
      report.addValue(QString::fromUtf8(work), PANEL, value, QString::fromUtf8(unit));
    };
    add("details offered", static_cast<double>(feed.count()), "");
    add("  a second, while the feed ran", static_cast<double>(feed.count()) / (m_nSeconds + BUILD_SECONDS), "");
    add("refreshes with work", m_nRefreshes, "");
    add("tasks behind after two refreshes", stale, "");
    add("one delivery, median", feed.quantile(0.5), "us");
    add("one delivery, 99 %", feed.quantile(0.99), "us");
    add("one delivery, 99.99 %", feed.quantile(0.9999), "us");
    add("one delivery, longest", feed.longest(), "us");
    add("gap of a 1 ms timer, 99 %", m_gaps.quantile(0.99) / 1000, "ms");
    add("gap of a 1 ms timer, longest", m_gaps.longest() / 1000, "ms");
    add("  while the rows are made, longest", m_buildGaps.longest() / 1000, "ms");
    add("memory after a minute at most", m_dFirstMemory, "MB");
    add("memory at the end", residentMegabytes(), "MB");
  }

  const int m_nSeconds;
  CFeed::Variants m_details;
  TC::CBasketTasksPanel m_panel;
  TC::CHpfBasketStatusTable* m_pTable = nullptr;
  std::vector<std::unique_ptr<CFeed>> m_feeds;
  QTimer m_gapTimer;
  Clock::time_point m_lastTick;
  CHistogram m_gaps;
  CHistogram m_buildGaps;  ///< while the first refreshes make the rows
  int m_nRefreshes = 0;
  double m_dFirstMemory = 0;
};

/// How long the caches' lock is held for a swap: with nothing else running, by how full the caches are.
void measureSwap(const CLoad& load, CReport& report) {
  constexpr int SWAPS = 200;
  for (const int details : {100, load.size().tasks}) {
    std::vector<ksservice::CTaskDetailPtr> stored;
    for (int task = 0; task < std::min(details, load.size().tasks); ++task) stored.push_back(load.detail(task, 0));
    TC::CDetailCaches caches;
    std::vector<double> times;
    for (int i = 0; i < SWAPS; ++i) {
      for (const auto& detail : stored) caches.store(detail, TC::EDetailWay::Feed, caches.day());
      TC::SDetailMaps work;
      unsigned day = 0;
      const Clock::time_point before = Clock::now();
      caches.takeWork(work, day);
      times.push_back(microseconds(Clock::now() - before));
    }
    report.addValue(QStringLiteral("swap of caches with %1 details").arg(stored.size()), PANEL, median(times),
                    QStringLiteral("us"));
  }
}

}  // namespace

bool runFeed(const CLoad& load, int seconds, CReport& report) {
  measureSwap(load, report);
  return CFeedRun(load, seconds).run(report);
}

}  // namespace bench
