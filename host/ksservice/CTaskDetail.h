#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "ksservice/CAccountInfo.h"
#include "ksservice/COrderInfo.h"
#include "ksservice/Enumerations.h"
#include "ksservice/IData.h"

namespace ksservice {

struct CStockInfo {
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strName;
};

/// One instrument line of a task.
struct CCodeOrderParam {
  boost::shared_ptr<const CAccountInfo> m_pAccount;  ///< the account that trades the line; may be null
  int m_nType = 0;
  int m_nOperation = 0;  ///< EOperationType; EOT_None for none
  int m_nOrderType = 0;  ///< EOrderType
  CStockInfo m_stock;
  int m_nPriceType = 0;  ///< EPriceType
  double m_dPrice = 0;   ///< limit price, CNY
  int m_nVolume = 0;     ///< target volume
  int m_nHandled = 0;    ///< quantity that was already handled elsewhere

  /// Account key, "/", stock key and operation text: "A1/SH.600000买入". Unique among the lines of a task's rows.
  std::string getKey() const;
};

/// The command that created a task: the record behind a detail's command pointer.
class COrderCommand : public IData {
 public:
  /// The command centre's key of a command.
  static std::string genKey(int commandId, int number);

  int m_nCommandId = 0;
  int m_nTaskId = 0;      ///< the number in the task key
  int m_nTraderType = 0;  ///< EMavTraderType
  std::string m_strUser;
  std::string m_strLogin;  ///< login identity text
  int m_nBasketType = 0;   ///< ECommandBasketType
  bool m_bPatch = false;
  std::string m_strBasketName;
  std::string m_strText;
  std::string m_strLocalInfo;  ///< fields separated by ORDER_LOCAL_INFO_SPLITTER
  int m_nOrderType = 0;        ///< EOrderType
  std::string m_strAlgoTaskKey;
  std::string m_strAlgoParams;
  int m_nType = 0;    ///< the value that a direct patch copies into its parameters
  int m_nNumber = 0;  ///< number of the command beside its identifier, part of its key
};

/// One task as the host knows it. Times are seconds since the epoch.
class CTaskDetail : public IData {
 public:
  /// The key of a detail: identifier and sub-task number joined by "-".
  static std::string genKey(int taskId, int number);

  /// One line for the debug log.
  std::string toString() const;

  int m_nTaskId = 0;  ///< task identifier; UNSET_INT for a hedge detail that has none
  int m_nNumber = 0;  ///< sub-task number
  int m_nBusinessNumber = UNSET_INT;
  int m_nStatus = 0;  ///< ETaskStatus
  std::string m_strMessage;
  int m_nStartTime = UNSET_INT;
  int m_nEndTime = UNSET_INT;
  bool m_bServerTask = false;  ///< runs on the server; its progress comes from the trade client
  std::string m_strInstance;   ///< name of the algorithm instance that carries a server task
  std::vector<COrderInfoPtr> m_orders;
  std::vector<CCodeOrderParam> m_params;
  boost::shared_ptr<COrderCommand> m_pCommand;  ///< may be null
};

using CTaskDetailPtr = boost::shared_ptr<CTaskDetail>;

}  // namespace ksservice
