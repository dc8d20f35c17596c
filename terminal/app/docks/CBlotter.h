#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CDesk.h"
#include "Fees.h"
#include "IDeskObserver.h"
#include "IMarket.h"
#include "docks/TaskCourse.h"

namespace app {

/// A detail whose orders the blotter has.
struct SBlotterDetail {
  std::string m_strKey;
  int m_nTaskId = 0;  ///< of the basket
  bool m_bHedge = false;
  std::string m_strAccount;    ///< its key
  std::string m_strDisplayId;  ///< of the account
};
using BlotterDetailPtr = std::shared_ptr<const SBlotterDetail>;

/// An order as it was published last. Times are seconds since the epoch.
struct SBlotterOrder {
  BlotterDetailPtr m_pDetail;        ///< never null
  ksservice::COrderInfoPtr m_pInfo;  ///< never null
  int m_nSent = 0;                   ///< or, where nobody says when, published first
  bool m_bAccepted = false;
  bool m_bCancelled = false;
};

/// What an order traded at once; where its source does not tell that, between two publications.
struct SBlotterFill {
  BlotterDetailPtr m_pDetail;
  ksservice::COrderInfoPtr m_pInfo;
  int m_nTime = 0;
  int m_nQuantity = 0;
  double m_dAmount = 0;  ///< CNY
};

/// Orders by the number of their place in the day, which they keep.
struct SBlotterNews {
  bool m_bAnew = false;  ///< what was told before is over
  std::vector<std::pair<int, SBlotterOrder>> m_orders;
  std::vector<SBlotterFill> m_fills;
};

/// Orders of one detail that are open without a fill for long.
struct SWaitingOrders {
  SBlotterOrder m_oldest;
  int m_nCount = 0;
  int m_nNewest = 0;  ///< since when the last one of them waits: one that comes to wait later has a greater one
};

/// What does not go well of the day's orders.
struct SBlotterTroubles {
  bool m_bAnew = false;                   ///< what was told before is over
  std::vector<SBlotterOrder> m_refused;   ///< since they were asked for last
  std::vector<SWaitingOrders> m_waiting;  ///< all that wait now
};

/// Lots of a basket's futures, sold ones positive.
struct SHedgeLots {
  int m_nTaskId = 0;
  int m_nTarget = 0;
  int m_nHedged = 0;
};

/// What became of the day's orders and tasks, noted as it is published: the desk has the newest state alone, and of a
/// server task no orders. Told on the driver's thread; everything else may be asked on any thread. A publication costs
/// a look at a pointer for each of its orders.
class CBlotter : public desk::IDeskObserver {
 public:
  /// What the market shows of an instrument; false for an unknown one. On the driver's thread.
  using MarketQuote = std::function<bool(const std::string& market, const std::string& code, exchange::SQuote& quote)>;

  /// The desk must outlive the blotter. market may be empty: then a task's course has no market in it. fees: what all
  /// accounts pay.
  explicit CBlotter(const desk::CDesk& desk, MarketQuote market = {}, const exchange::SFeeRates& fees = {})
      : m_desk(desk), m_market(std::move(market)), m_fees(fees) {}

  void onTask(const desk::SPublication& publication) override;
  void onHedgeVolume(int taskId, int lots) override;
  /// Those that are stored hold the target, and come with it, while its announcement waits for another thread.
  void onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onTradingDay(const std::string& date) override;

  /// While it is followed, what changes is kept to be taken; from the start on that is all there is. One follower.
  void follow(bool on);
  SBlotterNews take();
  /// limit: seconds since the epoch; an order waits that was sent, and filled last, before it. One who asks.
  SBlotterTroubles troubles(int limit);
  /// Of the baskets that have futures, or are to have them.
  std::vector<SHedgeLots> hedges() const;
  /// Market and code of what hedges a basket; empty while nothing does.
  std::pair<std::string, std::string> hedgeInstrument(int taskId) const;
  /// What of a line is not traded; 0 of a task that has ended.
  std::int64_t left(int taskId, const std::string& market, const std::string& code, bool buy) const;
  /// Of a detail's orders, by instrument and side: what has been ordered of a line for good. again: a line is ordered
  /// anew where an order of it ends.
  std::map<std::string, std::int64_t> ordered(const std::string& detailKey, bool again) const;
  /// How a basket went so far; null for an unknown one.
  std::shared_ptr<const STaskCourse> course(int taskId) const;

 private:
  struct SOrder {
    SBlotterOrder m_order;
    bool m_bNoted = false;  ///< among what is to be taken
    int m_nMoved = 0;       ///< when it was sent, or filled last
  };
  struct SDetail {
    BlotterDetailPtr m_pDetail;
    std::vector<int> m_orders;  ///< their numbers
    std::vector<int> m_traded;  ///< of each, so far
    std::vector<double> m_amounts;
  };

  SDetail& detailOf(const ksservice::CTaskDetail& detail);
  CTaskCourse& courseOf(const ksservice::CTaskDetail& detail);
  void begin(CTaskCourse& course, const ksservice::CTaskDetail& detail);
  void takeOrders(SDetail& known, CTaskCourse& course, const desk::SPublication& publication);
  void setEnded(CTaskCourse& course, const ksservice::CTaskDetail& detail) const;
  static void takeDetail(SBlotterOrder& order, const ksservice::COrderDetailPtr& detail);
  void setHedgeTarget(int taskId, int lots);
  void note(int number);
  void noteFill(SDetail& known, std::size_t index, CTaskCourse& course, const ksservice::COrderInfoPtr& info);

  const desk::CDesk& m_desk;
  MarketQuote m_market;
  exchange::SFeeRates m_fees;

  mutable std::mutex m_mutex;  ///< guards the rest; the desk may be read under it
  std::unordered_map<std::string, SDetail> m_details;
  std::map<int, CTaskCourse> m_courses;
  std::map<int, std::pair<std::string, std::string>> m_hedgeInstruments;  ///< by task
  std::map<int, int> m_tasks;                                             ///< by the basket's command
  std::vector<SOrder> m_orders;
  std::vector<SBlotterFill> m_fills;
  std::vector<int> m_noted;
  std::vector<int> m_refused;        ///< and not told as troubles
  std::vector<int> m_old;            ///< open and older than was asked for last
  std::size_t m_nLookedThrough = 0;  ///< the orders before were old, which stand in the order of publication
  bool m_bTroublesAnew = true;
  std::size_t m_nFillsTaken = 0;
  bool m_bFollowed = false;
  bool m_bAnew = true;
  int m_nNow = 0;
};

}  // namespace app
