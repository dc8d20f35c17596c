#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QObject>
#include <QProgressBar>
#include <cstdint>
#include <memory>
#include <string>

namespace app {

/// Tells how far a day has come that is run again: in a small window, in which the user can give up, or, without one,
/// by a line on standard error where it takes long. GUI thread, whose events it handles meanwhile.
class CDayProgress : public QObject {
  Q_OBJECT

 public:
  /// begin and end: of what is run again, milliseconds since midnight.
  struct SSpan {
    std::int64_t m_nBegin = 0;
    std::int64_t m_nEnd = 0;
  };
  CDayProgress(std::string file, SSpan span, bool headless);

  /// The clock has come to msec since midnight. False once the user has given up.
  bool advance(std::int64_t msec);
  void giveUp() { m_bGivenUp = true; }
  bool isGivenUp() const { return m_bGivenUp; }
  /// It has come to its end.
  void hide() { m_pWindow.reset(); }

 private:
  void tell();
  void show(std::int64_t msec);
  void makeWindow();

  const std::string m_strFile;
  const SSpan m_span;
  const bool m_bHeadless;
  QElapsedTimer m_timer;
  qint64 m_nShown = 0;  ///< when, milliseconds of the timer
  bool m_bTold = false;
  bool m_bGivenUp = false;
  std::unique_ptr<QDialog> m_pWindow;  ///< null until it takes long
  QLabel* m_pText = nullptr;
  QProgressBar* m_pBar = nullptr;
};

}  // namespace app
