/// What is left to be ordered of a cancelled task: its target less everything that it and its patches have traded, have
/// in the market, or may still send.
#include <algorithm>
#include <limits>

#include "PatchOffer.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
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

/// Of a command that makes a task's own details.
bool isOwn(const CTaskDetail& detail) {
  const int type = detail.m_pCommand->m_nBasketType;
  const bool basket =
      type == ksservice::ECBT_Basket || type == ksservice::ECBT_EtfHedge || type == ksservice::ECBT_EtfHedge2;
  return basket && !detail.m_pCommand->m_bPatch;
}

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
  for (const DetailMap* details : std::initializer_list<const DetailMap*>{&m_mapDetails, &m_patches.details()}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (detail->m_bServerTask && CTaskHelper::genServerTaskKey(*detail) == taskKey) return &detail;
    }
  }
  return nullptr;
}

/// The details as the data centre knows them now, by their keys: those that the task has been given and, of the same
/// login, those that are still on their way.
CBasketTask::SNewest CBasketTask::newest() const {
  SNewest details;
  std::string login;
  int traderType = 0;
  {
    const Lock lock(m_mutex);
    traderType = m_nTraderType;
    for (const CTaskDetailPtr& detail : m_mapDetails) {
      details.own[detail->getKey()] = detail;
      if (detail->m_pCommand) login = detail->m_pCommand->m_strLogin;
    }
    for (const CTaskDetailPtr& detail : m_patches.all()) details.patches[detail->getKey()] = detail;
  }
  for (const CTaskDetailPtr& detail : ksservice::TraderCenter::instance().getDataCenter().taskDetails()) {
    const auto& command = detail->m_pCommand;
    const auto own = details.own.find(detail->getKey());
    if (own != details.own.end()) own->second = detail;
    const bool same = command && command->m_nTaskId == m_nGroupId && command->m_nTraderType == traderType &&
                      command->m_strLogin == login;
    if (!same) continue;
    if (isPatch(*detail)) details.patches[detail->getKey()] = detail;
    if (own == details.own.end() && isOwn(*detail)) details.own[detail->getKey()] = detail;
  }
  return details;
}

bool CBasketTask::isCancelled(const SNewest& details) const {
  const Lock lock(m_mutex);
  DetailMap own;
  for (const auto& [key, detail] : details.own) own[key] = detail;
  return deriveStatus(statusFacts(own)).status == ksservice::ETS_Cancelled;
}

/// finished: the answer of a progress query; null where none was asked for.
SPatchSource CBasketTask::sourceOf(const CTaskDetail& detail, const OrderProcessMap* finished) const {
  SPatchSource source{detail};
  source.maySend = !hasEnded(detail.m_nStatus);
  if (!detail.m_bServerTask) return source;
  source.progress = getTradeClient().getTaskProgress(detail.getKey());
  if (!finished) return source;
  source.maySend = source.maySend || m_runningWhenAsked.contains(CTaskHelper::genServerTaskKey(detail));
  source.asked = true;
  source.answer = answerOf(*finished, detail);
  return source;
}

/// The details as sources of what is taken; own: of the task itself. With the mutex held.
std::vector<SPatchSource> CBasketTask::sources(const SNewest& details, const OrderProcessMap* finished) const {
  std::vector<SPatchSource> sources;
  for (const auto& [key, detail] : details.own) {
    if (details.patches.contains(key)) continue;
    sources.push_back(sourceOf(*detail, finished));
    sources.back().account = ELineAccount::First;
  }
  for (const auto& patch : details.patches) sources.push_back(sourceOf(*patch.second, finished));
  return sources;
}

/// What the task and its patches have bought or sold, or may still, of each line. With the mutex held.
LineVolumes CBasketTask::takenVolumes(const SNewest& details, const OrderProcessMap* finished) const {
  LineVolumes taken;
  for (const SPatchSource& source : sources(details, finished)) addVolumes(taken, TC::takenVolumes(source));
  // A patch that came by the way of a task's own details has raised the target by what it repeats.
  for (const auto& own : details.own) {
    if (isPatch(*own.second)) addVolumes(taken, plannedVolumes(own.second->m_params, ELineAccount::First));
  }
  return taken;
}

/// Whether the answer speaks of every server task that may still trade.
bool CBasketTask::answersAll(const SNewest& details, const OrderProcessMap& finished) {
  for (const auto* map : {&details.own, &details.patches}) {
    for (const auto& [key, detail] : *map) {
      if (detail->m_bServerTask && !hasEnded(detail->m_nStatus) && !answerOf(finished, *detail)) return false;
    }
  }
  return true;
}

/// Lines of which it is not known what was traded. With the mutex held.
std::set<PatchLine> CBasketTask::unansweredLines(const SNewest& details, const OrderProcessMap& finished) const {
  std::set<PatchLine> lines;
  for (const SPatchSource& source : sources(details, &finished)) {
    if (!isUnanswered(source)) continue;
    for (const auto& line : plannedVolumes(source.detail.m_params, source.account)) lines.insert(line.first);
  }
  return lines;
}

/// The rows with exactly one operation, as their remainders follow from them. items: their nodes. With the mutex held.
std::vector<SRemainderRow> CBasketTask::remainderRows(const OrderProcessMap* finished,
                                                      std::vector<CBasketTaskItem*>& items) {
  std::vector<SRemainderRow> rows;
  for (auto account = m_stockMap.cbegin(); account != m_stockMap.cend(); ++account) {
    for (auto item = account->cbegin(); item != account->cend(); ++item) {
      if ((*item)->m_vecOperations.size() != 1) continue;
      items.push_back(*item);
      SRemainderRow& row = rows.emplace_back();
      row.line = patchLine(**item, account.key());
      row.first = item.key() == row.line.second;
      row.unset = (*item)->m_bUnset;
      row.target = (*item)->totalVolume();
      row.finished = (*item)->finishedVolume();
      row.orders = CTaskHelper::getFinishedOrderNum((*item)->m_mapOrders);
      std::string security = (*item)->m_strStockKey.toStdString();
      if (finished && (*item)->hasRemainder())
        row.answered = getFinishedOrderNumForAlgoTask(account.key(), security, *finished);
    }
  }
  return rows;
}

/// What may have been taken beside what is known: what was accepted or handed over and has not shown up, and what a
/// server task may have traded without a word. With the mutex held.
LineVolumes CBasketTask::heldVolumes(const SNewest& details, const OrderProcessMap* finished) const {
  LineVolumes held = CPatchStore::instance().of(storeKey(), [](CPatchCreations& creations) {
    LineVolumes accepted = creations.held();
    addVolumes(accepted, creations.taken());
    return accepted;
  });
  for (const SPatchSource& source : sources(details, finished)) addVolumes(held, unknownVolumes(source));
  return held;
}

/// What is left of each row. With the mutex held.
std::vector<CBasketTask::SLeft> CBasketTask::leftOf(const SNewest& details, const OrderProcessMap* finished) {
  std::vector<CBasketTaskItem*> items;
  const std::vector<SRemainderRow> rows = remainderRows(finished, items);
  const std::vector<SRest> rests = restsOf(rows, takenVolumes(details, finished), heldVolumes(details, finished));
  std::vector<SLeft> left;
  for (std::size_t i = 0; i < rows.size(); ++i) left.push_back({items[i], rows[i].line, rows[i].orders, rests[i]});
  return left;
}

void CBasketTask::calcAvailable(CBasketTaskItem* item, AccountPtr account, std::vector<CCodeOrderParam>& out,
                                const QString& accountKey, const OrderProcessMap& finished) {
  const SNewest details = newest();
  const Lock lock(m_mutex);
  for (const SLeft& left : leftOf(details, &finished)) {
    if (left.item != item || left.line.first != accountKey.toStdString()) continue;
    std::optional<CCodeOrderParam> param = patchParam(*item, account, offered(left).value_or(0));
    if (param && param->m_nVolume > 0) out.push_back(std::move(*param));
  }
}

/// Logs what is left of a row and gives what of it its exchange takes; none where that cannot be told.
std::optional<int> CBasketTask::offered(const SLeft& left) const {
  logInfo(this, "CBasketTask::calcAvailable",
          "stk: cmd = %1%, task = %2%, code = %3%, patch Finished order num = %4%,patch num = %5%", m_nCommandId,
          m_nGroupId, left.item->m_strStockKey, left.orders, left.rest.free);
  return inLots(*left.item, left.rest.free);
}

/// Why a row with a remainder is not offered, in words for the user; empty: no reason, or it is.
QString CBasketTask::refusal(const SLeft& left, const AccountPtr& account,
                             const std::set<PatchLine>& unanswered) const {
  const CBasketTaskItem& item = *left.item;
  const std::optional<int> open = inLots(item, left.rest.open);
  if (left.rest.open <= 0) return {};
  if (!account) return QStringLiteral("没有账号数据");
  if (!patchParam(item, account, 0)) return QStringLiteral("没有合约信息");
  if (!open) return QStringLiteral("没有有效的最小交易单位");
  if (*open <= 0) return {};
  if (unanswered.contains(left.line)) return QStringLiteral("算法任务没有成交数据");
  if (inLots(item, left.rest.free).value_or(0) > 0) return {};
  const bool held = CPatchStore::instance().of(
      storeKey(), [&left](CPatchCreations& creations) { return creations.held().contains(left.line); });
  return held ? QStringLiteral("上次补单还没有回报") : QStringLiteral("已交给新篮子");
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

/// The line of a message that names what is not ordered.
QString CBasketTask::refusalLine(const CCodeOrderParam& param, const QString& reason) {
  const std::string key = utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode);
  const QString account = param.m_pAccount ? accountDisplayIDQs(*param.m_pAccount) : QString();
  return refusalLine(QString::fromStdString(key), param.m_nOperation, account, reason);
}

QString CBasketTask::refusalLine(const QString& stockKey, int operation, const QString& account,
                                 const QString& reason) {
  return QStringLiteral("%1 %2 %3：%4").arg(stockKey, operationToString(operation), account, reason);
}

CBasketTask::SOffer CBasketTask::offer(const OrderProcessMap& finished) {
  const SNewest details = newest();
  const Lock lock(m_mutex);
  const std::set<PatchLine> unanswered = unansweredLines(details, finished);
  SOffer offer;
  for (const SLeft& left : leftOf(details, &finished)) {
    const CBasketTaskItem& item = *left.item;
    if (!item.hasRemainder()) continue;
    const AccountPtr account = getUserConfig().getAccountData(left.line.first);
    const QString reason = refusal(left, account, unanswered);
    const int volume = offered(left).value_or(0);
    if (!reason.isEmpty()) {
      offer.refused << refusalLine(item.m_strStockKey, item.m_vecOperations.front(), item.m_strAccounts, reason);
    } else if (volume > 0) {
      offer.params.push_back(*patchParam(item, account, volume));
    }
  }
  return offer;
}

/// Whether the task may still be patched by these lines. Time has passed since they were offered.
bool CBasketTask::stillFits(const ParamList& params, const OrderProcessMap& finished) {
  const SNewest details = newest();
  if (!isCancelled(details)) return false;
  const Lock lock(m_mutex);
  std::vector<CBasketTaskItem*> items;
  const auto left =
      lineRests(remainderRows(&finished, items), takenVolumes(details, &finished), heldVolumes(details, &finished));
  const LineVolumes planned = plannedVolumes(params, ELineAccount::Each);
  return std::all_of(planned.begin(), planned.end(), [&left](const auto& line) {
    const auto known = left.find(line.first);
    return line.second == 0 || (known != left.end() && line.second <= known->second.free);
  });
}

}  // namespace TC
