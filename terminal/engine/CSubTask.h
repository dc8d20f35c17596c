#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CDesk.h"
#include "CIncidents.h"
#include "COrderSheet.h"
#include "IOrderOwner.h"
#include "SplitLines.h"
#include "ksservice/CTaskDetail.h"

namespace engine {

/// One account's part of a basket: its lines, its orders and what becomes of them. Sends each line whole, in as many
/// orders as it takes, one after the other. Knows no market and no clock: the engine tells it what happened. Everything
/// on the engine's thread; what publish() handed out is never changed.
class CSubTask : public IOrderOwner {
 public:
  struct SIdentity {
    boost::shared_ptr<ksservice::COrderCommand> m_pCommand;  ///< its task is the basket that this is a part of
    boost::shared_ptr<const ksservice::CAccountInfo> m_pAccount;
    int m_nTaskId = 0;  ///< of the detail: the basket's, or one of its own where it patches the basket
    int m_nNumber = 1;  ///< sub-task number, from 1
  };
  /// What goes to the market next.
  struct SOrderDue {
    int m_nLine;
    int m_nQuantity;
  };
  /// What the market traded of a line's security today, in shares or lots.
  using VolumeOf = std::function<std::int64_t(const SOrderLine&)>;

  CSubTask(SIdentity identity, std::vector<SOrderLine> lines);

  int taskId() const { return m_identity.m_nTaskId; }
  int basketId() const { return m_identity.m_pCommand->m_nTaskId; }
  const std::string& key() const { return m_strKey; }
  const ksservice::CAccountInfo& account() const { return *m_identity.m_pAccount; }
  const std::string& accountKey() const override { return m_identity.m_pAccount->getKey(); }
  /// Whether it runs on the server: its orders are not the terminal's.
  virtual bool isServerTask() const { return false; }
  /// Whether it trades what its basket left over.
  bool isPatch() const { return m_identity.m_pCommand->m_bPatch; }
  const std::vector<SOrderLine>& lines() const { return m_lines; }
  /// What a line has traded, has in the market, or may still send.
  virtual int claimed(std::size_t line) const;
  int status() const;
  /// Why it ended, if there is more to say than its status says, and what did not become of its lines and orders.
  std::string message() const;
  /// What is new of that, for the log.
  std::vector<std::string> takeLog() { return m_incidents.takeLog(); }
  /// CNY, bought and sold alike.
  double tradedAmount() const { return m_orders.tradedAmount(); }

  /// Whether an order may be sent now: there is one, and the task is neither paused nor stopped.
  virtual bool canSend() const { return hasUnsent() && isOpen(); }
  /// Whether something is left that may still be sent, now or later.
  virtual bool hasUnsent() const { return !m_bStopped && !isAllSent(); }
  bool hasStarted() const { return !m_orders.isEmpty(); }
  /// The market's number of the order that it sent last; 0 before the first.
  std::uint64_t lastOrder() const { return hasStarted() ? m_orders.orders().back().m_nMarketId : 0; }
  /// The order that is sent next; only while canSend().
  virtual SOrderDue nextOrder() const;
  /// The price at which the task lets an order go out that would go out at this one, CNY.
  virtual double boundPrice(int /*line*/, double price) const { return price; }
  /// The next order went out at a price under a number that the market knows; returns its index. seconds: since the
  /// epoch.
  int send(std::uint64_t marketId, double price, int seconds);

  // For a schedule. now: milliseconds since midnight.

  virtual void advanceTo(std::int64_t /*now*/, const VolumeOf&) {}
  /// Whether its time is over: what is left is not traded.
  virtual bool isOver(std::int64_t /*now*/) const { return false; }
  /// Whether it wants orders to be cancelled, because others are to take their place.
  virtual bool hasStale() const { return false; }
  /// The market's number of the next one of these, each once; 0 when all of them have ended.
  virtual std::uint64_t takeStale() { return 0; }

  /// The market's numbers of the orders that may still fill.
  std::vector<std::uint64_t> workingOrders() const { return m_orders.workingOrders(); }

  /// The user cancels one of its orders, known by its key: the market's number of it; 0 when it is none that may still
  /// fill. What it leaves open is not sent again.
  std::uint64_t giveUp(const std::string& orderKey);

  void onAccepted(int order) override;
  void onRejected(int order, const SRefusal& refusal, int seconds) override;
  void onFilled(int order, int quantity, double amount, int seconds) override;
  void onCancelled(int order, const std::string& message, int seconds) override;
  void onCancelRejected(int order, const std::string& message) override;

  /// Ends at once what has nothing to do: of which nothing can be ordered.
  void begin(int seconds) { endIfDone(seconds); }

  /// Each returns whether the operation changed anything.
  bool pause();
  bool resume();
  /// No further line is sent; the task ends when its working orders have ended.
  bool halt(const std::string& message, int seconds);
  /// As halt, and the engine cancels the working orders; where the market refuses that while they are open, a task that
  /// its user stopped is paused. It may follow a halt, whose message stays. message: why; empty for the user.
  bool stop(const std::string& message, int seconds);
  /// Gives the task up: as stop, and its status is "dropped" at once.
  bool drop(int seconds);

  /// Whether its last order has ended and no further one is sent.
  bool isEnded() const { return m_nEndStatus != 0; }
  /// Whether no further line is sent.
  bool isStopped() const { return m_bStopped; }
  /// Whether its working orders were cancelled, or are about to be.
  bool isCancelling() const { return m_bCancelling; }
  bool isDirty() const { return m_bDirty; }
  /// Whether a fresh detail may be published now.
  virtual bool isDue(std::int64_t /*now*/) const { return m_bDirty; }
  /// Whether nothing can come any more, unless an operation brings it.
  bool isSettled() const { return !m_bDirty && isEnded(); }
  /// Status of the last detail, 0 before the first.
  int publishedStatus() const { return m_nPublishedStatus; }
  /// A fresh detail of the state as it is; orders that did not change since the last one are shared with it.
  virtual desk::SPublication publish();
  /// What the server tells of its orders, to be published before the detail; null for a task of the terminal.
  virtual std::unique_ptr<TC::CTaskProgress> progress() const { return nullptr; }

 protected:
  bool isOpen() const { return !m_bPaused && !m_bStopped && !isEnded(); }
  const COrderSheet& orders() const { return m_orders; }
  void note(CIncidents::EKind kind, const std::string& reason, const ksservice::CStockInfo& stock);
  /// An order went out, whose index is told.
  virtual void onSent(int order, const SOrderDue& due);
  /// The user cancels an order that may still fill.
  virtual void onGivenUp(int /*order*/) {}
  virtual bool isAllSent() const { return m_nSent == m_lines.size(); }
  virtual bool isAllFilled() const { return isAllSent() && m_orders.areAllFilled(); }

 private:
  void endIfDone(int seconds);
  int endStatus() const;
  void noteOrder(CIncidents::EKind kind, const std::string& reason, int order);
  std::vector<ksservice::CCodeOrderParam> makeParams() const;

  SIdentity m_identity;
  std::string m_strKey;
  std::vector<SOrderLine> m_lines;
  std::vector<ksservice::CCodeOrderParam> m_params;
  COrderSheet m_orders;            ///< in the order in which they were sent
  std::size_t m_nSent = 0;         ///< lines of which nothing is to be sent any more
  int m_nSentOfNext = 0;           ///< what of the next one was sent
  std::vector<int> m_firstOrders;  ///< by line that was begun; those of a line stand together
  bool m_bPaused = false;
  bool m_bStopped = false;
  bool m_bCancelling = false;
  bool m_bCancelledByUser = false;
  bool m_bDropped = false;
  bool m_bDirty = true;
  int m_nPublishedStatus = 0;
  int m_nEndStatus = 0;  ///< 0 until the last order has ended
  int m_nStartTime = ksservice::UNSET_INT;
  int m_nEndTime = ksservice::UNSET_INT;
  std::string m_strMessage;  ///< why it ended
  CIncidents m_incidents;
};

}  // namespace engine
