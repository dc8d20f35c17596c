#include "DisplayScale.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <algorithm>

#include "Options.h"
#include "gv/CUiResource.h"

namespace app {
namespace {

constexpr double DOTS_AT_SCALE_1 = 96;

int percentOf(const QScreen& screen) {
  const int percent = qRound(100 * screen.logicalDotsPerInch() / DOTS_AT_SCALE_1);
  return std::clamp(percent, MIN_SCALE_PERCENT, MAX_SCALE_PERCENT);
}

void apply(int percent) {
  GV::CUiResource::setScale(percent / 100.0);
  GV::CUiResource::applyToApplication();
}

void follow(QWindow& window, QScreen* screen) {
  if (screen == nullptr) return;
  apply(percentOf(*screen));
  QObject::connect(screen, &QScreen::logicalDotsPerInchChanged, &window, [&window, screen] {
    if (window.screen() == screen) apply(percentOf(*screen));
  });
}

}  // namespace

void switchQtScalingOff() {
  QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
  for (const char* name : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_AUTO_SCREEN_SCALE_FACTOR",
                           "QT_ENABLE_HIGHDPI_SCALING", "QT_DEVICE_PIXEL_RATIO"}) {
    qunsetenv(name);
  }
}

void applyScale(std::optional<int> percent) {
  const QScreen* screen = QGuiApplication::primaryScreen();
  apply(percent ? *percent : screen != nullptr ? percentOf(*screen) : MIN_SCALE_PERCENT);
}

void followScreen(QWidget& window, const SOptions& options) {
  if (options.m_nScalePercent) return;
  window.winId();
  QWindow& shown = *window.windowHandle();
  QObject::connect(&shown, &QWindow::screenChanged, &shown, [&shown](QScreen* screen) { follow(shown, screen); });
  follow(shown, shown.screen());
}

}  // namespace app
