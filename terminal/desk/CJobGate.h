#pragma once

#include <QObject>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "utils/JobMonitor.h"

namespace desk {

/// Keeps the jobs of a panel's queue and the changes of the desk apart while a recording is made, so that the journal
/// can say what the panel saw when. Counts the jobs always, so that a replay can wait for them.
/// From the moment a job was posted, changes that come from host threads wait until no job is left; a job begins once
/// the change that is under way has ended. The GUI thread is never held back.
class CJobGate : public utils::IJobMonitor {
 public:
  /// Called where a job begins, on the worker, while no change is under way. Must not change the desk.
  using BeginHook = std::function<void(utils::EPanelJob)>;
  /// Called on the GUI thread when it has worked off what a change or a job queued for it; while it answers false, the
  /// fence stays and it is called again.
  using FenceHook = std::function<bool()>;

  void jobPosted(utils::EPanelJob job) override;
  void jobBegins(utils::EPanelJob job) override;
  void jobEnded(utils::EPanelJob job) override;

  /// Whether jobs and changes exclude each other; the hooks may be empty. GUI thread, while no job is posted.
  void setRecording(bool on, BeginHook beginHook = {}, FenceHook fenceHook = {});

  /// While a recording is made, no further change or job begins until the GUI thread has worked off what is queued for
  /// it now, so that what follows from a change stands right behind it. The end of a job makes one too. Any thread,
  /// within the change.
  void fence();
  /// A fence for what the user does, while no change is under way, whose end the GUI thread waits for; false, and none
  /// is set, unless it is settled then. GUI thread.
  bool fenceIfSettled();
  /// Fences hold nothing back any more: the GUI thread is about to wait for the other threads. GUI thread.
  void dropFences();

  /// While on, no job begins: a replay lets the GUI thread finish what it does before a job that it posted runs. Any
  /// thread.
  void setHold(bool on);

  /// True when no job is posted or runs. Any thread.
  bool isIdle() const;
  /// True from where a job begins until it has ended. Any thread.
  bool isRunning() const;
  /// True when besides the GUI thread has passed every fence: what it shows is what the last job saw. Any thread.
  bool isSettled() const;
  /// Waits until no job is posted or runs; false after msec milliseconds. Any thread but the worker.
  bool waitIdle(int msec) const;
  /// Runs action on the GUI thread while no job is left: now when there is none or nothing is recorded, else after the
  /// jobs and what they queued for the GUI thread. GUI thread.
  void whenIdle(std::function<void()> action);

  /// One change of the desk, or one delivery. May be nested on one thread.
  class CChange {
   public:
    explicit CChange(CJobGate& gate);
    CChange(const CChange&) = delete;
    CChange& operator=(const CChange&) = delete;
    ~CChange();

   private:
    CJobGate& m_gate;
    bool m_bHeld;
  };

 private:
  bool mustWait() const;
  bool isSettledLocked() const { return m_nJobs == 0 && m_nFences == 0; }
  void passFence();
  bool beginChange();
  void endChange();

  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  bool m_bRecording = false;
  bool m_bHold = false;
  bool m_bFencesDropped = false;
  int m_nJobs = 0;  ///< posted and not ended
  bool m_bRunning = false;
  int m_nFences = 0;  ///< not passed by the GUI thread
  std::thread::id m_changer;
  int m_nChangeDepth = 0;
  BeginHook m_beginHook;
  FenceHook m_fenceHook;
  QObject m_receiver;  ///< of what is queued for the GUI thread, on which a gate is made
};

}  // namespace desk
