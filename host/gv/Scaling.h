/// Sizes that a widget is given, kept in step with the display scale. All are pixels at scale 1. GUI thread only.
#pragma once

#include <QMargins>
#include <QSize>
#include <functional>

class QLayout;
class QObject;
class QWidget;

namespace GV {

/// Runs apply now, and after each change of the scale as long as the owner lives.
void followScale(QObject& owner, std::function<void()> apply);

void setScaledFixedSize(QWidget& widget, const QSize& size);
void setScaledFixedWidth(QWidget& widget, int width);
void setScaledFixedHeight(QWidget& widget, int height);
/// Resizes the window now and with each change of the scale: in proportion, so that a size that the user gave it stays.
void setScaledWindowSize(QWidget& window, const QSize& size);
void setScaledMargins(QLayout& layout, const QMargins& margins);
void setScaledSpacing(QLayout& layout, int spacing);

}  // namespace GV
