/// Work that takes too long for the GUI thread.
#pragma once

#include <QString>
#include <atomic>
#include <functional>

class QWidget;

namespace GV {

/// What a work and the one who waits for it tell each other. Any thread.
class CWorkProgress {
 public:
  static constexpr int SCALE = 1000;

  /// done of total; a total of 0 counts as all done.
  void setDone(qint64 done, qint64 total) { m_nDone = total > 0 ? static_cast<int>(done * SCALE / total) : SCALE; }
  /// 0 to SCALE.
  int done() const { return m_nDone; }
  void cancel() { m_bCancelled = true; }
  bool isCancelled() const { return m_bCancelled; }

 private:
  std::atomic<int> m_nDone{0};
  std::atomic<bool> m_bCancelled{false};
};

/// True when the work was done as a whole; one that is cancelled clears up and says false.
using LongWork = std::function<bool(CWorkProgress& progress)>;

/// Runs a work on a thread of its own and returns when it has ended; the GUI goes on meanwhile, so whatever can happen
/// in an event loop may have happened to the caller. After half a second a dialog with the label shows how far it is
/// and lets the user cancel; so does the end of the program. GUI thread.
bool runLongWork(QWidget* parent, const QString& label, const LongWork& work);

}  // namespace GV
