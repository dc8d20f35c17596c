#pragma once

#include <QObject>

namespace app {

/// Brings SIGINT, SIGTERM and SIGHUP to the GUI thread, so that a run ends by them as it ends by itself. The first one
/// is told; any further one ends the program at once. Somebody who wants no hang-up (nohup) gets none. One at a time;
/// GUI thread.
class CSignalWatch : public QObject {
  Q_OBJECT

 public:
  CSignalWatch();
  ~CSignalWatch() override;

 Q_SIGNALS:
  void sigEnd();

 private:
  int m_nRead = -1;
};

}  // namespace app
