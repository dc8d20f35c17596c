#include "PatchOffers.h"

#include <algorithm>
#include <limits>

#include "DetailKind.h"
#include "PatchBook.h"
#include "PatchState.h"
#include "RootFacts.h"
#include "TaskRules.h"
#include "TaskTree.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "ksservice/TraderCenter.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;
using ksservice::CTaskHelper;

namespace {

/// What an answer says of a detail: by the server's key of it or by that of its algorithm. Null: nothing.
const std::map<std::string, int>* answerOf(const OrderProcessMap& finished, const CTaskDetail& detail) {
  auto found = finished.find(CTaskHelper::genServerTaskKey(detail));
  if (found == finished.end()) found = finished.find(COwnDetails::progressKeyOf(detail));
  return found == finished.end() ? nullptr : &found->second;
}

bool isPatch(const CTaskDetail& detail) { return kindOf(detail, EDetailWay::LookUp) == EDetailKind::Patch; }

/// Of a command that makes a task's own details.
bool isOwn(const CTaskDetail& detail) { return kindOf(detail, EDetailWay::LookUp) == EDetailKind::Own; }

std::pair<std::string, std::string> instrumentOf(const CBasketTaskItem& item) {
  std::string market;
  std::string code;
  utils::splitMavStockKey(item.m_strStockKey.toStdString(), market, code);
  return {market, code};
}

std::optional<SLots> lotsOf(const CBasketTaskItem& item) {
  if (!tradesInLots(item.m_vecOperations.front(), item.m_strMarket)) return std::nullopt;
  const auto [market, code] = instrumentOf(item);
  return SLots{ksservice::getTradeMinUnit(market, code, -1),
               ksservice::StockTypeCenter::isTypedStock(market, code, ksservice::STOCK_TYPE_NO_LOTS)};
}

QString refusalLine(const QString& stockKey, int operation, const QString& account, ERefusal refusal) {
  return QStringLiteral("%1 %2 %3：%4").arg(stockKey, operationToString(operation), account, refusalText(refusal));
}

}  // namespace

// What is known

std::vector<CTaskDetailPtr> CPatchOffers::askDetails() {
  return ksservice::TraderCenter::instance().getDataCenter().taskDetails();
}

SNewestDetails CPatchOffers::newest(const std::vector<CTaskDetailPtr>& known) const {
  SNewestDetails details;
  std::string login;
  for (const CTaskDetailPtr& detail : m_own.all()) {
    details.own[detail->getKey()] = detail;
    if (detail->m_pCommand) login = detail->m_pCommand->m_strLogin;
  }
  for (const CTaskDetailPtr& detail : m_patches.all()) details.patches[detail->getKey()] = detail;
  for (const CTaskDetailPtr& detail : known) {
    const auto& command = detail->m_pCommand;
    const auto own = details.own.find(detail->getKey());
    if (own != details.own.end()) own->second = detail;
    const bool same = command && command->m_nTaskId == m_id.groupId && command->m_nTraderType == m_own.traderType() &&
                      command->m_strLogin == login;
    if (!same) continue;
    if (isPatch(*detail)) details.patches[detail->getKey()] = detail;
    if (own == details.own.end() && isOwn(*detail)) details.own[detail->getKey()] = detail;
  }
  return details;
}

bool CPatchOffers::isCancelled(const SNewestDetails& details) const {
  COwnDetails::DetailMap own;
  for (const auto& [key, detail] : details.own) own[key] = detail;
  return m_root.verdictOf(own).status == ksservice::ETS_Cancelled;
}

bool CPatchOffers::answersAll(const SNewestDetails& details, const OrderProcessMap& finished) {
  for (const auto* map : {&details.own, &details.patches}) {
    for (const auto& [key, detail] : *map) {
      if (detail->m_bServerTask && !hasEnded(detail->m_nStatus) && !answerOf(finished, *detail)) return false;
    }
  }
  return true;
}

SPatchSource CPatchOffers::sourceOf(const CTaskDetail& detail, const OrderProcessMap* finished) const {
  SPatchSource source{detail};
  source.maySend = !hasEnded(detail.m_nStatus);
  if (!detail.m_bServerTask) return source;
  source.progress = getTradeClient().getTaskProgress(detail.getKey());
  if (!finished) return source;
  source.maySend = source.maySend || m_state.ranWhenAsked(CTaskHelper::genServerTaskKey(detail));
  source.asked = true;
  source.answer = answerOf(*finished, detail);
  return source;
}

/// The details as sources of what is taken.
std::vector<SPatchSource> CPatchOffers::sources(const SNewestDetails& details, const OrderProcessMap* finished) const {
  std::vector<SPatchSource> sources;
  for (const auto& [key, detail] : details.own) {
    if (details.patches.contains(key)) continue;
    sources.push_back(sourceOf(*detail, finished));
    sources.back().account = ELineAccount::First;
  }
  for (const auto& patch : details.patches) sources.push_back(sourceOf(*patch.second, finished));
  return sources;
}

SRemainderFacts CPatchOffers::facts(const SNewestDetails& details, const OrderProcessMap* finished,
                                    std::vector<CBasketTaskItem*>& items) const {
  SRemainderFacts facts;
  for (auto account = m_tree.stocks().cbegin(); account != m_tree.stocks().cend(); ++account) {
    for (auto item = account->cbegin(); item != account->cend(); ++item) {
      if ((*item)->m_vecOperations.size() != 1) continue;
      items.push_back(*item);
      facts.rows.push_back(rowOf(**item, account.key(), finished));
      facts.rows.back().first = item.key() == facts.rows.back().line.second;
    }
  }
  for (const SPatchSource& source : sources(details, finished)) {
    addVolumes(facts.taken, takenVolumes(source));
    addVolumes(facts.unknown, unknownVolumes(source));
    if (!isUnanswered(source)) continue;
    for (const auto& line : plannedVolumes(source.detail.m_params, source.account)) facts.unanswered.insert(line.first);
  }
  // A patch that came by the way of a task's own details has raised the target by what it repeats.
  for (const auto& own : details.own) {
    if (isPatch(*own.second)) addVolumes(facts.taken, plannedVolumes(own.second->m_params, ELineAccount::First));
  }
  CPatchStore::instance().of(m_root.storeKey(), [&facts](CPatchCreations& creations) {
    facts.accepted = creations.held();
    facts.handedOver = creations.taken();
  });
  return facts;
}

SRemainderRow CPatchOffers::rowOf(CBasketTaskItem& item, const QString& accountKey,
                                  const OrderProcessMap* finished) const {
  SRemainderRow row;
  row.line = patchLine(item, accountKey);
  row.unset = item.m_bUnset;
  row.target = item.totalVolume();
  row.finished = item.finishedVolume();
  row.orders = CTaskHelper::getFinishedOrderNum(item.m_mapOrders);
  if (!item.hasRemainder()) return row;
  if (finished) row.answered = finishedNumber(accountKey, item.m_strStockKey.toStdString(), *finished);
  const auto [market, code] = instrumentOf(item);
  row.hasAccount = getUserConfig().getAccountData(row.line.first) != nullptr;
  row.hasInstrument = getExchangeClient().getCodeInfo(market, code) != nullptr;
  row.lots = lotsOf(item);
  return row;
}

int CPatchOffers::finishedNumber(const QString& accountKey, const std::string& securityKey,
                                 const OrderProcessMap& finished) const {
  const char* const function = "CBasketTask::getFinishedOrderNumForAlgoTask";
  long long sum = 0;
  for (const auto& [taskKey, numbers] : finished) {
    const CTaskDetailPtr* detail = answeredDetail(taskKey);
    if (!detail) {
      utils::logInfo(m_id.task, function, "patch calc cannot get taskdetail");
    } else if (!*detail) {
      utils::logInfo(m_id.task, function, "taskDetalPtr is NULL");
    } else if ((*detail)->m_params.empty()) {
      utils::logInfo(m_id.task, function, "taskDetalPtr m_param.m_params is 0");
    } else if (accountOf(**detail).key == accountKey) {
      sum += TC::finishedNumber(numbers, securityKey);
    }
  }
  return static_cast<int>(std::min<long long>(sum, std::numeric_limits<int>::max()));
}

/// The detail that an answer names, by the key of its algorithm or by the server's; null when there is none.
const CTaskDetailPtr* CPatchOffers::answeredDetail(const std::string& taskKey) const {
  if (const CTaskDetailPtr* known = m_own.serverTask(taskKey)) return known;
  for (const auto* details : {&m_own.all(), &m_patches.details()}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (detail->m_bServerTask && CTaskHelper::genServerTaskKey(*detail) == taskKey) return &detail;
    }
  }
  return nullptr;
}

// What is offered

std::vector<SLeftRow> CPatchOffers::left(const SNewestDetails& details, const OrderProcessMap* finished,
                                         const AccountPtr& given) const {
  std::vector<CBasketTaskItem*> items;
  SRemainderFacts known = facts(details, finished, items);
  for (SRemainderRow& row : known.rows) row.hasAccount = row.hasAccount || given;
  const std::vector<SRemainder> remainders = remaindersOf(known);
  std::vector<SLeftRow> left;
  for (std::size_t i = 0; i < items.size(); ++i) {
    left.push_back({items[i], known.rows[i], remainders[i]});
  }
  return left;
}

SPatchLines CPatchOffers::offer(const SNewestDetails& details, const OrderProcessMap& finished) const {
  SPatchLines offer;
  for (const SLeftRow& row : left(details, &finished)) {
    const CBasketTaskItem& item = *row.item;
    if (!item.hasRemainder()) continue;
    logLeft(row);
    if (row.remainder.refusal != ERefusal::None) {
      offer.refused << TC::refusalLine(item.m_strStockKey, item.m_vecOperations.front(), item.m_strAccounts,
                                       row.remainder.refusal);
    } else if (row.remainder.volume > 0) {
      offer.params.push_back(*paramOf(item, getUserConfig().getAccountData(row.row.line.first), row.remainder.volume));
    }
  }
  return offer;
}

void CPatchOffers::logLeft(const SLeftRow& left) const {
  utils::logInfo(m_id.task, "CBasketTask::calcAvailable",
                 "stk: cmd = %1%, task = %2%, code = %3%, patch Finished order num = %4%,patch num = %5%",
                 m_id.commandId, m_id.groupId, left.item->m_strStockKey, left.row.orders, left.remainder.rest.free);
}

bool CPatchOffers::stillFits(const SNewestDetails& details, const std::vector<CCodeOrderParam>& params,
                             const OrderProcessMap& finished) const {
  if (!isCancelled(details)) return false;
  std::vector<CBasketTaskItem*> items;
  return fits(facts(details, &finished, items), plannedVolumes(params, ELineAccount::Each));
}

std::optional<CCodeOrderParam> CPatchOffers::paramOf(const CBasketTaskItem& item, const AccountPtr& account,
                                                     int volume) {
  constexpr int PATCH_LINE_TYPE = 49;
  const auto [market, code] = instrumentOf(item);
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

QString CPatchOffers::refusalLine(const CCodeOrderParam& param, ERefusal refusal) {
  const std::string key = utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode);
  const QString account = param.m_pAccount ? accountDisplayIDQs(*param.m_pAccount) : QString();
  return TC::refusalLine(QString::fromStdString(key), param.m_nOperation, account, refusal);
}

}  // namespace TC
