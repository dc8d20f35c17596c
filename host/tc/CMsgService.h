#pragma once

#include <QString>

namespace TC {

enum EMsgKind : int { EMK_TaskError = 4 };

/// Messages to the user. Any thread.
class CMsgService {
 public:
  virtual ~CMsgService() = default;
  /// Shows a message once, without waiting for the user.
  virtual void showMsg(const QString& text, int kind) = 0;
};

}  // namespace TC
