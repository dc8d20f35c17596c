#include "docks/ChartPainter.h"

#include <QPainter>
#include <QtMath>
#include <algorithm>
#include <cmath>

#include "gv/CUiResource.h"
#include "tc/AlgoParams.h"

namespace app {
namespace {

using GV::CUiResource;

constexpr int PADDING = 4;  ///< pixels at scale 1, as the next
constexpr int LABEL_GAP = 6;
constexpr int SECONDS_OF_DAY = 24 * 3600;

const QColor& colour(const char* key) { return *CUiResource::getColor(QString::fromLatin1(key)); }

struct SRange {
  double m_dLow = 0;
  double m_dHigh = 0;
  bool m_bAny = false;

  void take(double low, double high) {
    m_dLow = m_bAny ? std::min(m_dLow, low) : low;
    m_dHigh = m_bAny ? std::max(m_dHigh, high) : high;
    m_bAny = true;
  }
};

using Columns = std::vector<SChartColumn>;

SRange rangeOf(const std::vector<Columns>& lines, bool fromZero) {
  SRange range;
  if (fromZero) range.take(0, 0);
  for (const Columns& columns : lines) {
    for (const SChartColumn& column : columns) {
      if (column.m_bAny) range.take(column.m_fLow, column.m_fHigh);
    }
  }
  if (range.m_dHigh - range.m_dLow < 1e-9) {
    range.m_dLow -= 1;
    range.m_dHigh += 1;
  }
  return range;
}

/// Where a value stands in an area.
struct SScale {
  QRect m_area;
  SRange m_range;

  double y(double value) const {
    const double part = (value - m_range.m_dLow) / (m_range.m_dHigh - m_range.m_dLow);
    return m_area.bottom() - part * (m_area.height() - 1);
  }
};

/// A column of pixels between two heights, the lower one first or last. Rectangles, since the raster engine fills these
/// at once and draws lines pixel by pixel.
QRect columnBetween(const SScale& scale, std::size_t column, double one, double other) {
  const int top = qFloor(std::min(one, other));
  return {scale.m_area.left() + static_cast<int>(column), top, 1, qFloor(std::max(one, other)) - top + 1};
}

void fillColumns(QPainter& painter, const QVector<QRect>& columns, const QColor& fill) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(fill);
  painter.drawRects(columns);
  painter.setBrush(Qt::NoBrush);
}

/// From where the column before ended, so that the line has no gap.
void paintLine(QPainter& painter, const SScale& scale, const Columns& columns, const QColor& pen) {
  QVector<QRect> line;
  line.reserve(static_cast<int>(columns.size()));
  double before = std::nan("");
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const SChartColumn& column = columns[i];
    if (!column.m_bAny) continue;
    double low = scale.y(column.m_fLow);
    double high = scale.y(column.m_fHigh);
    if (!std::isnan(before)) {
      low = std::max(low, before);
      high = std::min(high, before);
    }
    line.append(columnBetween(scale, i, low, high));
    before = scale.y(column.m_fLast);
  }
  fillColumns(painter, line, pen);
}

void paintRibbon(QPainter& painter, const SScale& scale, const Columns& one, const Columns& other, const QColor& fill) {
  QVector<QRect> ribbon;
  ribbon.reserve(static_cast<int>(one.size()));
  for (std::size_t i = 0; i < one.size(); ++i) {
    if (!one[i].m_bAny || !other[i].m_bAny) continue;
    ribbon.append(columnBetween(scale, i, scale.y(one[i].m_fLast), scale.y(other[i].m_fLast)));
  }
  fillColumns(painter, ribbon, fill);
}

QString clockText(int time, int offset) {
  const int second = ((time + offset) % SECONDS_OF_DAY + SECONDS_OF_DAY) % SECONDS_OF_DAY;
  return QString::fromStdString(TC::formatSecondOfDay(second)).left(5);
}

/// Title, value and the ends of both axes; gives the area that is left for the lines.
QRect paintLabels(QPainter& painter, const QRect& area, const SChart& chart) {
  const QFontMetrics metrics = painter.fontMetrics();
  const int padding = CUiResource::scaled(PADDING);
  const QRect inner = area.adjusted(padding, padding, -padding, -padding);
  const QRect head(inner.left(), inner.top(), inner.width(), metrics.height());
  const QRect foot(inner.left(), inner.bottom() - metrics.height(), inner.width(), metrics.height());
  painter.setPen(colour("clr_text_title"));
  const QString title = metrics.elidedText(chart.m_strTitle, Qt::ElideRight, head.width());
  painter.drawText(head, Qt::AlignLeft, title);
  const int room = head.width() - metrics.horizontalAdvance(title) - CUiResource::scaled(LABEL_GAP);
  painter.setPen(colour("clr_text_default"));
  painter.drawText(head, Qt::AlignRight, metrics.elidedText(chart.m_strValue, Qt::ElideLeft, room));
  painter.setPen(colour("clr_text_title"));
  painter.drawText(foot, Qt::AlignLeft, clockText(chart.m_nBegin, chart.m_nTimeOffset));
  painter.drawText(foot, Qt::AlignRight, clockText(chart.m_nEnd, chart.m_nTimeOffset));
  return {inner.left(), head.bottom() + padding, inner.width(), foot.top() - head.bottom() - 2 * padding};
}

void paintRange(QPainter& painter, const SScale& scale) {
  painter.setPen(QPen(colour("clr_line"), 1));
  painter.drawRect(scale.m_area.adjusted(0, 0, -1, -1));
  if (scale.m_range.m_dLow < 0 && scale.m_range.m_dHigh > 0) {
    const int zero = qRound(scale.y(0));
    painter.drawLine(scale.m_area.left(), zero, scale.m_area.right(), zero);
  }
}

/// Over the lines and on a ground of its own, so that it stays readable where a line begins steeply.
void paintEnd(QPainter& painter, const QRect& area, Qt::Alignment at, const QString& text) {
  const QRect place = painter.fontMetrics().boundingRect(area, static_cast<int>(Qt::AlignLeft | at), text);
  painter.fillRect(place, colour("clr_table_background"));
  painter.drawText(place, static_cast<int>(Qt::AlignLeft | at), text);
}

void paintEnds(QPainter& painter, const SScale& scale) {
  const QRect area = scale.m_area.adjusted(CUiResource::scaled(3), 1, 0, -1);
  if (area.height() < painter.fontMetrics().height() * 2) return;
  painter.setPen(colour("clr_text_title"));
  paintEnd(painter, area, Qt::AlignTop, shortNumber(scale.m_range.m_dHigh));
  paintEnd(painter, area, Qt::AlignBottom, shortNumber(scale.m_range.m_dLow));
}

}  // namespace

QString shortNumber(double value) {
  const double size = std::fabs(value);
  if (size >= 1e8) return QStringLiteral("%1亿").arg(value / 1e8, 0, 'f', 2);
  if (size >= 1e4) return QStringLiteral("%1万").arg(value / 1e4, 0, 'f', size >= 1e6 ? 0 : 1);
  return QString::number(value, 'f', size >= 100 || value == std::floor(value) ? 0 : 2);
}

std::vector<SChartColumn> chartColumns(const std::vector<SChartPoint>& points, int begin, int end, int width) {
  std::vector<SChartColumn> columns(static_cast<std::size_t>(std::max(width, 0)));
  if (columns.empty() || end <= begin) return columns;
  const double step = static_cast<double>(width) / (static_cast<double>(end) - begin + 1);
  std::size_t last = 0;
  for (const SChartPoint& point : points) {
    if (point.m_nTime < begin || point.m_nTime > end) continue;
    last = static_cast<std::size_t>((point.m_nTime - begin) * step);
    SChartColumn& column = columns[last];
    column.m_fLow = column.m_bAny ? std::min(column.m_fLow, point.m_fValue) : point.m_fValue;
    column.m_fHigh = column.m_bAny ? std::max(column.m_fHigh, point.m_fValue) : point.m_fValue;
    column.m_fLast = point.m_fValue;
    column.m_bAny = true;
  }
  // Behind the newest point nothing is known.
  for (std::size_t i = 1; i <= last; ++i) {
    if (columns[i].m_bAny || !columns[i - 1].m_bAny) continue;
    const float value = columns[i - 1].m_fLast;
    columns[i] = {value, value, value, true};
  }
  return columns;
}

void paintChart(QPainter& painter, const QRect& area, const SChart& chart) {
  painter.setFont(CUiResource::getFont(QStringLiteral("fnt_default_small")));
  const QRect plot = paintLabels(painter, area, chart);
  if (plot.height() < 2 || plot.width() < 2) return;
  std::vector<Columns> lines;
  for (const SChartLine& line : chart.m_lines) {
    lines.push_back(chartColumns(line.m_points, chart.m_nBegin, chart.m_nEnd, plot.width()));
  }
  const SScale scale{plot, rangeOf(lines, chart.m_bFromZero)};
  paintRange(painter, scale);
  if (chart.m_pRibbon && lines.size() > 1) paintRibbon(painter, scale, lines[0], lines[1], *chart.m_pRibbon);
  for (std::size_t i = 0; i < lines.size(); ++i) paintLine(painter, scale, lines[i], *chart.m_lines[i].m_pColour);
  paintEnds(painter, scale);
}

}  // namespace app
