#pragma once

#include <QDockWidget>

class QPlainTextEdit;

namespace app {

inline constexpr qint64 DAY_MSEC = 24LL * 3600 * 1000;
/// HH:mm:ss of a time in milliseconds since some midnight, on whatever day.
QString timeOfDayText(qint64 msec);

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
