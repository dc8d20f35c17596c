#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QEvent;
class QWindow;

namespace journal {

/// Puts what the user clicks and types aside while the panel is about to show something else, and hands it on when it
/// does: a replay shows the outcome of a job before the next act is done, so a recording must too. Nothing waits for
/// it but the input itself. GUI thread.
class CInputDelay : public QObject {
  Q_OBJECT

 public:
  /// settled tells whether the panel shows what its last job saw. Takes the program's input while it lives.
  explicit CInputDelay(std::function<bool()> settled);
  ~CInputDelay() override;

  /// The panel may be settled now; what was put aside is handed on if it is.
  void release();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void handOn();

  std::function<bool()> m_settled;
  std::vector<std::pair<QPointer<QWindow>, std::unique_ptr<QEvent>>> m_waiting;
};

}  // namespace journal
