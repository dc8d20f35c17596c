/// Enumerations of the host's trading records. Only the values that the panel compares are named; a record may hold
/// any other value of the underlying int.
#pragma once

#include <limits>

/// The kind of trader that a panel or a command belongs to. Opaque to the panel: it is compared and handed on.
enum EMavTraderType : int { EMTT_None = 0, EMTT_Stock = 1 };

namespace ksservice {

/// What the host writes into an integer field that is not set.
constexpr int UNSET_INT = std::numeric_limits<int>::max();

enum ETaskStatus : int {
  ETS_Unknown = 0,
  ETS_Running = 3,
  ETS_Paused = 4,
  ETS_Finished = 7,
  ETS_Cancelled = 8,
  ETS_NotEnded = 9,
  ETS_ExecutionError = 10,
  ETS_Dropped = 11,
  ETS_KeepsNoEndTime = 12
};

/// What an order does. Texts and buy flags: operationValueToString and DataHelper::isBuy.
enum EOperationType : int {
  EOT_None = -1,
  EOT_Buy = 1,
  EOT_Sell = 2,
  EOT_BuyOpen = 3,
  EOT_SellOpen = 4,
  EOT_BuyClose = 5,
  EOT_SellClose = 6,
  EOT_Purchase = 21,
  EOT_Redeem = 22,
  EOT_ReturnSecurities = 23,
  EOT_DirectRepayCash = 1001,
  EOT_DirectRepaySecurities = 1002,
  EOT_CollateralIn = 1004,
  EOT_CollateralOut = 1005,
  EOT_CollateralBuy = 1010,
  EOT_BondRights = 1109,
  EOT_ShareRights = 1110,
  EOT_Vote = 1111,
  EOT_CancelCommand = 1112
};

enum EOrderType : int { EORT_Plain = 0, EORT_Algo = 11, EORT_Algo2 = 12, EORT_Algo3 = 13 };

/// Latest, LimitUp and LimitDown have numbers of this terminal.
enum EPriceType : int {
  EPT_Limit = 0,
  EPT_Latest = 1,
  EPT_LimitUp = 2,
  EPT_LimitDown = 3,
  EPT_HedgeCalc = 5,
  EPT_SellerLimit = 10,
  EPT_User = 11,
  EPT_Counterpart = 14,
  EPT_MarketSH = 42,
  EPT_MarketSZ = 47
};

/// Basket task type of a command record: by it details are filed.
enum ECommandBasketType : int {
  ECBT_SignalPatch = 0,
  ECBT_Basket = 1,
  ECBT_Hedge = 2,
  ECBT_EtfHedge = 4,
  ECBT_EtfHedge2 = 5
};

/// Operation codes of CTaskOpRecord.
enum ETaskOperation : int { ETO_Cancel = 3, ETO_Pause = 5, ETO_Resume = 6, ETO_Drop = 7 };

/// Host stock types that figures depend on.
constexpr int STOCK_TYPE_SH_UNITS = 100001;    ///< progress in trade units
constexpr int STOCK_TYPE_SZ_UNITS = 100002;    ///< progress in trade units
constexpr int STOCK_TYPE_BY_HUNDRED = 100021;  ///< target amount is the volume times 100
/// Host stock types that roundings depend on.
constexpr int STOCK_TYPE_NO_LOTS = 277;   ///< a remainder is not rounded, only tested against the unit
constexpr int STOCK_TYPE_UI_UNIT = 1172;  ///< a new basket's line is rounded to the unit of entry

/// State of an account's connection.
enum ELoginStatus : int { ELS_None = 0, ELS_Connecting = 1, ELS_Ready = 2 };
constexpr bool isLoginStatusReady(int status) { return status == ELS_Ready; }

/// Data type of task details in the data centre.
constexpr int DATA_TYPE_TASK_DETAIL = 541;

/// Separates the fields of a command's local-info text.
constexpr char ORDER_LOCAL_INFO_SPLITTER = '|';

}  // namespace ksservice
