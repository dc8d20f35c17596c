#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "CDesk.h"
#include "COrderSheet.h"
#include "IOrderOwner.h"
#include "SplitLines.h"
#include "ksservice/CTaskDetail.h"

namespace engine {

/// One account's part of a basket: its lines, its orders and what becomes of them. Knows no market and no clock: the
/// engine tells it what happened. Everything on the engine's thread; what publish() handed out is never changed.
class CSubTask : public IOrderOwner {
 public:
  struct SIdentity {
    boost::shared_ptr<ksservice::COrderCommand> m_pCommand;
    boost::shared_ptr<ksservice::CAccountInfo> m_pAccount;
    int m_nNumber = 1;  ///< sub-task number, from 1
  };

  CSubTask(SIdentity identity, std::vector<SOrderLine> lines);

  int taskId() const { return m_identity.m_pCommand->m_nTaskId; }
  const std::string& key() const { return m_strKey; }
  const std::string& accountKey() const { return m_identity.m_pAccount->getKey(); }
  const std::vector<SOrderLine>& lines() const { return m_lines; }
  int status() const;
  const std::string& message() const { return m_strMessage; }
  /// CNY, bought and sold alike.
  double tradedAmount() const { return m_orders.tradedAmount(); }

  /// Whether a next line may be sent now: there is one, and the task is neither paused nor stopped.
  bool canSend() const { return hasUnsent() && !m_bPaused && !m_bStopped; }
  /// Whether lines are left that may still be sent, now or after a resume.
  bool hasUnsent() const { return !m_bStopped && m_nSent < m_lines.size(); }
  bool hasStarted() const { return !m_orders.isEmpty(); }
  /// The line that is sent next; only while hasUnsent().
  const SOrderLine& nextLine() const { return m_lines[m_nSent]; }
  /// The next line went out at a price under a number that the market knows; returns the index of its order.
  /// seconds: since the epoch.
  int send(std::uint64_t marketId, double price, int seconds);
  /// The market's numbers of the orders that may still fill.
  std::vector<std::uint64_t> workingOrders() const { return m_orders.workingOrders(); }

  void onAccepted(int order) override;
  void onRejected(int order, const std::string& message, int seconds) override;
  void onFilled(int order, int quantity, double amount, int seconds) override;
  void onCancelled(int order, const std::string& message, int seconds) override;

  /// Each returns whether the operation changed anything.
  bool pause();
  bool resume();
  /// No further line is sent; the task ends when its working orders have ended. The engine cancels those.
  bool stop(const std::string& message, int seconds);
  /// Gives the task up: as stop, and its status is "dropped" at once.
  bool drop(int seconds);

  /// Whether its last order has ended and no further one is sent.
  bool isEnded() const { return m_nEndStatus != 0; }
  bool isDirty() const { return m_bDirty; }
  /// Whether nothing can come any more, unless an operation brings it.
  bool isSettled() const { return !m_bDirty && isEnded(); }
  /// Status of the last detail, 0 before the first.
  int publishedStatus() const { return m_nPublishedStatus; }
  /// A fresh detail of the state as it is; orders that did not change since the last one are shared with it.
  desk::SPublication publish();

 private:
  void endIfDone(int seconds);
  int endStatus() const;
  std::string rejectionText() const;
  std::vector<ksservice::CCodeOrderParam> makeParams() const;

  SIdentity m_identity;
  std::string m_strKey;
  std::vector<SOrderLine> m_lines;
  std::vector<ksservice::CCodeOrderParam> m_params;
  COrderSheet m_orders;  ///< one for each line that was sent, in the lines' order
  std::size_t m_nSent = 0;
  bool m_bPaused = false;
  bool m_bStopped = false;
  bool m_bDropped = false;
  bool m_bDirty = true;
  int m_nPublishedStatus = 0;
  int m_nEndStatus = 0;  ///< 0 until the last order has ended
  int m_nStartTime = ksservice::UNSET_INT;
  int m_nEndTime = ksservice::UNSET_INT;
  std::string m_strMessage;
};

}  // namespace engine
