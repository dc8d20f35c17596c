/// The size of what shows on the screen.
#pragma once

#include <optional>

class QWindow;

namespace app {

/// Takes Qt's own scaling away, whatever the environment says: sizes are scaled once, by the resources. Before the
/// application is made.
void switchQtScalingOff();
/// Applies the scale that the user chose, else that of the primary screen.
void applyScale(std::optional<int> percent);
/// Has the scale follow the screen on which the window stands, while the window lives.
void followScreen(QWindow& window);

}  // namespace app
