#include "gv/Helpers.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

namespace GV {

QString formatDoubleNumber(double value, int precision, int /*flags*/, bool /*grouping*/, const QString& invalidText) {
  return std::isfinite(value) ? QString::number(value, 'f', precision) : invalidText;
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
