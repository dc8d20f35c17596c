#pragma once

#include <QString>

namespace TC {

enum EMsgKind : int { EMK_TaskError = 4 };

/// Messages to the user.
class CMsgService {
 public:
  virtual ~CMsgService() = default;
  /// Shows a message once, without waiting for the user. Any thread.
  virtual void showMsg(const QString& text, int kind) = 0;
  /// Shows a message in a box of its own and returns when the user closed it; meanwhile events are handled. Unless the
  /// host shows its own, GV::CMessageBox before the active window. GUI thread; never called with a lock held.
  virtual void showBox(const QString& title, const QString& text);
};

}  // namespace TC
