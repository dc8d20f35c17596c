/// Asking the user for a file.
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace GV {

/// GUI thread; never ask with a lock held.
class CFileDialog {
 public:
  using Presenter = std::function<QString(QWidget* parent, const QString& caption)>;

  /// Asks under which name to save, or has the presenter that is installed answer; empty when the user cancelled. The
  /// terminal's other events go on meanwhile.
  static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                 const QString& filter);
  /// Takes the questions over, e.g. to answer them while a script runs, and gives back who took them before; an empty
  /// one gives them back to the screen.
  static Presenter setPresenter(Presenter presenter);
};

}  // namespace GV
