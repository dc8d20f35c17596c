#include "Bars.h"

#include <algorithm>
#include <optional>

#include "Works.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");
const QString FLOOR = QStringLiteral("floor");

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
      {work::REFRESH, 6, 0, 50},
      {work::SPARSE_TASKS, 0, 1.2, 0, work::REPAINT_COLD},
      {work::SPARSE_ROWS, 0, 1.2, 0, work::REPAINT_COLD},
      {work::HIDE, 3, 3, 15},
      {work::SHOW, 3, 3, 15},
      {work::FOLD, 3, 3, 15},
      {work::UNFOLD, 3, 3, 15},
      {work::SORT, 3, 3, 15},
      {work::EXPORT, 1.5, 0, 0},
  };
  return list;
}

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
  return padded(name, 34) + padded(asked, 48) + padded(QString::number(measured, 'f', 2), 10) +
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

QString judge(const CReport& report) {
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
  constexpr double MAX_BYTES = 600;
  if (const auto bytes = cpu(report, work::BYTES, PANEL)) {
    text += verdict(work::BYTES, QStringLiteral("at most %1").arg(MAX_BYTES), *bytes, *bytes <= MAX_BYTES);
  }
  return text;
}

}  // namespace bench
