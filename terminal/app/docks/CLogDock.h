#pragma once

#include <QDockWidget>
#include <deque>

class QComboBox;
class QLineEdit;
class QPlainTextEdit;

namespace app {

inline constexpr qint64 DAY_MSEC = 24LL * 3600 * 1000;
/// HH:mm:ss of a time in milliseconds since some midnight, on whatever day.
QString timeOfDayText(qint64 msec);

/// The host's messages and the engine's events, newest last, each with the simulated time of day; those of a level,
/// and with a text, that the user asks for. Takes them while it is hidden, too. GUI thread only.
class CLogDock : public QDockWidget {
  Q_OBJECT

 public:
  enum class ELevel { Info, Warning };

  explicit CLogDock(QWidget* parent);
  /// time: milliseconds since midnight of the simulated day.
  void append(qint64 time, const QString& text, ELevel level);
  /// Forgets all lines.
  void clear();

 private:
  struct SLine {
    qint64 m_nTime;
    QString m_strText;
    ELevel m_eLevel;
  };

  bool passes(const SLine& line) const;
  void showLine(const SLine& line);
  void showAll();

  std::deque<SLine> m_lines;  ///< the newest ones
  QComboBox* m_pLevel;
  QLineEdit* m_pSearch;
  QPlainTextEdit* m_pText;
};

}  // namespace app
