#pragma once

#include <QObject>
#include <QPointer>
#include <memory>
#include <utility>
#include <vector>

class QEvent;
class QWindow;
namespace desk {
class CJobGate;
}

namespace journal {

/// Puts what the user clicks and types aside while the panel is about to show something else, and hands it on when it
/// does: a replay shows the outcome of a job before the next act is done, so a recording must too. From input that goes
/// on until the GUI thread is back at its events nothing changes beside it. GUI thread.
class CInputDelay : public QObject {
  Q_OBJECT

 public:
  /// Takes the program's input while it lives. The gate must outlive it.
  explicit CInputDelay(desk::CJobGate& gate);
  ~CInputDelay() override;

  /// The panel may be settled now; what was put aside is handed on if it is.
  void release();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void handOn();

  desk::CJobGate& m_gate;
  std::vector<std::pair<QPointer<QWindow>, std::unique_ptr<QEvent>>> m_waiting;
};

}  // namespace journal
