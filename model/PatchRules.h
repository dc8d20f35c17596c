/// What may still be ordered of a task, in values: no task and no dialog. Any thread.
#pragma once

#include <QString>
#include <boost/shared_ptr.hpp>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "CBasketTaskItem.h"
#include "ksservice/CTaskDetail.h"
#include "tc/CTradeClient.h"

namespace TC {

/// A line of a task: account key, and row key in the form that orders have (orderRowKey).
using PatchLine = std::pair<std::string, QString>;
/// The line of a row; accountKey: the account under which the task keeps it.
PatchLine patchLine(const CBasketTaskItem& item, const QString& accountKey);
/// Shares or lots by line.
using LineVolumes = std::map<PatchLine, long long>;

/// Whether remainders of the operation are rounded to lots on the market.
bool tradesInLots(int operation, const QString& market);

/// A remainder as one order can have it: the highest volume that 32 bits hold is the host's unset value.
int orderVolume(long long remainder);

/// How an instrument's remainders are rounded.
struct SLots {
  int unit = 0;
  bool none = false;  ///< any quantity from the unit on can be ordered
};

/// The part of a remainder that can be ordered where it is traded in lots of unit; noLots: of an instrument that any
/// quantity from the unit on can be ordered of. None when the remainder would have to be rounded to a unit below 1.
std::optional<int> roundToLots(int remainder, int unit, bool noLots);

/// What a progress answer says of an instrument; a connect market counts for the Hong Kong instrument.
long long finishedNumber(const std::map<std::string, int>& numbers, const std::string& securityKey);

/// Whose account the lines of a detail are on.
enum class ELineAccount {
  First,  ///< that of the first line, as for a task's own details
  Each    ///< each line's own
};

/// The volumes that lines are to trade; what is below 0 counts as 0.
LineVolumes plannedVolumes(const std::vector<ksservice::CCodeOrderParam>& params, ELineAccount account);

/// The accounts that an order on a row of a detail may be of, since an order does not say.
class CLineAccounts {
 public:
  CLineAccounts(const std::vector<ksservice::CCodeOrderParam>& params, ELineAccount account);
  /// Account keys in the order of the lines; row: in the form that orders have. Where no line has the row, the first
  /// line's. mapKey: that of a server's progress, which holds the account's display identifier: of several accounts the
  /// one with the longest that it holds, and all that share it.
  std::vector<std::string> of(const QString& row, const std::string& mapKey = {}) const;

 private:
  struct SAccount {
    std::string key;
    std::string text;
  };
  SAccount m_first;
  std::map<QString, std::vector<SAccount>> m_accounts;
};

/// What is known of a detail when a remainder is formed.
struct SPatchSource {
  const ksservice::CTaskDetail& detail;
  ELineAccount account = ELineAccount::Each;
  bool maySend = false;                                       ///< it may still send orders
  boost::shared_ptr<const CTaskProgress> progress = nullptr;  ///< of a server task; null where there is none
  bool asked = false;                                         ///< for an answer of the server
  const std::map<std::string, int>* answer = nullptr;         ///< of a server task, by instrument; null: none came
};

/// What the detail has bought or sold, or may still, of each line. Where two sources tell, the higher figure counts; an
/// order that is open counts whole, as does a line that may still be sent, and one of a server task that has filled or
/// of which nothing is known.
LineVolumes takenVolumes(const SPatchSource& source);

/// Whether the detail is a server task that has ended unfilled and of which an answer that was asked for says nothing:
/// what it has traded is not known.
bool isUnanswered(const SPatchSource& source);
/// What such a detail may have traded beyond what is known of it.
LineVolumes unknownVolumes(const SPatchSource& source);

/// Adds volumes line by line.
void addVolumes(LineVolumes& sum, const LineVolumes& volumes);

}  // namespace TC
