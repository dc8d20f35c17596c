#pragma once

#include <QDockWidget>

#include "gv/CUiResource.h"

class QPlainTextEdit;

namespace app {

/// The host's messages and the engine's events, newest last, each with the simulated time of day. GUI thread only.
class CLogDock : public QDockWidget {
  Q_OBJECT

 public:
  enum class ELevel { Info, Warning };

  explicit CLogDock(QWidget* parent);
  /// time: milliseconds since midnight of the simulated day.
  void append(qint64 time, const QString& text, ELevel level);

 private:
  QPlainTextEdit* m_pText;
};

}  // namespace app
