#include "DayBench.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <limits>
#include <random>

#include "CBasketTasksPanel.h"
#include "CDayRun.h"
#include "past/CPastSession.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");
const QString FLOOR = QStringLiteral("floor");
constexpr int BASKETS = 10;
constexpr int PAIRS = 9;
constexpr int APPENDS = 300;
constexpr int SEEKS = 25;
constexpr std::int64_t FIRST_MOMENT = 34200000;
constexpr std::int64_t LAST_MOMENT = 53940000;
constexpr int PATIENCE_MSEC = 300000;

TC::ITradeDockableWidget* createPanel(int id, QWidget* parent) { return new TC::CBasketTasksPanel(id, parent); }

double childSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// When the hedges start is given: the panel's own start comes at a moment of real time, and a day that is hedged for
/// longer costs more, kept or not.
QString writeActs(const QTemporaryDir& folder) {
  QFile file(folder.filePath(QStringLiteral("acts.jsonl")));
  if (!file.open(QIODevice::WriteOnly)) qFatal("the acts cannot be written");
  for (int i = 1; i <= BASKETS; ++i) {
    file.write(QStringLiteral(R"({"at":"09:30:05","task":%1,"do":"hedge","what":"start"})"
                              "\n")
                   .arg(i)
                   .toUtf8());
  }
  return file.fileName();
}

/// CPU seconds of a whole day as fast as it goes; without a file it is not kept.
double runDay(const QString& acts, const QString& file) {
  QStringList words{QStringLiteral("--headless"),
                    QStringLiteral("--speed"),
                    QStringLiteral("20000"),
                    QStringLiteral("--hedge"),
                    QStringLiteral("IF2612:1.0"),
                    QStringLiteral("--acts"),
                    acts};
  for (int i = 0; i < BASKETS; ++i) {
    words << QStringLiteral("--basket") << QStringLiteral(PBT_BENCH_DATA_DIR "/baskets/basket300.csv");
  }
  words << QStringLiteral("--day") << (file.isEmpty() ? QStringLiteral("none") : file);
  for (const char* end : {"", "-wal", "-shm"}) {
    if (!file.isEmpty()) QFile::remove(file + QLatin1String(end));
  }
  const double before = childSeconds();
  QProcess process;
  process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/basket-terminal"), words);
  if (!process.waitForFinished(PATIENCE_MSEC) || process.exitCode() != 0) qFatal("the terminal has not run its day");
  return childSeconds() - before;
}

/// In turns, so that both meet the same machine, and the least of each: the same day costs a fifth more or less from
/// one run to the next, and what comes from outside only adds.
void measureCpu(const QString& acts, const QString& file, CReport& report) {
  double plain = std::numeric_limits<double>::max();
  double kept = plain;
  for (int i = 0; i < PAIRS; ++i) {
    plain = std::min(plain, runDay(acts, {}));
    kept = std::min(kept, runDay(acts, file));
  }
  report.addValue(work::DAY_CPU, PANEL, kept / plain, QStringLiteral("times"));
}

void measureAppend(const QTemporaryDir& folder, CReport& report) {
  const std::string body(300, 'x');
  const daylog::SOpenedDay day = daylog::openDay(folder.filePath(QStringLiteral("append.db")).toStdString());
  CLimit limit;
  std::int64_t number = 0;
  QElapsedTimer clock;
  clock.start();
  const SMedian each = measure(
      APPENDS, limit, [] {},
      [&] {
        if (!day.m_pLog->append({{0, ++number, "operate", body}}, {}).empty()) qFatal("an entry was not kept");
      });
  report.add(work::DAY_APPEND, PANEL, each);
  report.addValue(work::DAY_ENTRIES, PANEL, static_cast<double>(number) * 1000 / static_cast<double>(clock.elapsed()),
                  QStringLiteral("a second"));
  const int raw = open(folder.filePath(QStringLiteral("raw")).toUtf8().constData(), O_CREAT | O_WRONLY, 0600);
  report.add(work::DAY_APPEND, FLOOR,
             measure(
                 APPENDS, limit, [] {},
                 [&] {
                   if (write(raw, body.data(), body.size()) < 0 || fdatasync(raw) != 0) qFatal("the disk failed");
                 }));
  close(raw);
}

void measureRestart(const QString& file, CReport& report) {
  const daylog::SOpenedDay day = daylog::readDay(file.toStdString());
  CLimit limit;
  report.add(work::DAY_RESTART, PANEL,
             measure(
                 3, limit, [] {},
                 [&] {
                   app::CDayRun run(*day.m_pLog);
                   if (!run.fault().empty() || !run.runAgain().empty()) qFatal("the day is another one");
                 }));
}

template <typename Condition>
void waitFor(const Condition& holds) {
  while (!holds()) QApplication::processEvents(QEventLoop::AllEvents, 1);
}

/// From the wish to the table, back and forth.
void measureSeek(const QString& file, CReport& report) {
  app::SOptions options;
  options.m_bHeadless = true;
  options.m_strPast = file.toStdString();
  app::CMainWindow window;
  app::CPastSession session(options, daylog::readDay(options.m_strPast).m_pLog, nullptr, window, createPanel);
  window.show();
  session.start();
  waitFor([&] { return session.now() >= 0; });
  session.dump();
  std::size_t items = session.day().hedges().size() + session.day().messages().size();
  for (const app::SPastTask& task : session.day().tasks()) {
    items += 1 + task.m_sent.size() + task.m_reports.size() + task.m_fills.size();
  }
  for (const app::SPastQuotes& quotes : session.day().quotes()) items += quotes.m_quotes.size();
  report.addValue(work::DAY_ITEMS, PANEL, static_cast<double>(items) / 1000, QStringLiteral("thousand"));
  std::mt19937 random(1);
  double longest = 0;
  for (int i = 0; i < SEEKS; ++i) {
    const auto moment =
        FIRST_MOMENT + static_cast<std::int64_t>(random() % ((LAST_MOMENT - FIRST_MOMENT) / 1000)) * 1000;
    QElapsedTimer clock;
    clock.start();
    session.moveTo(moment);
    waitFor([&] { return session.now() == moment; });
    session.dump();
    longest = std::max(longest, static_cast<double>(clock.elapsed()));
  }
  report.addValue(work::DAY_SEEK, PANEL, longest, QStringLiteral("ms"));
}

}  // namespace

void runDays(CReport& report) {
  const QTemporaryDir folder;
  const QString file = folder.filePath(QStringLiteral("day.db"));
  measureCpu(writeActs(folder), file, report);
  measureAppend(folder, report);
  measureRestart(file, report);
  measureSeek(file, report);
}

}  // namespace bench
