/// A patch from the click to the task that is sent: the query of what server tasks have finished, the remainder of
/// each security, the user's confirmation, and the host's answer. No host is called, and no dialog opens, with the
/// mutex held.
#include <QApplication>
#include <algorithm>
#include <limits>

#include "CBasketPatchWidget.h"
#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "TaskKeys.h"
#include "gv/CMessageBox.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "ksservice/TraderCenter.h"
#include "tc/CItCommandCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderCommand;
using ksservice::CTaskDetail;
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

PatchLine lineOf(const CBasketTaskItem& item, const QString& accountKey) {
  QString row = item.m_strStockKey + ksservice::operationText(item.m_vecOperations.value(0, ksservice::EOT_None));
  replaceMarketToHK(row);
  return {accountKey.toStdString(), row};
}

/// What an answer says of a detail: by the server's key of it or by that of its algorithm. Null: nothing.
const std::map<std::string, int>* answerOf(const OrderProcessMap& finished, const CTaskDetail& detail) {
  auto found = finished.find(CTaskHelper::genServerTaskKey(detail));
  if (found == finished.end()) {
    std::string key;
    CBasketTask::getAlgoTaskKey(detail, key);
    found = finished.find(key);
  }
  return found == finished.end() ? nullptr : &found->second;
}

bool isPatch(const CTaskDetail& detail) { return detail.m_pCommand && detail.m_pCommand->m_bPatch; }

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

// The remainder

int CBasketTask::getFinishedOrderNumForAlgoTask(const QString& accountKey, std::string& securityKey,
                                                const OrderProcessMap& finished) {
  const char* const function = "CBasketTask::getFinishedOrderNumForAlgoTask";
  const Lock lock(m_mutex);
  long long sum = 0;
  for (const auto& [taskKey, numbers] : finished) {
    const CTaskDetailPtr* detail = algoDetail(taskKey);
    if (!detail) {
      logInfo(this, function, "patch calc cannot get taskdetail");
    } else if (!*detail) {
      logInfo(this, function, "taskDetalPtr is NULL");
    } else if ((*detail)->m_params.empty()) {
      logInfo(this, function, "taskDetalPtr m_param.m_params is 0");
    } else if (accountOf(**detail).key == accountKey) {
      sum += finishedNumber(numbers, securityKey);
    }
  }
  return static_cast<int>(std::min<long long>(sum, std::numeric_limits<int>::max()));
}

/// The detail that an answer names, by the key of its algorithm or by the server's; null when there is none.
const CTaskDetailPtr* CBasketTask::algoDetail(const std::string& taskKey) const {
  const auto known = m_mapAlgoDetails.find(taskKey);
  if (known != m_mapAlgoDetails.end()) return &*known;
  for (const DetailMap* details : {&m_mapDetails, &m_mapPatchDetails}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (detail->m_bServerTask && CTaskHelper::genServerTaskKey(*detail) == taskKey) return &detail;
    }
  }
  return nullptr;
}

/// The patch tasks as the host knows them now, by their keys: also those of which nothing has been delivered yet.
std::map<std::string, CTaskDetailPtr> CBasketTask::patchDetails() const {
  std::map<std::string, CTaskDetailPtr> details;
  {
    const Lock lock(m_mutex);
    for (const CTaskDetailPtr& detail : m_mapPatchDetails) details[detail->getKey()] = detail;
  }
  for (const CTaskDetailPtr& detail : ksservice::TraderCenter::instance().getDataCenter().taskDetails()) {
    if (isPatch(*detail) && detail->m_pCommand->m_nTaskId == m_nGroupId) details[detail->getKey()] = detail;
  }
  return details;
}

SPatchSource CBasketTask::sourceOf(const CTaskDetail& detail, const OrderProcessMap& finished) const {
  SPatchSource source{detail};
  source.maySend = !hasEnded(detail.m_nStatus);
  if (!detail.m_bServerTask) return source;
  source.maySend = source.maySend || m_runningWhenAsked.count(CTaskHelper::genServerTaskKey(detail)) > 0;
  source.progress = getTradeClient().getTaskProgress(detail.getKey());
  source.answer = answerOf(finished, detail);
  return source;
}

/// What the task and its patches have bought or sold, or may still, of each line.
LineVolumes CBasketTask::takenVolumes(const OrderProcessMap& finished) const {
  const std::map<std::string, CTaskDetailPtr> patches = patchDetails();
  const Lock lock(m_mutex);
  LineVolumes taken = m_creations.outstanding();
  for (const CTaskDetailPtr& detail : m_mapDetails) {
    SPatchSource source = sourceOf(*detail, finished);
    source.account = ELineAccount::First;
    // A patch that came by the way of a task's own details has raised the target by what it repeats.
    if (isPatch(*detail)) addVolumes(taken, plannedVolumes(detail->m_params, ELineAccount::First));
    if (patches.count(detail->getKey()) == 0) addVolumes(taken, TC::takenVolumes(source));
  }
  for (const auto& patch : patches) addVolumes(taken, TC::takenVolumes(sourceOf(*patch.second, finished)));
  return taken;
}

/// Whether the answer speaks of every server task of this task and its patches.
bool CBasketTask::answersAll(const OrderProcessMap& finished) const {
  const Lock lock(m_mutex);
  for (const DetailMap* details : {&m_mapDetails, &m_mapPatchDetails}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (detail->m_bServerTask && !answerOf(finished, *detail)) return false;
    }
  }
  return true;
}

/// What is left of the row's target; below 0 when more than that was traded. counted: what its orders and the answer
/// say; where what is known of the details says more, that counts.
int CBasketTask::remainder(const CBasketTaskItem& item, const QString& accountKey, long long counted,
                           const LineVolumes& taken) const {
  const auto known = taken.find(lineOf(item, accountKey));
  const long long open = known == taken.end() ? 0 : known->second;
  const long long used = std::max({counted, open, static_cast<long long>(item.m_nFinishedVolume)});
  return static_cast<int>(std::max<long long>(item.m_nTotalVolume - used, std::numeric_limits<int>::min()));
}

void CBasketTask::calcAvailable(CBasketTaskItem* item, AccountPtr account, std::vector<CCodeOrderParam>& out,
                                const QString& accountKey, const OrderProcessMap& finished) {
  const LineVolumes taken = takenVolumes(finished);
  const Lock lock(m_mutex);
  appendAvailable(*item, account, out, accountKey, finished, taken);
}

/// False when the row has a remainder that cannot be rounded, since its unit of trade is below 1.
bool CBasketTask::appendAvailable(CBasketTaskItem& item, const AccountPtr& account, std::vector<CCodeOrderParam>& out,
                                  const QString& accountKey, const OrderProcessMap& finished,
                                  const LineVolumes& taken) {
  if (item.m_vecOperations.size() != 1) return true;
  std::string security = item.m_strStockKey.toStdString();
  const int done = CTaskHelper::getFinishedOrderNum(item.m_mapOrders);
  const long long algo = getFinishedOrderNumForAlgoTask(accountKey, security, finished);
  const int available = remainder(item, accountKey, algo + done, taken);
  logInfo(this, "CBasketTask::calcAvailable",
          "stk: cmd = %1%, task = %2%, code = %3%, patch Finished order num = %4%,patch num = %5%", m_nCommandId,
          m_nGroupId, security, done, available);
  const std::optional<int> volume = inLots(item, available);
  if (!volume) return available <= 0;
  if (*volume <= 0) return true;
  if (std::optional<CCodeOrderParam> param = patchParam(item, account, *volume)) out.push_back(std::move(*param));
  return true;
}

/// The part of a row's remainder that its exchange takes; none where that cannot be told.
std::optional<int> CBasketTask::inLots(const CBasketTaskItem& item, int remainder) {
  if (!tradesInLots(item.m_vecOperations.front(), item.m_strMarket)) return remainder;
  std::string market;
  std::string code;
  utils::splitMavStockKey(item.m_strStockKey.toStdString(), market, code);
  const int unit = ksservice::getTradeMinUnit(market, code, -1);
  return roundToLots(remainder, unit,
                     ksservice::StockTypeCenter::isTypedStock(market, code, ksservice::STOCK_TYPE_NO_LOTS));
}

/// None for an unknown instrument.
std::optional<CCodeOrderParam> CBasketTask::patchParam(const CBasketTaskItem& item, const AccountPtr& account,
                                                       int volume) {
  constexpr int PATCH_LINE_TYPE = 49;
  std::string market;
  std::string code;
  utils::splitMavStockKey(item.m_strStockKey.toStdString(), market, code);
  const auto info = getExchangeClient().getCodeInfo(market, code);
  if (!info) return std::nullopt;
  CCodeOrderParam param;
  param.m_pAccount = account;
  param.m_stock = {info->m_strMarket, info->m_strCode, info->m_strName};
  param.m_nType = PATCH_LINE_TYPE;
  param.m_nOperation = item.m_vecOperations.front();
  param.m_nVolume = volume;
  return param;
}

/// Every line that can be patched. Tells the user of those that cannot, since their unit of trade is below 1, unless
/// none is left at all.
std::vector<CCodeOrderParam> CBasketTask::offer(const OrderProcessMap& finished) {
  const LineVolumes taken = takenVolumes(finished);
  std::vector<CCodeOrderParam> params;
  QStringList unitless;
  {
    const Lock lock(m_mutex);
    for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
      const AccountPtr account = getUserConfig().getAccountData(rows.key().toStdString());
      if (!account) continue;
      for (CBasketTaskItem* item : *rows) {
        if (item->finished()) continue;
        if (!appendAvailable(*item, account, params, rows.key(), finished, taken)) unitless << item->m_strStockKey;
      }
    }
  }
  if (!params.empty() && !unitless.isEmpty()) {
    tell(QStringLiteral("%1 没有有效的最小交易单位，不能补单").arg(unitless.join(QStringLiteral("、"))));
  }
  return params;
}

/// Whether the task may still be patched by these lines. Time has passed since they were offered.
bool CBasketTask::stillFits(const std::vector<CCodeOrderParam>& params, const OrderProcessMap& finished) {
  const LineVolumes taken = takenVolumes(finished);
  const Lock lock(m_mutex);
  if (status() != ksservice::ETS_Cancelled) return false;
  LineVolumes left;
  for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
    for (const CBasketTaskItem* item : *rows) {
      const int done = CTaskHelper::getFinishedOrderNum(item->m_mapOrders);
      left[lineOf(*item, rows.key())] = remainder(*item, rows.key(), done, taken);
    }
  }
  const LineVolumes planned = plannedVolumes(params, ELineAccount::Each);
  return std::all_of(planned.begin(), planned.end(), [&left](const auto& line) {
    const auto known = left.find(line.first);
    return line.second == 0 || (known != left.end() && line.second <= known->second);
  });
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
  if (!answersAll(finished)) {
    failQuery();
    return;
  }
  const std::vector<CCodeOrderParam> offered = offer(finished);
  if (offered.empty()) {
    tell(QStringLiteral("可补单量为0"));
    logInfo(this, function, "task %1% patch quantity is 0", m_nGroupId);
    announceEnded(rootStatus());
    return;
  }
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
  m_pPatchDialog->takeParams(params, algoParams);
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
  Q_EMIT sigPatchCreateTask(m_pPatchDialog->takeNewBasketLines().join(QLatin1Char('\n')));
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
      if (!item->m_bPatching || lines.count(lineOf(*item, rows.key())) == 0) continue;
      item->m_bPatching = false;
      Q_EMIT sigTaskStatus(item->m_strHpfTreeKey, EHBTS_PatchFailed, item->m_nOrderType);
    }
  }
}

}  // namespace TC
