// basket-bench [--rows N] [--json FILE] [--quick] [--table] [--feed SECONDS] [--million] [--soak [MINUTES]]
// [--trading-days N]: how the panel's table and model stand beside the stock ones.
#include <log4cxx/logger.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QTextStream>
#include <clocale>

#include "Bars.h"
#include "CHostServices.h"
#include "ChartRun.h"
#include "DayBench.h"
#include "DraftRun.h"
#include "FeedRun.h"
#include "ModelRun.h"
#include "PanelRun.h"
#include "SoakRun.h"
#include "TableRun.h"
#include "TradingDays.h"
#include "TurnRun.h"
#include "WorkerRun.h"
#include "Works.h"
#include "utils/Log.h"

namespace bench {
namespace {

constexpr int ROWS_PER_TASK = 300;
constexpr int DEFAULT_ROWS = 300000;
constexpr int GROWTH = 10;  ///< the smaller board beside the asked one
constexpr int RUNS = 5;
constexpr int PEER_RUNS = 3;  ///< their seconds add up
constexpr int FEED_SECONDS = 60;
constexpr int QUICK_FEED_SECONDS = 10;
constexpr int FEED_TASKS = 1000;
constexpr int FEED_ROWS_PER_TASK = 100;
constexpr int MILLION_TASKS = 3334;  ///< a million rows and some
constexpr int SOAK_MINUTES = 10;

struct SOptions {
  int rows = DEFAULT_ROWS;
  QString jsonFile;
  bool quick = false;
  bool tableOnly = false;
  bool million = false;
  bool daysOnly = false;
  int soakMinutes = 0;  ///< 0: no soak
  int tradingDays = 0;  ///< 0: none
  int feedSeconds = 0;  ///< 0: the whole bench, with a feed of its own length
  int feedRowsPerTask = FEED_ROWS_PER_TASK;
};

/// False, and said on standard error, for a command line that makes no sense.
bool parse(const QStringList& arguments, SOptions& options) {
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addOption({QStringLiteral("rows"),
                    QStringLiteral("Rows of the board, 300 to a task; with --feed rows of its 1000 tasks."),
                    QStringLiteral("N"), QString::number(DEFAULT_ROWS)});
  parser.addOption(
      {QStringLiteral("json"), QStringLiteral("Writes the results to a file too."), QStringLiteral("FILE")});
  parser.addOption(
      {QStringLiteral("quick"), QStringLiteral("A tenth of the rows, without the growth and plain peers.")});
  parser.addOption({QStringLiteral("table"), QStringLiteral("Only the panel's table beside the floor.")});
  parser.addOption({QStringLiteral("feed"),
                    QStringLiteral("Only the panel under a feed of 200,000 details a second, for this long."),
                    QStringLiteral("SECONDS"), QStringLiteral("0")});
  parser.addOption(
      {QStringLiteral("days"), QStringLiteral("Only what it costs to keep a day and to look back at it.")});
  parser.addOption({QStringLiteral("million"), QStringLiteral("Only the panel, with a million rows beside 300,000.")});
  parser.addOption({QStringLiteral("soak"),
                    QStringLiteral("Only the panel with a million rows under 50,000 details a second, for MINUTES.")});
  parser.addOption({QStringLiteral("trading-days"),
                    QStringLiteral("Only N trading days one after the other in this process, and what each leaves."),
                    QStringLiteral("N"), QStringLiteral("0")});
  parser.addPositionalArgument(QStringLiteral("MINUTES"),
                               QStringLiteral("Of --soak; %1 unless told otherwise.").arg(SOAK_MINUTES),
                               QStringLiteral("[MINUTES]"));
  parser.process(arguments);
  bool ok = false;
  options.rows = parser.value(QStringLiteral("rows")).toInt(&ok);
  options.jsonFile = parser.value(QStringLiteral("json"));
  options.quick = parser.isSet(QStringLiteral("quick"));
  options.tableOnly = parser.isSet(QStringLiteral("table"));
  if (!ok || options.rows < ROWS_PER_TASK) {
    QTextStream(stderr) << "basket-bench: --rows must be a number of at least " << ROWS_PER_TASK << '\n';
    return false;
  }
  options.daysOnly = parser.isSet(QStringLiteral("days"));
  options.million = parser.isSet(QStringLiteral("million"));
  if (parser.isSet(QStringLiteral("soak"))) {
    const QString minutes = parser.positionalArguments().value(0, QString::number(SOAK_MINUTES));
    options.soakMinutes = minutes.toInt(&ok);
    if (!ok || options.soakMinutes < 1) {
      QTextStream(stderr) << "basket-bench: --soak takes a number of minutes\n";
      return false;
    }
  }
  options.tradingDays = parser.value(QStringLiteral("trading-days")).toInt(&ok);
  if (!ok || options.tradingDays < 0 || options.tradingDays > MOST_TRADING_DAYS) {
    QTextStream(stderr) << "basket-bench: --trading-days must be a number from 1 to " << MOST_TRADING_DAYS << '\n';
    return false;
  }
  if (parser.isSet(QStringLiteral("rows"))) options.feedRowsPerTask = std::max(1, options.rows / FEED_TASKS);
  options.feedSeconds = parser.value(QStringLiteral("feed")).toInt(&ok);
  if (ok && options.feedSeconds >= 0) return true;
  QTextStream(stderr) << "basket-bench: --feed must be a number of seconds\n";
  return false;
}

class CBench {
 public:
  explicit CBench(const SOptions& options) : m_options(options) {}

  bool run() {
    if (m_options.tradingDays > 0) return runTradingDays(m_options.tradingDays);
    if (m_options.soakMinutes > 0) return runSoaking() && writeJson();
    if (m_options.daysOnly) return runKeptDays() && writeJson();
    if (m_options.million) return runMillion() && writeJson();
    if (m_options.feedSeconds > 0) return runFeeds(m_options.feedSeconds, m_options.feedRowsPerTask) && writeJson();
    const int rows = m_options.quick ? m_options.rows / GROWTH : m_options.rows;
    const int tasks = std::max(1, rows / ROWS_PER_TASK);
    bool current = true;
    if (!m_options.tableOnly) {
      if (!m_options.quick && tasks >= GROWTH) runTables(tasks / GROWTH, true);
      runModels(tasks);
      runDrafts();
      runKeptDays();
      current = runFeeds(m_options.quick ? QUICK_FEED_SECONDS : FEED_SECONDS, FEED_ROWS_PER_TASK);
    }
    // What most is asked of comes last, where it is seen.
    runTables(tasks, !m_options.tableOnly);
    return writeJson() && current;
  }

 private:
  CReport runTables(int tasks, bool peers) {
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
    services.install();
    const CLoad load(desk, {tasks, ROWS_PER_TASK, 1});
    CReport report;
    report.setTitle(
        QStringLiteral(
            "%1 rows in %2 tasks; CPU milliseconds of the working thread, medians of %3 runs, of the peers %4")
            .arg(tasks * ROWS_PER_TASK)
            .arg(tasks)
            .arg(RUNS)
            .arg(PEER_RUNS));
    CLimit limit;
    {
      CBoard board(load);
      runTable(board, RUNS, report);
      runWorks([&] { return makePanelTable(board); }, board, limit, RUNS, report);
      runWorks([&] { return makeFloor(board); }, board, limit, RUNS, report);
      if (peers) runPeers(board, limit, report);
    }
    runPanel(desk, services, load, RUNS, report);
    runTurns(desk, services, load, RUNS, report);
    runWorker(load, RUNS, report);
    runCharts(RUNS, report);
    measureModelBytes(load, report);
    finish(report, judge(report, tasks * ROWS_PER_TASK));
    return report;
  }

  bool runMillion() {
    const CReport small = runTables(DEFAULT_ROWS / ROWS_PER_TASK, false);
    const CReport large = runTables(MILLION_TASKS, false);
    QTextStream(stdout) << QStringLiteral("%1 rows beside %2\n").arg(MILLION_TASKS * ROWS_PER_TASK).arg(DEFAULT_ROWS)
                        << judgeGrowth(small, large) << '\n';
    return true;
  }

  bool runSoaking() {
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Live);
    services.install();
    const CLoad load(desk, {MILLION_TASKS, ROWS_PER_TASK, 1});
    CReport report;
    report.setTitle(QStringLiteral("50,000 details a second, one order of each fresh, for %1 min; %2 tasks of %3 rows")
                        .arg(m_options.soakMinutes)
                        .arg(MILLION_TASKS)
                        .arg(ROWS_PER_TASK));
    constexpr int SECONDS_PER_MINUTE = 60;
    runSoak(desk, load, m_options.soakMinutes * SECONDS_PER_MINUTE, report);
    finish(report, judge(report, MILLION_TASKS * ROWS_PER_TASK));
    return true;
  }

  void runPeers(CBoard& board, CLimit& limit, CReport& report) const {
    runWorks([&] { return makeStandardItemPeer(board, limit, true); }, board, limit, PEER_RUNS, report);
    runWorks([&] { return makeTreeWidgetPeer(board, limit); }, board, limit, PEER_RUNS, report);
    if (m_options.quick) return;
    runWorks([&] { return makeStandardItemPeer(board, limit, false); }, board, limit, PEER_RUNS, report);
  }

  void runModels(int tasks) {
    constexpr int ORDERS_PER_ROW = 10;
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
    services.install();
    const CLoad load(desk, {tasks, ROWS_PER_TASK, ORDERS_PER_ROW});
    CReport report;
    report.setTitle(QStringLiteral("%1 tasks of %2 parameters and %3 orders; CPU milliseconds, medians of %4 runs")
                        .arg(tasks)
                        .arg(ROWS_PER_TASK)
                        .arg(ROWS_PER_TASK * ORDERS_PER_ROW)
                        .arg(RUNS));
    runModel(load, RUNS, report);
    measureModelBytes(load, report);
    finish(report, judge(report, tasks * ROWS_PER_TASK));
  }

  bool runKeptDays() {
    CReport report;
    report.setTitle(QStringLiteral("A day of ten hedged baskets of 300 lines that is kept"));
    runDays(report);
    finish(report, judge(report, 0));
    return true;
  }

  void runDrafts() {
    CReport report;
    report.setTitle(QStringLiteral("A basket before it is sent; CPU milliseconds, medians of %1 runs").arg(RUNS));
    runDraft(RUNS, report);
    finish(report, judge(report, 0));
  }

  /// False when the screen fell behind the feed.
  bool runFeeds(int seconds, int rowsPerTask) {
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Live);
    services.install();
    const CLoad load(desk, {FEED_TASKS, rowsPerTask, 1});
    CReport report;
    report.setTitle(QStringLiteral("200,000 details a second from four threads for %1 s; %2 tasks of %3 rows")
                        .arg(seconds)
                        .arg(FEED_TASKS)
                        .arg(rowsPerTask));
    const bool current = runFeed(load, seconds, report);
    finish(report, QString());
    return current;
  }

  void finish(const CReport& report, const QString& verdicts) {
    QTextStream(stdout) << report.table() << '\n' << verdicts << (verdicts.isEmpty() ? "" : "\n");
    m_json.append(report.json());
  }

  bool writeJson() const {
    if (m_options.jsonFile.isEmpty()) return true;
    QFile file(m_options.jsonFile);
    const QByteArray text = ("[" + m_json.join(",\n") + "]\n").toUtf8();
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size()) return true;
    QTextStream(stderr) << "basket-bench: " << m_options.jsonFile << ": " << file.errorString() << '\n';
    return false;
  }

  const SOptions m_options;
  QStringList m_json;
};

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  // The same painting on every machine, and no window server in the way.
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication app(argc, argv);
  std::setlocale(LC_CTYPE, "C.UTF-8");
  // As in the terminal without a log file.
  log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
  bench::SOptions options;
  if (!bench::parse(QApplication::arguments(), options)) return 2;
  return bench::CBench(options).run() ? 0 : 1;
}
