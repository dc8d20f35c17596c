/// Messages to the user.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace GV {

class CMessageBox {
 public:
  using Presenter = std::function<void(QWidget* parent, const QString& title, const QString& text)>;

  /// Shows a message and returns when the user closed it, or hands it to the presenter that is installed. GUI thread;
  /// never call it with a lock held.
  static void information(QWidget* parent, const QString& title, const QString& text);
  /// Takes the messages over, e.g. to record them while a script runs; an empty one gives them back to the screen.
  static void setPresenter(Presenter presenter);
};

}  // namespace GV
