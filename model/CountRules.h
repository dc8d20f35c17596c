/// How details count. With the task's mutex held.
#pragma once

#include "CountedDetail.h"
#include "EBasketTaskType.h"
#include "RowLedger.h"

namespace TC {

/// What counts of a server's detail.
enum class EServerCount {
  Orders,             ///< its orders, as of any other
  Progress,           ///< where it has a command, the server's progress alone
  ProgressElseOrders  ///< the server's progress; its orders while there is none
};

/// How the details of a part of a task count. The differences are intended.
struct SCountRules {
  bool targets;  ///< their parameters have target amounts
  EServerCount server;
  bool pricesFills;          ///< a fill that came without an amount counts at its order's price
  bool progressCancels;      ///< of a server's progress the cancelled orders count too
  bool progressNamesRow;     ///< an entry of a progress counts where its key holds the row's account
  bool everyTextIsMessage;   ///< a message counts although it is not marked as one
  bool estimatesEverything;  ///< a server's detail has the target estimated on each of its rows, whatever was traded
};

const SCountRules& countRules(EBasketTaskType part);

/// Exchanges a row's remark where it is another: copies of an equal one stay shared.
void setRemark(CBasketTaskItem& row, const QString& text, CRowChanges& changes);
/// Whether a fill came without an amount.
bool isUnpricedFill(const ksservice::COrderInfo& order);
/// Adds one order to what the orders of a detail add to a row.
void addOrder(SOrderShare& share, const ksservice::COrderInfo& order, EKnownOrder known, const SCountRules& rules);
/// Whether an order that ended unfilled says why.
bool tells(const ksservice::COrderInfo& order, const SCountRules& rules);

}  // namespace TC
