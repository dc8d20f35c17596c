#include "Bars.h"

#include <algorithm>
#include <optional>

#include "ChartRun.h"
#include "DayBench.h"
#include "DraftRun.h"
#include "ModelRun.h"
#include "SoakRun.h"
#include "TableRun.h"
#include "TurnRun.h"
#include "WorkerRun.h"
#include "Works.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");
const QString FLOOR = QStringLiteral("floor");
const QString MODEL = QStringLiteral("updateDetail");
const QString DRAFT = QStringLiteral("draft");

/// A bar is a multiple of the floor (or of the page's repaint, whichever is more) and a distance to the best peer; 0
/// for none. A refresh is held against a repaint that finds the caches as a refresh finds them.
struct SBar {
  QString work;
  double timesFloor;
  double timesRepaint;
  double fasterThanPeers;
  QString repaint = work::REPAINT;
};

const std::vector<SBar>& bars() {
  static const std::vector<SBar> list = {
      {work::REFRESH, 6, 0, 50}, {work::HIDE, 3, 3, 15},   {work::SHOW, 3, 3, 15},  {work::FOLD, 3, 3, 15},
      {work::UNFOLD, 3, 3, 15},  {work::SORT, 1.5, 0, 15}, {work::EXPORT, 0, 0, 1},
  };
  return list;
}

/// One measure as a multiple of another, at most.
struct SRatio {
  QString work;
  QString subject;
  QString ofWork;
  QString ofSubject;
  double most;
};

const std::vector<SRatio>& ratios() {
  static const std::vector<SRatio> list = {
      {work::ALL_FRESH, MODEL, work::ALL_FRESH, FLOOR, 1.5},
      {work::SOME_FRESH, MODEL, work::SOME_FRESH, FLOOR, 0.3},
      {work::WORKER_ROWS, PANEL, work::WORKER_FULL, PANEL, 0.08},
      {work::WORKER_TASKS, PANEL, work::WORKER_FULL, PANEL, 0.05},
      {work::SHARED_OUT, DRAFT, work::SHARED_OUT, FLOOR, 40},
      {work::PREVIEW, DRAFT, work::PREVIEW, FLOOR, 4},
      {work::DAY_APPEND, PANEL, work::DAY_APPEND, FLOOR, 12},
  };
  return list;
}

/// A measure that has a limit by itself, in its own unit.
struct SLimit {
  QString work;
  QString subject;
  double most;
  bool isLeast = false;  ///< the measure may not be less
};

const std::vector<SLimit>& limits() {
  static const std::vector<SLimit> list = {
      {work::PAIRED_TASKS, PANEL, 1.1},    {work::PAIRED_ROWS, PANEL, 1.1}, {work::STEADY_BYTES, PANEL, 200},
      {work::MODEL_BYTES_ONE, MODEL, 900}, {work::FIRST_ROW, PANEL, 2000},  {work::SOAK_RATE, PANEL, 50000, true},
      {work::SOAK_AGE, PANEL, 3},          {work::SOAK_WRONG, PANEL, 0},    {work::SOAK_GROWTH, PANEL, 1.01},
      {work::PAIRED_EXPORT, PANEL, 1.2},   {work::SHARED_OUT, DRAFT, 100},  {work::PREVIEW, DRAFT, 16},
      {work::CHARTS, PANEL, 16},           {work::DAY_CPU, PANEL, 1.15},    {work::DAY_SEEK, PANEL, 1000},
      {work::DAY_RESTART, PANEL, 5000},
  };
  return list;
}

constexpr int MILLION = 1000000;
/// Of the event loop, in milliseconds, up to a million rows and from there on.
constexpr double LONGEST_TURN = 16;
constexpr double LONGEST_TURN_OF_A_MILLION = 33;

std::optional<double> cpu(const CReport& report, const QString& name, const QString& subject) {
  const SMedian* found = report.find(name, subject);
  return found ? std::optional<double>(found->cpu) : std::nullopt;
}

std::optional<double> bestPeer(const CReport& report, const QString& name) {
  std::optional<double> best;
  for (const QString& subject : report.subjects()) {
    if (subject == PANEL || subject == FLOOR) continue;
    const auto cost = cpu(report, name, subject);
    if (cost && (!best || *cost < *best)) best = cost;
  }
  return best;
}

QString verdict(const QString& name, const QString& asked, double measured, bool holds) {
  return padded(name, 42) + padded(asked, 48) + padded(QString::number(measured, 'f', 2), 10) +
         (holds ? QStringLiteral("holds") : QStringLiteral("MISSED")) + QLatin1Char('\n');
}

QString judgeCost(const CReport& report, const SBar& bar, double panel) {
  const double floor = cpu(report, bar.work, FLOOR).value_or(0) * bar.timesFloor;
  const double repaint = cpu(report, bar.repaint, PANEL).value_or(0) * bar.timesRepaint;
  const double limit = std::max(floor, repaint);
  if (limit <= 0) return {};
  QStringList asked;
  if (bar.timesFloor > 0) asked += QStringLiteral("%1 x floor").arg(bar.timesFloor);
  if (bar.timesRepaint > 0) {
    const bool cold = bar.repaint == work::REPAINT_COLD;
    asked += QStringLiteral("%1 x repaint%2").arg(bar.timesRepaint).arg(cold ? " as in a refresh" : "");
  }
  const QString text =
      QStringLiteral("at most %1: %2 ms").arg(asked.join(QStringLiteral(" or "))).arg(limit, 0, 'f', 2);
  return verdict(bar.work, text, panel, panel <= limit);
}

}  // namespace

QString judge(const CReport& report, int rows) {
  QString text;
  for (const SBar& bar : bars()) {
    const auto panel = cpu(report, bar.work, PANEL);
    if (!panel) continue;
    text += judgeCost(report, bar, *panel);
    const auto peer = bestPeer(report, bar.work);
    if (bar.fasterThanPeers <= 0 || !peer) continue;
    const double factor = *peer / *panel;
    text += verdict(bar.work, QStringLiteral("at least %1 times faster than the best peer").arg(bar.fasterThanPeers),
                    factor, factor >= bar.fasterThanPeers);
  }
  for (const SRatio& bar : ratios()) {
    const auto of = cpu(report, bar.ofWork, bar.ofSubject);
    const auto mine = cpu(report, bar.work, bar.subject);
    if (!of || !mine) continue;
    const QString whole = bar.ofSubject == FLOOR ? QStringLiteral("its floor") : bar.ofWork;
    text += verdict(bar.work, QStringLiteral("at most %1 of %2").arg(bar.most).arg(whole), *mine / *of,
                    *mine <= bar.most * *of);
  }
  for (const SLimit& limit : limits()) {
    const auto mine = cpu(report, limit.work, limit.subject);
    if (!mine) continue;
    const QString asked =
        (limit.isLeast ? QStringLiteral("at least %1") : QStringLiteral("at most %1")).arg(limit.most);
    text += verdict(limit.work, asked, *mine, limit.isLeast ? *mine >= limit.most : *mine <= limit.most);
  }
  const double turn = rows < MILLION ? LONGEST_TURN : LONGEST_TURN_OF_A_MILLION;
  for (const QString& each : report.works()) {
    const auto mine = cpu(report, each, PANEL);
    if (!mine || !each.startsWith(work::TURN)) continue;
    text += verdict(each, QStringLiteral("at most %1 ms").arg(turn), *mine, *mine <= turn);
  }
  return text;
}

QString judgeGrowth(const CReport& small, const CReport& large) {
  constexpr double MOST = 4;
  QString text;
  for (const QString& each : large.works()) {
    const auto before = cpu(small, each, PANEL);
    const auto after = cpu(large, each, PANEL);
    // A turn has a limit of its own.
    if (!before || !after || !large.isDuration(each, PANEL) || each.startsWith(work::TURN)) continue;
    text += verdict(each.trimmed(), QStringLiteral("at most %1 times that of fewer rows").arg(MOST), *after / *before,
                    *after <= MOST * *before);
  }
  return text;
}

}  // namespace bench
