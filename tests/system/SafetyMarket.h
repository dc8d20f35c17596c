/// A market of the test's own, which trades what the panel asks for, and what is true of it: honest, and able to do in
/// a moment what an exchange needs a day for.
#pragma once

#include <functional>
#include <list>
#include <memory>

#include "SafetyBroker.h"

namespace test {

using engine::LineKey;

struct SLineTruth {
  long long m_nTarget = 0;    ///< of the basket itself
  long long m_nTraded = 0;    ///< with all patches
  long long m_nMayTrade = 0;  ///< what is traded, open or still to be sent, in the basket and all its patches
  double m_dAmount = 0;
};
/// By line; a line's instrument tells its basket.
using Truth = std::map<LineKey, SLineTruth>;

/// One thread. Texts are those of a refusal, empty for none.
class CSafetyMarket {
 public:
  /// Told the newest state of each detail that changed, and of a server task's orders beside it.
  using Tell = std::function<void(const desk::SPublication&, const boost::shared_ptr<const TC::CTaskProgress>&)>;
  using Counts = std::function<bool(const ksservice::CTaskDetail&)>;

  CSafetyMarket(const SDayPlan& plan, Random& random, Tell tell);

  /// Returns the basket's task.
  int start(const engine::SBasketOrder& basket);
  /// Milliseconds since midnight. Lets something happen to each sub-task, whatever time has passed.
  void advanceTo(std::int64_t msec);
  /// Returns the patch's task, or 0 and why not.
  std::pair<int, std::string> create(const desk::SCreateRequest& request);
  std::string operate(const std::string& serverTaskKey, int operation);
  void operateLocal(int taskId, const std::string& account, int operation);
  std::pair<TC::OrderProcessMap, std::string> query(const std::vector<std::string>& serverTaskKeys);
  /// Every line as it stands now; may trade: by the details that count.
  Truth truth(const Counts& counts) const;
  void endDay();
  /// What is wrong with the accounts' money, positions and rates; empty: nothing.
  std::string accountFault() const { return m_strDayFault.empty() ? m_pBroker->fault() : m_strDayFault; }

 private:
  using Lines = std::vector<ksservice::CCodeOrderParam>;

  struct SOrder {
    ksservice::COrderInfoPtr m_pInfo;  ///< never changed
    std::size_t m_nLine;
    int m_nParamIndex;          ///< that its progress names
    std::uint64_t m_nId = 0;    ///< at the broker; 0: it was refused
    bool m_bCancelled = false;  ///< or refused

    bool isOpen() const { return !m_pInfo->m_bCompleted; }
    /// What it has traded or may still.
    long long claim() const { return isOpen() ? m_pInfo->m_nVolume : m_pInfo->m_nTradedVolume; }
  };

  struct SSubTask {
    ksservice::CTaskDetail m_state;  ///< but its orders
    std::vector<SOrder> m_orders;
    std::set<std::size_t> m_refused;  ///< lines of which the account could not pay or deliver an order
    bool m_bStopping = false;         ///< nothing more is sent
    bool m_bChanged = true;

    bool isOver() const { return m_state.m_nStatus >= ksservice::ETS_Finished; }
    bool isPatch() const { return m_state.m_pCommand->m_bPatch; }
    long long ordered(std::size_t line) const;
  };

  int make(ksservice::COrderCommand command, const Lines& lines);
  std::vector<Lines> partsOf(const Lines& lines, bool together);
  std::string fault(const desk::SCreateRequest& request) const;
  void live(SSubTask& task);
  void send(SSubTask& task, std::size_t line);
  void trade(SSubTask& task, SOrder& order);
  void cancelOrders(SSubTask& task);
  void stop(SSubTask& task);
  void endIfDone(SSubTask& task);
  void end(SSubTask& task, int status);
  bool apply(SSubTask& task, int operation);
  void publish();
  boost::shared_ptr<TC::CTaskProgress> progressOf(const SSubTask& task) const;
  SSubTask* find(const std::string& serverTaskKey);
  int seconds() const { return static_cast<int>(m_plan.m_nDayStart + m_nNow / 1000); }

  const SDayPlan& m_plan;
  Random& m_random;
  Tell m_tell;
  std::int64_t m_nNow = exchange::DAY_OPENS;
  int m_nTasks = 0;
  int m_nEndPercent;
  int m_nMessagePercent;
  std::list<SSubTask> m_subTasks;
  std::unique_ptr<CSafetyBroker> m_pBroker;  ///< of a day, from its first basket on
  bool m_bDayOver = true;
  std::string m_strDayFault;
};

}  // namespace test
