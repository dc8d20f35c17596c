/// What must hold in a drill. Each gives what is wrong, or an empty text. GUI thread, while nothing runs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "CDrillEngine.h"
#include "CDrillTerminal.h"

namespace drill {

/// "SH.600000" of a row of the table or of a dialog, "A1/SH.600000买入".
std::string instrumentOf(const QString& row);

/// ER_Order: no share more than the baskets' lines ask for is traded or in the market.
std::string orderFault(const SDrillPlan& plan, CDrillEngine& engine);
/// ER_Account: what accounts have, freeze and hold.
std::string accountFault(const SDrillPlan& plan, CDrillEngine& engine);

/// Money and shares of the accounts that trade baskets, together.
struct SBooks {
  double m_dMoney = 0;  ///< CNY, frozen or not
  double m_dFees = 0;
  bool m_bFrozen = false;                     ///< any of it, or a share
  std::map<std::string, long long> m_shares;  ///< by instrument key
};
SBooks booksOf(CDrillEngine& engine);
/// ER_Books: what the market traded has made of the books with which the day began. While every report has arrived.
std::string booksFault(const SDrillPlan& plan, CDrillEngine& engine, const SBooks& atStart);

/// A panel's table as rules look at it.
class CShownTable {
 public:
  /// plant: EP_TornRow or EP_FalseRow changes a figure.
  explicit CShownTable(const TC::ITradeDockableWidget& panel, EPlant plant = EP_None);

  /// ER_Sums: every node shows the sum of its rows.
  std::string sumsFault() const;
  /// ER_Screen: every line shows what the panel says of it when it is asked to explain.
  std::string screenFault(TC::ITradeDockableWidget& panel) const;
  /// ER_Truth: what was traded is what the market traded.
  std::string truthFault(CDrillEngine& engine) const;
  /// ER_FreshModel: what another panel shows, but for what only who was there knows.
  std::string differenceTo(const CShownTable& other) const;
  /// ER_Growth: that it shows rows.
  std::string emptyFault() const;
  /// Of all that shows.
  std::string hash() const;

 private:
  struct SRow;
  void change(bool above);

  struct SRow {
    std::string m_strPath;
    int m_nDepth = 0;
    std::vector<std::string> m_cells;
    bool m_bLeaf = true;
    bool m_bHedge = false;  ///< the row of a hedge, or a root that has one

    std::pair<long long, long long> progress(int column) const;
    void setTraded(int column, long long traded);
  };

  int m_nProgress = 0;  ///< columns
  int m_nAmount = 0;
  int m_nStatus = 0;
  int m_nStart = 0;
  int m_nEnd = 0;
  int m_nButtons = 0;
  std::vector<int> m_unordered;  ///< the places in these texts hang on what came first
  std::vector<SRow> m_rows;
  std::string m_strDump;
};

}  // namespace drill
