/// The lines of a flight journal as values. Each is declared with the defaults of a line that leaves everything out;
/// how its fields are read and written stands once, in LineFields.cpp.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "CDesk.h"

namespace journal {

/// The version of the contract that is read and written.
constexpr int JOURNAL_VERSION = 1;

struct SSessionLine {
  static constexpr const char* KIND = "session";
  int m_nVersion = JOURNAL_VERSION;
  desk::SSession m_session;
};

struct SAccountLine {
  static constexpr const char* KIND = "account";
  ksservice::CAccountInfo m_info;
  desk::SAccount m_account;  ///< without its record
};

struct SInstrumentLine {
  static constexpr const char* KIND = "instrument";
  TC::CCodeInfo m_info;
};

struct SQuoteLine {
  static constexpr const char* KIND = "quote";
  std::string m_strMarket;
  std::string m_strCode;
  double m_dLast = 0;
  double m_dBid = 0;
  double m_dAsk = 0;
  std::optional<double> m_dCalc;   ///< none: the last price
  std::optional<double> m_dOrder;  ///< none: the last price
  double m_dLimitUp = 0;           ///< 0: not known
  double m_dLimitDown = 0;         ///< 0: not known
};

struct SCommandLine {
  static constexpr const char* KIND = "command";
  ksservice::COrderCommand m_command;
};

struct SHedgeParamLine {
  static constexpr const char* KIND = "hedgeParam";
  int m_nCommand = 0;
  desk::EHedgeSource m_eWhere = desk::EHedgeSource::Manager;
  ksservice::CBasketHedgeParam m_param;
};

struct SHedgeStateLine {
  static constexpr const char* KIND = "hedgeState";
  int m_nGroup = 0;
  int m_nStatus = 0;
};

/// The command record of a task line.
struct STaskCommand {
  ksservice::COrderCommand m_command;  ///< without its type
  std::optional<int> m_nType;          ///< none: the type that the command centre knows stays
};

struct STaskParam {
  std::string m_strAccount;            ///< account key; empty: none
  ksservice::CCodeOrderParam m_param;  ///< without its account
};

struct STaskOrder {
  ksservice::COrderInfo m_order;
  std::optional<ksservice::COrderDetail> m_detail;  ///< none: the data centre finds no detail
};

struct STaskLine {
  static constexpr const char* KIND = "task";
  desk::EVia m_eVia = desk::EVia::Feed;
  std::optional<int> m_nId;         ///< none: see taskIdentifier()
  ksservice::CTaskDetail m_detail;  ///< without key, identifier, command, parameters and orders
  std::string m_strKey;             ///< empty: identifier and number
  std::optional<STaskCommand> m_command;
  bool m_bUnknown = false;  ///< the command centre does not know the command
  std::vector<STaskParam> m_params;
  std::vector<STaskOrder> m_orders;

  /// The identifier of the detail, defaults applied.
  int taskIdentifier() const;
};

struct SProgressLine {
  static constexpr const char* KIND = "progress";
  std::string m_strTask;
  bool m_bPartial = false;  ///< only what it names has changed
  TC::CTaskProgress m_progress;
};

struct SHedgeVolumeLine {
  static constexpr const char* KIND = "hedgeVolume";
  int m_nTask = 0;
  int m_nVolume = 0;
};

struct SHedgeStatusLine {
  static constexpr const char* KIND = "hedgeStatus";
  int m_nTask = 0;
  int m_nStatus = 0;
};

struct STradingDayLine {
  static constexpr const char* KIND = "tradingDay";
  std::string m_strDate;
};

struct SStockUnitChangeLine {
  static constexpr const char* KIND = "stockUnitChange";
};

struct SOpenLine {
  static constexpr const char* KIND = "open";
};

struct SCloseLine {
  static constexpr const char* KIND = "close";
};

struct SRefreshLine {
  static constexpr const char* KIND = "refresh";
};

/// Answers the oldest operation on a server task that is unanswered.
struct SServerReplyLine {
  static constexpr const char* KIND = "serverReply";
  std::optional<std::string> m_strError;  ///< none: a success
  bson::BSONObj m_document;
};

/// Answers the oldest creation of a task that is unanswered.
struct SCreateReplyLine {
  static constexpr const char* KIND = "createReply";
  std::optional<std::string> m_strError;  ///< none: a success
  int m_nTaskId = 0;
};

/// Answers the oldest order-process query that is unanswered.
struct SOrderProcessLine {
  static constexpr const char* KIND = "orderProcess";
  TC::OrderProcessMap m_data;
  std::optional<std::string> m_strError;  ///< none: a success
  bson::BSONObj m_document;
};

enum class EHostAct {
  SetParam,
  SetTradeType,
  SetUiLock,
  PrepareActive,
  RequestAccount,
  LoadAccountGroupSettings,
  Patch
};

struct SHostLine {
  static constexpr const char* KIND = "host";
  EHostAct m_eAct = EHostAct::SetParam;
  std::string m_strText;     ///< SetParam
  int m_nTraderType = 0;     ///< SetTradeType
  bool m_bOn = false;        ///< SetUiLock
  std::string m_strAccount;  ///< RequestAccount: account key
  std::string m_strRow;      ///< Patch: path of the row
  int m_nPriceType = 0;      ///< Patch: EPriceType
};

enum class EDialogAct { Press, Check, Edit, Dump, Close, Play };

/// One act of the user in a modal dialog.
struct SDialogAct {
  EDialogAct m_eAct = EDialogAct::Press;
  std::string m_strName;  ///< Press: the button's text; Check, Edit: the row's name; Dump: the dump's name
  bool m_bOn = true;      ///< Check: checked; Close: true
  std::string m_strText;  ///< Edit
  int m_nLines = 0;       ///< Play: so many of the journal's next lines happened while the dialog was open, above 0
};

enum class EUserAct {
  ToolBar,
  FilterFinished,
  Button,
  DoubleClick,
  Click,
  Key,
  Expand,
  Collapse,
  Export,
  Copy,
  Event,
  Dialog
};

struct SUserLine {
  static constexpr const char* KIND = "user";
  EUserAct m_eAct = EUserAct::ToolBar;
  int m_nId = 0;                         ///< ToolBar, Button, Event: button id
  bool m_bOn = false;                    ///< FilterFinished
  std::string m_strRow;                  ///< Button, Click, Expand, Collapse: path of the row
  int m_nColumn = 0;                     ///< DoubleClick, Click
  std::string m_strKeys;                 ///< Key: as QKeySequence reads it
  std::string m_strFile;                 ///< Export: the save dialog's answer; empty: cancelled
  int m_nEvent = 0;                      ///< Event
  std::optional<std::string> m_strText;  ///< Event: the node's key; none: the root's
  int m_nTask = 0;                       ///< Event
  std::vector<SDialogAct> m_acts;        ///< Dialog: for the next modal dialog that opens
};

struct SDumpLine {
  static constexpr const char* KIND = "dump";
  std::string m_strName;
};

/// One line; m_nNumber is its place in its file, from 1.
struct SLine {
  using Body = std::variant<SSessionLine, SAccountLine, SInstrumentLine, SQuoteLine, SCommandLine, SHedgeParamLine,
                            SHedgeStateLine, STaskLine, SProgressLine, SHedgeVolumeLine, SHedgeStatusLine,
                            STradingDayLine, SStockUnitChangeLine, SServerReplyLine, SCreateReplyLine,
                            SOrderProcessLine, SOpenLine, SCloseLine, SRefreshLine, SHostLine, SUserLine, SDumpLine>;

  Body m_body;
  std::optional<qint64> m_nT;    ///< milliseconds since the journal began
  std::optional<qint64> m_nNow;  ///< seconds since the epoch; a session line has its own
  int m_nNumber = 0;
};

/// The line of one JSON object, or a text that says what is wrong with it.
std::variant<SLine, std::string> parseLine(const std::string& text);

/// The line as one JSON object, "kind" first, without a line end. Fields that say what is understood without them are
/// left out.
std::string writeLine(SLine line);

}  // namespace journal
