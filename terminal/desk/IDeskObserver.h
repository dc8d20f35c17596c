#pragma once

#include <QString>
#include <string>

#include "IDeskDriver.h"
#include "ksservice/CTaskDetail.h"
#include "tc/CExchangeClient.h"
#include "tc/CQuoteClient.h"
#include "tc/CTradeClient.h"

namespace desk {

struct SSession;
struct SAccount;
struct SPublication;

/// Where a hedge parameter comes from when the panel asks for it.
enum class EHedgeSource { Manager, Stored };

/// Told of what the drivers change on a desk and of what the panel asks of it, in the order in which it happened.
/// Called on the thread that changes or asks, outside every lock of the desk, a change before the panel is told of it.
/// An observer must neither change the desk nor wait for another thread.
class IDeskObserver {
 public:
  virtual ~IDeskObserver() = default;

  // Changes by a driver.
  virtual void onSession(const SSession&) {}
  virtual void onAccount(const SAccount&) {}
  virtual void onInstrument(const TC::CCodeInfo&) {}
  virtual void onQuote(const std::string& /*market*/, const std::string& /*code*/, const TC::CQuote&) {}
  virtual void onCommand(const ksservice::COrderCommand&) {}
  virtual void onHedgeParam(EHedgeSource, int /*commandId*/, const ksservice::CBasketHedgeParam&) {}
  virtual void onHedgeState(int /*groupId*/, int /*status*/) {}
  virtual void onProgress(const std::string& /*detailKey*/, const TC::CTaskProgress&) {}
  virtual void onTask(const SPublication&) {}
  virtual void onHedgeVolume(int /*taskId*/, int /*volume*/) {}
  virtual void onHedgeStatus(int /*taskId*/, int /*status*/) {}
  virtual void onTradingDay(const std::string& /*date*/) {}
  virtual void onStockUnitChange() {}
  virtual void onServerReply(const utils::KSError&, const bson::BSONObj& /*reply*/) {}
  virtual void onCreateReply(const utils::KSError&, int /*taskId*/) {}
  virtual void onOrderProcess(const TC::OrderProcessMap&, const utils::KSError&, const bson::BSONObj& /*result*/) {}

  /// The panel is about to read the quotes of the instruments with the code.
  virtual void onQuoteRead(const std::string& /*code*/) {}

  // Calls by the panel.
  virtual void onUpdateData(const ksservice::CTaskDetailPtr&) {}
  virtual void onShowMsg(const QString& /*text*/, int /*kind*/) {}
  virtual void onSetHedgeParam(int /*groupId*/, int /*commandId*/, const ksservice::CBasketHedgeParam&) {}
  virtual void onStartHedge(int /*groupId*/) {}
  virtual void onPauseHedge(int /*groupId*/) {}
  virtual void onStopHedge(int /*groupId*/) {}
  virtual void onCreateTask(const SCreateRequest&) {}
  virtual void onOperateServerTask(const std::string& /*serverTaskKey*/, const ksservice::CTaskOpRecord&) {}
  virtual void onQueryOrderProcess(const std::vector<std::string>& /*serverTaskKeys*/) {}
  virtual void onOperateLocalTask(int /*taskId*/, const AccountPtr&, const ksservice::CTaskOpRecord&) {}
  virtual void onPauseLocalTask(int /*taskId*/, const AccountPtr&) {}
  virtual void onResumeLocalTask(int /*taskId*/, const AccountPtr&) {}
};

}  // namespace desk
