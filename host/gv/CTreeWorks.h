#pragma once

#include <QObject>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace GV {

/// Works out on a thread of its own what would hold up the GUI thread: one work at a time. GUI thread, but for the
/// works themselves.
class CTreeWorks : public QObject {
 public:
  /// What is to be done on the GUI thread with what a work found.
  using Done = std::function<void()>;
  using Work = std::function<Done()>;

  explicit CTreeWorks(QObject* parent) : QObject(parent) {}
  /// Waits for the work that is running; what it finds is dropped.
  ~CTreeWorks() override;

  bool isBusy() const { return m_bBusy; }
  /// Not while another one is running.
  void run(Work work);

 private:
  void loop();

  std::thread m_thread;  ///< made with the first work
  std::mutex m_mutex;    ///< guards the next two
  Work m_work;           ///< to be done; empty for none
  bool m_bEnd = false;
  std::condition_variable m_wake;
  bool m_bBusy = false;
};

}  // namespace GV
