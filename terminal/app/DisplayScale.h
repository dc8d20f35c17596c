/// The size of what shows on the screen.
#pragma once

#include <optional>

class QWidget;

namespace app {

struct SOptions;

/// Takes Qt's own scaling away, whatever the environment says: sizes are scaled once, by the resources. Before the
/// application is made.
void switchQtScalingOff();
/// Applies the scale that the user chose, else that of the primary screen.
void applyScale(std::optional<int> percent);
/// Has the scale follow the screen on which the window stands, while the window lives, unless the user chose one.
void followScreen(QWidget& window, const SOptions& options);

}  // namespace app
