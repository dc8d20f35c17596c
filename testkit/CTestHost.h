#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CDesk.h"
#include "CHostServices.h"
#include "tc/CItCommandCenter.h"

namespace testkit {

/// The terminal's desk with a record of what was asked of it. Where a test needs what no desk does, something stands
/// before the desk: answers may come late, in any order or never, and whoever asks may be held or thrown at.
/// Installed for its life. Set and take operations may be called on any thread.
class CTestHost : private desk::IDeskDriver, private desk::IDeskObserver {
 public:
  using EClock = desk::CHostServices::EClock;
  struct SHedgeCall {
    int group = 0;
    int command = 0;
    ksservice::CBasketHedgeParam param;
  };
  enum class ECall { OperateLocal, PauseLocal, ResumeLocal, OperateServer, PauseHedge, StopHedge };
  /// One request without parameters of its own.
  struct SCall {
    ECall kind;
    std::string key;  ///< server task key, or account key of a local task
    int id;           ///< task identifier of a local task, group of a hedge
    desk::OpRecordPtr record;
    TC::CItCommandCenter::OperateCompletion completion;
  };
  struct SCreation : desk::SCreateRequest {
    TC::CItCommandCenter::CreateCompletion completion;
  };
  struct SQuery {
    std::vector<std::string> tasks;
    TC::OrderProcessCompletion completion;
  };

  /// With a manual clock, time stands still and timers wait for the test.
  explicit CTestHost(EClock clock = EClock::Manual);
  ~CTestHost() override;
  CTestHost(const CTestHost&) = delete;
  CTestHost& operator=(const CTestHost&) = delete;

  // What the host knows
  desk::CDesk& desk() { return m_desk; }
  desk::CHostServices& services() { return m_services; }
  /// Changes something of the session: user "u1", login "L1", trader type 1, at second 0 of UTC.
  void change(const std::function<void(desk::SSession&)>& what);
  /// What outlives a panel is forgotten, as by a start of the program. Without a panel; GUI thread.
  void forgetProcess();
  void setAccount(const ksservice::CAccountInfo& account);
  void setCommand(const ksservice::COrderCommand& command);
  void setOrderDetail(const std::string& tag, bool cancelled);
  /// Called with the code, account or detail key for which the host is asked ("order" and "hedge" where there is
  /// none), with "operate 123" or "operate 123-1" before an operation and with "stop hedge", on the asking thread: a
  /// test holds who asks, or throws at him. Empty: nothing.
  void setMeeting(std::function<void(const std::string& key)> meeting);
  /// Whether it tells what has changed, so that it need not be asked for everything: it does at first.
  void tellChanges(bool tells) { m_bTellsChanges = tells; }
  void moveClock(double msec);
  /// Milliseconds of the timers that wait and whose context lives, in the order in which they were asked for.
  std::vector<int> heldTimers() { return m_services.manualClock()->pendingTimers(); }
  /// Runs the timers that wait and whose context lives; what they ask for waits in turn. GUI thread.
  void fireTimers() { m_services.manualClock()->firePendingTimer(); }
  /// Waits until the panels' queues have no job left; returns how many refreshes have ended since the host was made.
  long waitForJobs();
  /// Whether the panels' queues have a job left.
  bool hasJobs() { return !m_desk.gate().isIdle(); }
  /// Places a detail in the data centre and tells the subscribers, on the calling thread; not its command.
  void deliver(const ksservice::CTaskDetailPtr& detail, desk::EVia via = desk::EVia::Feed);
  /// Places a detail in the data centre only.
  void store(const ksservice::CTaskDetailPtr& detail) { deliver(detail, desk::EVia::Store); }

  // What was asked of the host, oldest first; each call empties its record
  std::vector<ksservice::CTaskDetailPtr> takeUpdatedDetails() { return take(m_updated); }
  std::vector<SHedgeCall> takeHedgeParams() { return take(m_hedgeParams); }
  std::vector<int> takeStartedHedges() { return take(m_startedHedges); }
  std::vector<SCall> takeCalls() { return take(m_calls); }
  std::vector<SCreation> takeCreations() { return take(m_creations); }
  std::vector<SQuery> takeQueries() { return take(m_queries); }
  std::vector<std::pair<QString, int>> takeMessages() { return take(m_messages); }
  std::vector<std::string> takeLog() { return take(m_log); }

 private:
  struct SGates;
  using Lock = std::lock_guard<std::mutex>;

  void operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) override;
  void pauseLocalTask(int taskId, const desk::AccountPtr& account) override;
  void resumeLocalTask(int taskId, const desk::AccountPtr& account) override;
  void setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void startHedge(int groupId) override { add(m_startedHedges, groupId); }
  void pauseHedge(int groupId) override { add(m_calls, {ECall::PauseHedge, {}, groupId, {}, {}}); }
  void stopHedge(int groupId) override {
    meet("stop hedge");
    add(m_calls, {ECall::StopHedge, {}, groupId, {}, {}});
  }
  void onUpdateData(const ksservice::CTaskDetailPtr& detail) override { add(m_updated, detail); }
  void onShowMsg(const QString& text, int kind) override { add(m_messages, {text, kind}); }
  void meet(const std::string& key) const;

  template <typename Value>
  void add(std::vector<Value>& record, Value value) {
    const Lock lock(m_mutex);
    record.push_back(std::move(value));
  }
  template <typename Value>
  std::vector<Value> take(std::vector<Value>& record) {
    const Lock lock(m_mutex);
    return std::exchange(record, {});
  }

  desk::CDesk m_desk;
  desk::CHostServices m_services;
  std::atomic<bool> m_bTellsChanges = true;
  mutable std::mutex m_mutex;  ///< guards the rest
  std::function<void(const std::string&)> m_meeting;
  long m_nRefreshes = 0;
  std::vector<ksservice::CTaskDetailPtr> m_updated;
  std::vector<SHedgeCall> m_hedgeParams;
  std::vector<int> m_startedHedges;
  std::vector<SCall> m_calls;
  std::vector<SCreation> m_creations;
  std::vector<SQuery> m_queries;
  std::vector<std::pair<QString, int>> m_messages;
  std::vector<std::string> m_log;
  std::unique_ptr<SGates> m_pGates;
};

}  // namespace testkit
