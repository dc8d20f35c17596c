#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CDesk.h"
#include "COrderRates.h"
#include "DayLog.h"
#include "ksservice/CTaskDetail.h"

namespace app {

// What a kept day put out, in the order of time. Times of the clock in milliseconds since midnight.

/// An order as it went out.
struct SPastOrder {
  std::string m_strKey;
  std::string m_strMarket;
  std::string m_strCode;
  int m_nOperation = 0;
  int m_nVolume = 0;
  double m_dPrice = 0;
  int m_nSent = 0;   ///< seconds since the epoch
  int m_nLine = -1;  ///< of a server task's lines; -1: not known
};
/// What an order's state came to. Orders by their place in their task.
struct SPastReport {
  std::size_t m_nOrder = 0;
  int m_nTraded = 0;
  double m_dAmount = 0;
  int m_nState = 0;  ///< EOrderState
  std::string m_strMessage;
};
using PastParams = std::vector<std::pair<std::string, ksservice::CCodeOrderParam>>;  ///< with the accounts' keys
struct SPastTask {
  std::int64_t m_nMsec = 0;
  ksservice::CTaskDetail m_facts;  ///< without orders and parameters
  std::shared_ptr<const PastParams> m_pParams;
  std::vector<SPastOrder> m_sent;
  std::vector<SPastReport> m_reports;
  std::vector<desk::SOrderFill> m_fills;
};
struct SPastHedge {
  std::int64_t m_nMsec = 0;
  std::string m_strKind;  ///< HEDGE_STATE and so on
  int m_nId = 0;
  int m_nValue = 0;
  ksservice::CBasketHedgeParam m_param;  ///< of HEDGE_OFFERED and HEDGE_STORED
};
struct SPastQuotes {
  std::int64_t m_nMsec = 0;  ///< they came in the second from here on
  std::vector<desk::SQuoteUpdate> m_quotes;
};
struct SPastMessage {
  std::int64_t m_nMsec = 0;
  bool m_bWarning = false;
  std::string m_strText;
};

/// The outputs of a day log as values. One thread at a time.
class CPastDay {
 public:
  /// Reads on in a log, at most so many of its marks; false when it has no more. Throws std::exception, with the number
  /// of the mark, for one that cannot be read.
  bool read(const daylog::IDayLog& log, std::size_t marks);

  /// Up to which the day is known: the last mark that was read; -1 for none.
  std::int64_t end() const { return m_nEnd; }
  std::size_t marksRead() const { return m_nMarks; }
  const std::vector<SPastTask>& tasks() const { return m_tasks; }
  const std::vector<SPastHedge>& hedges() const { return m_hedges; }
  const std::vector<SPastQuotes>& quotes() const { return m_quotes; }
  const std::vector<SPastMessage>& messages() const { return m_messages; }
  /// In the order in which they ended.
  const std::vector<engine::SOrderWait>& waits() const { return m_waits; }

 private:
  struct SKnown {
    ksservice::CTaskDetail m_facts;
    std::shared_ptr<const PastParams> m_pParams;
    std::unordered_map<std::string, std::size_t> m_orders;
  };
  class CReader;

  std::int64_t m_nEnd = -1;
  std::size_t m_nMarks = 0;
  std::vector<SPastTask> m_tasks;
  std::vector<SPastHedge> m_hedges;
  std::vector<SPastQuotes> m_quotes;
  std::vector<SPastMessage> m_messages;
  std::vector<engine::SOrderWait> m_waits;
  std::unordered_map<std::string, SKnown> m_known;  ///< as they were told last, by the detail's key
  std::unordered_map<std::string, TC::CQuote> m_knownQuotes;
};

}  // namespace app
