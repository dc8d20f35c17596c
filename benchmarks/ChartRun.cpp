#include "ChartRun.h"

#include <QImage>
#include <QPainter>
#include <cmath>

#include "Measure.h"
#include "docks/ChartPainter.h"
#include "gv/CUiResource.h"

namespace bench {
namespace {

constexpr int CHARTS = 10;
constexpr int POINTS = 15000;
constexpr QSize SIZE(800, 110);

/// A walk that is another in each chart, and a second line beside it with a ribbon between them.
app::SChart makeChart(int number) {
  const QColor* colour = GV::CUiResource::getColor(QStringLiteral("clr_chart_line"));
  app::SChart chart;
  chart.m_strTitle = QStringLiteral("对冲");
  chart.m_nEnd = POINTS;
  chart.m_pRibbon = GV::CUiResource::getColor(QStringLiteral("clr_chart_ribbon"));
  chart.m_lines = {{{}, colour}, {{}, colour}};
  for (int i = 0; i < POINTS; ++i) {
    const double value = std::sin(i * 0.001 * (number + 1)) * 1e6 + std::sin(i * 1.7) * 1e5;
    chart.m_lines[0].m_points.push_back({i, static_cast<float>(value)});
    chart.m_lines[1].m_points.push_back({i, static_cast<float>(value * 0.9)});
  }
  return chart;
}

}  // namespace

void runCharts(int runs, CReport& report) {
  std::vector<app::SChart> charts;
  charts.reserve(CHARTS);
  for (int i = 0; i < CHARTS; ++i) charts.push_back(makeChart(i));
  QImage image(SIZE.width(), SIZE.height() * CHARTS, QImage::Format_ARGB32_Premultiplied);
  CLimit limit;
  const auto clear = [&image] { image.fill(Qt::black); };
  const auto paint = [&image, &charts] {
    QPainter painter(&image);
    for (int i = 0; i < CHARTS; ++i) {
      app::paintChart(painter, QRect(QPoint(0, i * SIZE.height()), SIZE), charts[static_cast<std::size_t>(i)]);
    }
  };
  report.add(work::CHARTS, QStringLiteral("panel"), measure(runs, limit, clear, paint));
}

}  // namespace bench
