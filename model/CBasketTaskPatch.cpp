/// A patch from the click to the task that is sent: the query of what server tasks have finished, the user's
/// confirmation, and the host's answer. No dialog opens, and nothing is asked of the host, with the mutex held.
#include <QApplication>
#include <algorithm>

#include "CBasketPatchWidget.h"
#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "gv/CMessageBox.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CItCommandCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderCommand;
using ksservice::CTaskDetailPtr;
using ksservice::CTaskHelper;
using utils::logInfo;

namespace {

/// The kind of trader that an algorithm's patch is for.
constexpr auto ALGO_TRADER = static_cast<EMavTraderType>(4);
/// What createTask is told of a patch that was confirmed line by line.
constexpr int CONFIRMED_PATCH = 1;

void tell(const QString& text) {
  GV::CMessageBox::information(QApplication::activeWindow(), QStringLiteral("补单"), text);
}

}  // namespace

// The states of a patch

/// False while another patch of the task is under way.
bool CBasketTask::beginPatch() {
  const Lock lock(m_mutex);
  if (m_patchPhase != EPatchPhase::None || m_creations.isPending()) return false;
  m_patchPhase = EPatchPhase::Started;
  return true;
}

void CBasketTask::endPatch() {
  const Lock lock(m_mutex);
  m_patchPhase = EPatchPhase::None;
}

void CBasketTask::refusePatch() {
  tell(QStringLiteral("补单中"));
  announceEnded(rootStatus());
}

// The query

void CBasketTask::checkHasAlgoTask(const QString& key, EMavTraderType traderType) {
  if (!beginPatch()) {
    refusePatch();
    return;
  }
  const std::vector<std::string> tasks = queryKeys();
  if (tasks.empty()) {
    patchWithParam(key, {}, traderType);
    return;
  }
  logInfo(this, "CBasketTask::checkHasAlgoTask", "task %1% QueryOrderProcess start", m_nGroupId);
  getTradeClient().queryOrderProcess(
      tasks,
      [weak = weak_from_this(), key](const OrderProcessMap& data, const utils::KSError& error,
                                     const bson::BSONObj& result) {
        if (const auto task = weak.lock()) task->onQueryOrderProcess(data, error, result, key);
      },
      0);
}

/// The server tasks that the query is about; remembers which of them had not ended when it was sent, since the answer
/// does not tell what they send afterwards.
std::vector<std::string> CBasketTask::queryKeys() {
  const Lock lock(m_mutex);
  std::vector<std::string> keys;
  m_runningWhenAsked.clear();
  for (const DetailMap* details : {&m_mapDetails, &m_mapPatchDetails}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (!detail->m_bServerTask) continue;
      keys.push_back(CTaskHelper::genServerTaskKey(*detail));
      if (!hasEnded(detail->m_nStatus)) m_runningWhenAsked.insert(keys.back());
    }
  }
  if (!keys.empty()) m_patchPhase = EPatchPhase::Querying;
  return keys;
}

void CBasketTask::onQueryOrderProcess(const OrderProcessMap& data, const utils::KSError& err,
                                      const bson::BSONObj& result, const QString& key) {
  const char* const function = "CBasketTask::onQueryOrderProcess";
  logInfo(this, function, "task %1% QueryOrderProcess callback", m_nGroupId);
  bool ok = true;
  if (!err.success()) {
    logInfo(this, function, "QueryOrderProcess KSError %1%", err.errorMsg());
    ok = false;
  } else if (!result.isEmpty()) {
    logInfo(this, function, "QueryOrderProcess BoError %1%", result.toString());
    ok = false;
  }
  if (data.empty()) {
    logInfo(this, function, "QueryOrderProcess data.size == 0");
    ok = false;
  }
  for (const auto& [task, numbers] : data) {
    for (const auto& [security, number] : numbers) {
      logInfo(this, function, "QueryOrderProcess data %1% %2% %3%", task, security, number);
    }
  }
  {
    const Lock lock(m_mutex);
    m_mapProgress = data;
  }
  Q_EMIT sigPatchTask(key, ok);
}

void CBasketTask::slotPatchTask(QString key, bool ok) {
  const auto self = weak_from_this().lock();  // the message or the dialog runs an event loop
  OrderProcessMap finished;
  {
    const Lock lock(m_mutex);
    if (m_patchPhase != EPatchPhase::Querying) return;  // a second answer opens no second dialog
    m_patchPhase = EPatchPhase::Started;
    finished = m_mapProgress;
  }
  if (ok) {
    patchWithParam(key, finished, ALGO_TRADER);
    return;
  }
  failQuery();
  endPatch();
}

void CBasketTask::failQuery() {
  tell(QStringLiteral("补单失败，查询三方算法任务进度失败"));
  logInfo(this, "CBasketTask::slotPatchTask", "task %1% patch QueryOrderProcess fail", m_nGroupId);
  announceEnded(rootStatus());
}

// The confirmation

void CBasketTask::patchWithParam(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const auto self = weak_from_this().lock();  // the task is held while its own dialog is open
  bool begun = false;
  {
    const Lock lock(m_mutex);
    begun = m_patchPhase == EPatchPhase::Started || beginPatch();
    if (begun) m_patchPhase = EPatchPhase::Confirming;
  }
  if (!begun) {
    refusePatch();
    return;
  }
  confirmPatch(key, finished, traderType);
  endPatch();
}

void CBasketTask::confirmPatch(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const char* const function = "CBasketTask::patchWithParam";
  if (status() != ksservice::ETS_Cancelled) {
    logInfo(this, function, "task %1% is not cancel state", m_nGroupId);
    announceEnded(rootStatus());
    return;
  }
  if (key != m_strKey) return;
  QStringList leftOut;
  const std::vector<CCodeOrderParam> offered = offer(finished, leftOut);
  if (!answersAll(finished)) {
    failQuery();
    return;
  }
  if (offered.empty()) {
    tell(QStringLiteral("可补单量为0"));
    logInfo(this, function, "task %1% patch quantity is 0", m_nGroupId);
    announceEnded(rootStatus());
    return;
  }
  if (!leftOut.isEmpty()) tell(QStringLiteral("不能补单：\n%1").arg(leftOut.join(QLatin1Char('\n'))));
  if (!m_pPatchDialog) m_pPatchDialog = std::make_unique<CBasketPatchDialog>();
  const std::vector<CCodeOrderParam> own = getParam(key);
  if (own.empty()) {
    logInfo(this, function, "task %1% get old param fail", m_nGroupId);
    announceEnded(rootStatus());
    return;
  }
  m_pPatchDialog->setTraderType(traderType == ALGO_TRADER);
  m_pPatchDialog->setPatchParams(offered, own, getAlgoParams().toStdString());
  if (m_pPatchDialog->exec() == QDialog::Accepted) {
    takeChoice(finished);
    return;
  }
  announceEnded(rootStatus());
  logInfo(this, function, "User %1% give up patch task %2%", getUserConfig().userName(), m_strKey);
}

void CBasketTask::takeChoice(const OrderProcessMap& finished) {
  std::vector<CCodeOrderParam> params;
  std::string algoParams;
  QStringList newBasket;
  if (m_pPatchDialog->isNewBasket()) {
    newBasket = m_pPatchDialog->takeNewBasketLines();
    params = m_pPatchDialog->newBasketParams();
  } else {
    m_pPatchDialog->takeParams(params, algoParams);
  }
  if (!stillFits(params, finished)) {
    tell(QStringLiteral("可补单量已变化，没有补单，请重新操作"));
    logInfo(this, "CBasketTask::patchWithParam", "task %1% patch quantity has changed", m_nGroupId);
    announceEnded(rootStatus());
    return;
  }
  if (!m_pPatchDialog->isNewBasket()) {
    sendPatch(params, algoParams);
    return;
  }
  Q_EMIT sigPatchCreateTask(newBasket.join(QLatin1Char('\n')));
  drop(QString());
}

// The creation

void CBasketTask::sendPatch(const std::vector<CCodeOrderParam>& params, const std::string& algoParams) {
  const auto command = getItCommandCenter().getCommand(getCommandKey());
  if (!command) {
    logInfo(this, "CBasketTask::patchWithParam", "get command fail");
    announceEnded(rootStatus());
    return;
  }
  COrderCommand patch = *command;
  if (!algoParams.empty()) {
    patch.m_strAlgoParams = algoParams;
    patch.m_nOrderType = ksservice::EORT_Algo;
  } else if (!ksservice::DataHelper::isAlgoOrderType(m_pPatchDialog->orderType())) {
    // The user confirmed a plain trade, whatever the task itself was.
    patch.m_strAlgoParams.clear();
    patch.m_nOrderType = ksservice::EORT_Plain;
  }
  createPatch(patch, params, CONFIRMED_PATCH);
  {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = true;
  }
  announce(EHBTS_Patching);
}

void CBasketTask::createPatch(const COrderCommand& command, const std::vector<CCodeOrderParam>& params, int hedgeType) {
  COrderCommand patch = command;
  patch.m_bPatch = true;
  int creation = 0;
  {
    const Lock lock(m_mutex);
    creation = m_creations.add(plannedVolumes(params, ELineAccount::Each));
  }
  getItCommandCenter().createTask(
      patch, params, static_cast<EMavTraderType>(command.m_nTraderType), hedgeType,
      [weak = weak_from_this(), creation](const utils::KSError& error, int taskId) {
        if (const auto task = weak.lock()) task->onPatchCreated(creation, error, taskId);
      },
      m_nGroupId);
}

/// The host's answer to a creation. Any thread.
void CBasketTask::onPatchCreated(int creation, const utils::KSError& error, int taskId) {
  if (!error.success()) {
    // What it ordered stays taken until the user was told.
    Q_EMIT sigPatchCreateFailed(creation, QString::fromStdString(error.errorMsg()));
    return;
  }
  const Lock lock(m_mutex);
  m_creations.answered(creation, taskId > 0 ? taskId : CPatchCreations::NO_TASK);
  for (const CTaskDetailPtr& detail : m_mapPatchDetails) {
    if (detail->m_nTaskId == taskId) noteArrival(*detail, false);
  }
}

void CBasketTask::slotPatchCreateFailed(int creation, QString message) {
  const auto self = weak_from_this().lock();  // the message runs an event loop
  {
    const Lock lock(m_mutex);
    releaseRows(m_creations.failed(creation));
    const bool runs = std::any_of(m_mapPatchDetails.begin(), m_mapPatchDetails.end(),
                                  [](const CTaskDetailPtr& detail) { return !hasEnded(detail->m_nStatus); });
    m_pRoot->m_bPatching = runs || m_creations.isPending();
  }
  tell(message.isEmpty() ? QStringLiteral("补单失败") : message);
  announceEnded(rootStatus());
}

/// Rows that were ordered one by one and of which nothing comes.
void CBasketTask::releaseRows(const LineVolumes& lines) {
  for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
    for (CBasketTaskItem* item : *rows) {
      if (!item->m_bPatching || !lines.contains(patchLine(*item, rows.key()))) continue;
      item->m_bPatching = false;
      Q_EMIT sigTaskStatus(item->m_strKey, EHBTS_PatchFailed, item->m_nOrderType);
    }
  }
}

}  // namespace TC
