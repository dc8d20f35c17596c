#pragma once

#include <QString>
#include <functional>

namespace TC {

/// Pages of the host's settings.
enum ESettingPage : int { ID_SETTING_NAVI_CONTROLVISIBLE = 1 };  ///< which columns of a panel's table are visible

/// The host's dialog of settings. GUI thread.
class CSettingDialogNew {
 public:
  /// Shows a page; text says of what, for the visible columns the panel's trader type in decimal.
  using Presenter = std::function<void(ESettingPage page, const QString& text)>;

  /// Opens the dialog on a page; nothing happens while the host has installed no presenter.
  static void showSettingPage(ESettingPage page, const QString& text);
  /// Installed by the host; an empty one takes it away.
  static void setPresenter(Presenter presenter);
};

}  // namespace TC
