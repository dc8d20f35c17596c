#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "COrderRates.h"
#include "docks/CBlotter.h"
#include "docks/Exceptions.h"

namespace app {

/// From when on something is an exception; set by the user.
struct SExceptionLimits {
  int m_nWaitMinutes = 5;        ///< without a fill
  double m_dHedgeOff = 3000000;  ///< CNY
  int m_nFeedSeconds = 10;

  QString toText() const;
  /// Leaves what the text does not say.
  void take(const QString& text);
};

/// What is asked of a session.
struct SExceptionSources {
  const desk::CDesk* m_pDesk = nullptr;  ///< never null
  CBlotter* m_pBlotter = nullptr;        ///< never null
  std::set<std::string> m_suspended{};   ///< instruments by their key
  /// What accounts have sent; empty where nothing is limited.
  std::function<std::vector<engine::SOrderUse>()> m_orderUse{};
  engine::SOrderLimits m_orderLimits{};
  /// Moves while the market feeds; below 0: it does not feed any more. Empty: there is none.
  std::function<std::int64_t()> m_feedTick{};
  /// Who looks at moments of a day that is over: each look takes in everything, and since when it was so is not known.
  bool m_bMoments = false;
};

/// Finds what a trader should look at, from the records of the desk and the blotter. A look costs what has changed, a
/// share of the instruments and the orders that wait. GUI thread only.
class CExceptionFinder {
 public:
  explicit CExceptionFinder(SExceptionSources sources) : m_sources(std::move(sources)) {}

  /// real: seconds of a clock that never stands. Once a second or less often.
  void look(qint64 real);
  CExceptions& exceptions() { return m_exceptions; }
  const SExceptionLimits& limits() const { return m_limits; }
  void setLimits(const SExceptionLimits& limits);

 private:
  struct SGroup {
    SBlotterOrder m_newest;
    std::string m_strReason;
    int m_nCount = 0;
  };
  struct SLine {
    BlotterDetailPtr m_pDetail;
    int m_nOperation = 0;
  };
  struct SInstrument {
    std::string m_strMarket;
    std::string m_strCode;
    std::vector<SLine> m_lines{};  ///< one for each task and side
    bool m_bSuspended = false;
    int m_nLocked = 0;  ///< above 0: at the upper limit without a seller; below: at the lower one without a buyer
  };

  void findOrders(int now);
  void learnLines();
  void findLines();
  void tellLines(const SInstrument& instrument);
  void findHedges();
  void findRates(qint64 real);
  void findFeed(qint64 real);
  QString nameOf(const std::string& market, const std::string& code) const;

  SExceptionSources m_sources;
  SExceptionLimits m_limits;
  CExceptions m_exceptions;
  std::map<std::string, SGroup> m_refused;
  std::set<std::string> m_learnt;  ///< details
  std::size_t m_nDetails = 0;
  std::map<std::string, std::size_t> m_places;  ///< of instruments
  std::vector<SInstrument> m_instruments;
  std::size_t m_nNextQuote = 0;
  std::map<std::string, qint64> m_held;  ///< accounts at their rate, and when they were last
  std::int64_t m_nTick = -1;
  qint64 m_nTickMoved = 0;
};

}  // namespace app
