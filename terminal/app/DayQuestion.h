/// What the user is asked about the day that is kept. GUI thread; both run an event loop.
#pragma once

#include <QMainWindow>
#include <QMenu>
#include <functional>

#include "DayChoice.h"

namespace app {

/// Before there is a window. Who just presses Enter goes on, who presses Escape leaves.
EDayAnswer askOfDay(const SDayQuestion& question);

/// The menu of a session, before the others of the window, which owns it: the end of the trading day, which asks first
/// and then calls end, once.
QMenu* addSessionMenu(QMainWindow& window, std::function<void()> end);

}  // namespace app
