/// The system's clipboard.
#pragma once

#include <QString>
#include <functional>

namespace GV {

/// GUI thread.
class CClipboard {
 public:
  using Observer = std::function<void(const QString& text)>;

  static void setText(const QString& text);
  /// Is told of each text just before it is set; an empty one ends it.
  static void setObserver(Observer observer);
};

}  // namespace GV
