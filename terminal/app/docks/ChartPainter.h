/// Charts over time, painted from the least and the greatest value of each pixel column, so that a chart costs what it
/// is wide. GUI thread only.
#pragma once

#include <QColor>
#include <QRect>
#include <QString>
#include <vector>

class QPainter;

namespace app {

/// A value at a time; those of a series stand in the order of time.
struct SChartPoint {
  int m_nTime = 0;
  float m_fValue = 0;
};

struct SChartLine {
  std::vector<SChartPoint> m_points;
  const QColor* m_pColour = nullptr;  ///< outlives the chart
};

struct SChart {
  QString m_strTitle;
  QString m_strValue;  ///< stands beside the title: what is now
  std::vector<SChartLine> m_lines;
  /// Between the first two lines, where both have values: filled in this colour; null: nothing.
  const QColor* m_pRibbon = nullptr;
  int m_nBegin = 0;  ///< of the time axis
  int m_nEnd = 0;
  int m_nNow = 0;            ///< up to which there is something to tell
  bool m_bFromZero = false;  ///< the values' axis shows 0, whatever there is
  int m_nTimeOffset = 0;     ///< seconds from UTC, for the axis
};

/// What of a line falls into a pixel column.
struct SChartColumn {
  float m_fLow = 0;
  float m_fHigh = 0;
  float m_fLast = 0;    ///< the newest one in it
  bool m_bAny = false;  ///< a column without points goes on as the one before, from the first point on
};

/// The columns of a width, of the times from begin to end; points outside of them are left out.
std::vector<SChartColumn> chartColumns(const std::vector<SChartPoint>& points, int begin, int end, int width);

void paintChart(QPainter& painter, const QRect& area, const SChart& chart);

/// A number in the fewest figures that a trader reads: "12.3万", "-4.56亿".
QString shortNumber(double value);

}  // namespace app
