/// Small conversions of the UI kit. Any thread.
#pragma once

#include <QColor>
#include <QString>
#include <string>

class QPoint;
class QSize;

namespace GV {

inline QString sToQs(const std::string& text) { return QString::fromStdString(text); }

/// Fixed notation without thousands separators, as QString::number gives it; invalidText for a value that is no
/// number. This kit knows neither flags nor the grouping switch, both of which its callers leave at 0 and false.
QString formatDoubleNumber(double value, int precision, int flags, bool grouping, const QString& invalidText);

/// Ratio of the luminances of two opaque colours, from 1 (none) to 21, as WCAG 2 defines it.
double contrast(const QColor& a, const QColor& b);

/// A text's colour as it can be read on a ground: the wish, mixed with the theme's own text colour as far as its
/// contrast is too low.
QColor readableColor(const QColor& wish, const QColor& ground, const QColor& text);

/// The nearest place to point at which a window of this size lies inside the screen. GUI thread.
QPoint ptInsideScreen(const QPoint& point, const QSize& size);

}  // namespace GV
