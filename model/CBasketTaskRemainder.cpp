/// What is left to be ordered of a cancelled task: its target less everything that it and its patches have traded, have
/// in the market, or may still send.
#include <algorithm>
#include <limits>

#include "CBasketTask.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;
using ksservice::CTaskHelper;
using utils::logInfo;

namespace {

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
  source.maySend = source.maySend || m_runningWhenAsked.contains(CTaskHelper::genServerTaskKey(detail));
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
    if (!patches.contains(detail->getKey())) addVolumes(taken, TC::takenVolumes(source));
  }
  for (const auto& patch : patches) addVolumes(taken, TC::takenVolumes(sourceOf(*patch.second, finished)));
  return taken;
}

/// Whether the answer speaks of every server task of this task and its patches; one that has filled whole needs none.
bool CBasketTask::answersAll(const OrderProcessMap& finished) const {
  const Lock lock(m_mutex);
  for (const DetailMap* details : {&m_mapDetails, &m_mapPatchDetails}) {
    for (const CTaskDetailPtr& detail : *details) {
      const bool open = detail->m_bServerTask && detail->m_nStatus != ksservice::ETS_Finished;
      if (open && !answerOf(finished, *detail)) return false;
    }
  }
  return true;
}

/// What is left of the row's target; below 0 when more than that was traded. counted: what its orders and the answer
/// say; where what is known of the details says more, that counts.
long long CBasketTask::remainder(const CBasketTaskItem& item, const QString& accountKey, long long counted,
                                 const LineVolumes& taken) const {
  if (item.m_bUnset) return 0;
  const auto known = taken.find(patchLine(item, accountKey));
  const long long open = known == taken.end() ? 0 : known->second;
  return item.totalVolume() - std::max({counted, open, item.finishedVolume()});
}

void CBasketTask::calcAvailable(CBasketTaskItem* item, AccountPtr account, std::vector<CCodeOrderParam>& out,
                                const QString& accountKey, const OrderProcessMap& finished) {
  const LineVolumes taken = takenVolumes(finished);
  const Lock lock(m_mutex);
  QStringList leftOut;
  appendAvailable(*item, account, out, leftOut, accountKey, finished, taken);
}

/// leftOut gets, in words for the user, why a remainder cannot be ordered.
void CBasketTask::appendAvailable(CBasketTaskItem& item, const AccountPtr& account, std::vector<CCodeOrderParam>& out,
                                  QStringList& leftOut, const QString& accountKey, const OrderProcessMap& finished,
                                  const LineVolumes& taken) {
  if (item.m_vecOperations.size() != 1) return;
  std::string security = item.m_strStockKey.toStdString();
  const long long done = CTaskHelper::getFinishedOrderNum(item.m_mapOrders);
  const long long algo = getFinishedOrderNumForAlgoTask(accountKey, security, finished);
  const long long available = remainder(item, accountKey, algo + done, taken);
  logInfo(this, "CBasketTask::calcAvailable",
          "stk: cmd = %1%, task = %2%, code = %3%, patch Finished order num = %4%,patch num = %5%", m_nCommandId,
          m_nGroupId, security, done, available);
  const std::optional<int> volume = inLots(item, available);
  if (volume && *volume <= 0) return;
  std::optional<CCodeOrderParam> param = patchParam(item, account, volume.value_or(0));
  if (!param) {
    leftOut << QStringLiteral("%1 没有合约信息").arg(item.m_strStockKey);
  } else if (!volume) {
    leftOut << QStringLiteral("%1 没有有效的最小交易单位").arg(item.m_strStockKey);
  } else {
    out.push_back(std::move(*param));
  }
}

/// The part of a row's remainder that its exchange takes; none where that cannot be told.
std::optional<int> CBasketTask::inLots(const CBasketTaskItem& item, long long remainder) {
  const int rest = orderVolume(remainder);
  if (rest <= 0 || !tradesInLots(item.m_vecOperations.front(), item.m_strMarket)) return rest;
  std::string market;
  std::string code;
  utils::splitMavStockKey(item.m_strStockKey.toStdString(), market, code);
  const int unit = ksservice::getTradeMinUnit(market, code, -1);
  return roundToLots(rest, unit, ksservice::StockTypeCenter::isTypedStock(market, code, ksservice::STOCK_TYPE_NO_LOTS));
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
  param.m_stock = {market, code, info->m_strName};
  param.m_nType = PATCH_LINE_TYPE;
  param.m_nOperation = item.m_vecOperations.front();
  param.m_nVolume = volume;
  return param;
}

/// Every line that can be patched; leftOut: what cannot, and why.
std::vector<CCodeOrderParam> CBasketTask::offer(const OrderProcessMap& finished, QStringList& leftOut) {
  const LineVolumes taken = takenVolumes(finished);
  const Lock lock(m_mutex);
  std::vector<CCodeOrderParam> params;
  for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
    const AccountPtr account = getUserConfig().getAccountData(rows.key().toStdString());
    for (CBasketTaskItem* item : *rows) {
      if (!item->hasRemainder()) continue;
      if (!account) {
        leftOut << QStringLiteral("账号 %1 没有账号数据").arg(item->m_strAccounts);
        break;
      }
      appendAvailable(*item, account, params, leftOut, rows.key(), finished, taken);
    }
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
      const long long done = CTaskHelper::getFinishedOrderNum(item->m_mapOrders);
      left[patchLine(*item, rows.key())] = remainder(*item, rows.key(), done, taken);
    }
  }
  const LineVolumes planned = plannedVolumes(params, ELineAccount::Each);
  return std::all_of(planned.begin(), planned.end(), [&left](const auto& line) {
    const auto known = left.find(line.first);
    return line.second == 0 || (known != left.end() && line.second <= known->second);
  });
}

}  // namespace TC
