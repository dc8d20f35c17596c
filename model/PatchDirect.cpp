/// Patches without a confirmation, for a host's own use: each row's remainder is ordered at once. No progress query is
/// asked for; a server task of which nothing is known counts as taken whole.
#include <limits>
#include <map>

#include "EHpfBasketTaskStatus.h"
#include "PatchFlow.h"
#include "TaskParts.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CUserConfig.h"
#include "tc/OrderSetting.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;

namespace {

/// What createTask is told of a patch that nobody confirmed.
constexpr int DIRECT_PATCH = 0;
constexpr double NO_LIMIT = std::numeric_limits<double>::max();

/// Prices the parameter by a price type, or (0) by the user's stored order setting; gives why that cannot be.
ERefusal setPrice(CCodeOrderParam& param, int priceType) {
  CQuote quote;
  if (!getQuoteClient().getQuote(param.m_stock.m_strMarket, param.m_stock.m_strCode, quote)) return ERefusal::NoPrice;
  param.m_dPrice = quote.m_dLast;
  if (priceType != 0) {
    param.m_nOrderType = ksservice::EORT_Plain;
    param.m_nPriceType = priceType;
    // The price at which the order trades at once.
    if (priceType == ksservice::EPT_Counterpart)
      param.m_dPrice = isBuy(param.m_nOperation) ? quote.m_dAsk : quote.m_dBid;
  } else {
    const std::vector<std::string> settings = getUserConfig().getOrderSettings();
    const auto setting = settings.empty() ? std::nullopt : orderSettingFromString(settings.front());
    if (!setting) return ERefusal::NoOrderSetting;
    orderSettingToParam(*setting, param, param.m_nOperation, param.m_nVolume, NO_LIMIT, quote);
  }
  const int type = param.m_nPriceType;
  if (type != ksservice::EPT_Counterpart && type != ksservice::EPT_User) return ERefusal::None;
  if (param.m_dPrice <= 0) param.m_dPrice = quote.m_dLast;
  return param.m_dPrice > 0 ? ERefusal::None : ERefusal::NoPrice;
}

}  // namespace

void CBasketTask::patch(const QString& key, int priceType) { CPatchFlow(*this).patch(key, priceType); }

bool CBasketTask::patch(CBasketTaskItem* item, AccountPtr account, int priceType) {
  return CPatchFlow(*this).patchRow(item, account, priceType);
}

void CBasketTask::CPatchFlow::patch(const QString& key, int priceType) {
  const auto known = CPatchOffers::askDetails();
  {
    const CTaskLock task(*m_task.m_guard);
    if (!task->offers.isCancelled(task->offers.newest(known))) return;
  }
  if (!begin()) return refuse();
  const SEnd ending{*this};
  if (key.isEmpty() || key == m_task.getKey()) {
    patchAll(priceType);
  } else {
    patchOne(key, priceType);
  }
}

std::vector<SLeftRow> CBasketTask::CPatchFlow::left(const AccountPtr& given) {
  const auto known = CPatchOffers::askDetails();
  const CTaskLock task(*m_task.m_guard);
  const SNewestDetails details = task->offers.newest(known);
  noteArrivals(task, details);
  return task->offers.left(details, nullptr, given);
}

void CBasketTask::CPatchFlow::patchOne(const QString& key, int priceType) {
  for (const SLeftRow& row : left()) {
    {
      const CTaskLock task(*m_task.m_guard);
      if (row.item->m_strKey != key || row.item->m_bPatching || !row.item->hasRemainder()) continue;
    }
    patchLeft(row, getUserConfig().getAccountData(row.row.line.first), priceType);
    return;
  }
}

void CBasketTask::CPatchFlow::patchAll(int priceType) {
  // The rows of an account stand together.
  std::map<std::string, std::vector<SLeftRow>> accounts;
  for (const SLeftRow& row : left()) {
    const CTaskLock task(*m_task.m_guard);
    if (row.item->hasRemainder()) accounts[row.row.line.first].push_back(row);
  }
  bool sent = false;
  if (accounts.empty()) CTaskLock(*m_task.m_guard)->tree.root().m_bPatching = false;
  for (const auto& [key, rows] : accounts) {
    const AccountPtr account = getUserConfig().getAccountData(key);
    for (const SLeftRow& row : rows) sent = patchLeft(row, account, priceType) || sent;
    int shown = 0;
    {
      const CTaskLock task(*m_task.m_guard);
      task->tree.root().m_bPatching = sent;
      shown = task->root.shownOr(sent ? EHBTS_Patching : EHBTS_PatchFailed);
    }
    m_task.announce(shown);
  }
  if (sent) m_task.announceRoot();
}

bool CBasketTask::CPatchFlow::patchRow(const CBasketTaskItem* item, const AccountPtr& account, int priceType) {
  for (const SLeftRow& row : left(account)) {
    if (row.item == item) return patchLeft(row, account, priceType);
  }
  return false;
}

bool CBasketTask::CPatchFlow::patchLeft(const SLeftRow& left, const AccountPtr& account, int priceType) {
  CBasketTaskItem& item = *left.item;
  const SRemainder& remainder = left.remainder;
  utils::logInfo(&m_task, "CBasketTask::patch",
                 "stk: cmd = %1%, task = %2%, patch Finished order num = %3%,patch num = %4%", m_task.getCommandID(),
                 m_task.getGroupId(), left.row.orders, remainder.rest.free);
  if (remainder.refusal != ERefusal::None) return failRow(item, remainder.refusal);
  if (remainder.volume < 1) return failRow(item, ERefusal::Nothing);
  std::optional<CCodeOrderParam> param;
  {
    const CTaskLock task(*m_task.m_guard);
    item.m_bPatching = true;
    param = CPatchOffers::paramOf(item, account, remainder.volume);
  }
  if (!account) return failRow(item, ERefusal::NoAccount);
  if (!param) return failRow(item, ERefusal::NoInstrument);
  const auto command = getItCommandCenter().getCommand(m_task.getCommandKey());
  if (command) param->m_nType = command->m_nType;
  const ERefusal unpriced = setPrice(*param, priceType);
  if (unpriced != ERefusal::None) return failRow(item, unpriced);
  if (!command) {
    utils::logInfo(&m_task, "CBasketTask::patch", "get command fail");
    return failRow(item, ERefusal::NoCommand);
  }
  keepProof({left}, {*param});
  create(*command, {*param}, DIRECT_PATCH);
  return true;
}

/// Nothing is ordered of the row; tells the user why. Always false.
bool CBasketTask::CPatchFlow::failRow(CBasketTaskItem& item, ERefusal refusal) {
  QString key;
  QString name;
  int orderType = 0;
  {
    const CTaskLock task(*m_task.m_guard);
    item.m_bPatching = false;
    key = item.m_strKey;
    orderType = item.m_nOrderType;
    name = QString::fromStdString(item.m_strAccountKey) + QLatin1Char('/') + item.m_strStockKey +
           ksservice::operationText(item.m_vecOperations.value(0, ksservice::EOT_None));
  }
  getMsgService().showMsg(refusalText(refusal) + QLatin1Char(' ') + name, EMK_TaskError);
  Q_EMIT m_task.sigTaskStatus(key, EHBTS_PatchFailed, orderType);
  return false;
}

}  // namespace TC
