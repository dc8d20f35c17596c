#include "gv/Helpers.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

namespace GV {

namespace {

/// Below this ratio of luminances small texts are hard to read.
constexpr double MIN_CONTRAST = 4.5;

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor mixed(const QColor& a, const QColor& b, double share) {
  const auto part = [share](double x, double y) { return x + (y - x) * share; };
  return QColor::fromRgbF(part(a.redF(), b.redF()), part(a.greenF(), b.greenF()), part(a.blueF(), b.blueF()));
}

}  // namespace

double contrast(const QColor& a, const QColor& b) {
  const double first = luminance(a) + 0.05;
  const double second = luminance(b) + 0.05;
  return first > second ? first / second : second / first;
}

QString formatDoubleNumber(double value, int precision, int /*flags*/, bool /*grouping*/, const QString& invalidText) {
  return std::isfinite(value) ? QString::number(value, 'f', precision) : invalidText;
}

QColor readableColor(const QColor& wish, const QColor& ground, const QColor& text) {
  constexpr int STEPS = 10;
  QColor color = wish;
  for (int step = 1; step <= STEPS && contrast(color, ground) < MIN_CONTRAST; ++step) {
    color = mixed(wish, text, static_cast<double>(step) / STEPS);
  }
  return color;
}

QPoint ptInsideScreen(const QPoint& point, const QSize& size) {
  const QScreen* screen = QGuiApplication::screenAt(point);
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  const QRect area = screen->availableGeometry();
  const int left = std::max(area.left(), std::min(point.x(), area.right() + 1 - size.width()));
  const int top = std::max(area.top(), std::min(point.y(), area.bottom() + 1 - size.height()));
  return {left, top};
}

}  // namespace GV
