/// Patches without a dialog, for a host's own use: each row's remainder is ordered at once. No progress query is asked
/// for; a server task of which nothing is known counts as taken whole.
#include <limits>

#include "EHpfBasketTaskStatus.h"
#include "PatchOffer.h"
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

/// What createTask is told of a patch that no dialog confirmed.
constexpr int DIRECT_PATCH = 0;
constexpr double NO_LIMIT = std::numeric_limits<double>::max();
const QString NO_PRICE = QStringLiteral("没有价格");

/// Prices the parameter by a price type, or (0) by the user's stored order setting; gives why that cannot be, in words
/// for the user.
QString setPrice(CCodeOrderParam& param, int priceType) {
  CQuote quote;
  if (!getQuoteClient().getQuote(param.m_stock.m_strMarket, param.m_stock.m_strCode, quote)) return NO_PRICE;
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
    if (!setting) return QStringLiteral("没有委托设置");
    orderSettingToParam(*setting, param, param.m_nOperation, param.m_nVolume, NO_LIMIT, quote);
  }
  const int type = param.m_nPriceType;
  if (type != ksservice::EPT_Counterpart && type != ksservice::EPT_User) return {};
  if (param.m_dPrice <= 0) param.m_dPrice = quote.m_dLast;
  return param.m_dPrice > 0 ? QString() : NO_PRICE;
}

}  // namespace

void CBasketTask::patch(const QString& key, int priceType) {
  if (!isCancelled(newest())) return;
  if (!beginPatch()) {
    refusePatch();
    return;
  }
  if (key.isEmpty() || key == m_strKey) {
    patchAll(priceType);
  } else {
    patchOne(key, priceType);
  }
  endPatch();
}

/// What is left of the rows for a patch that asks for no answer of the server.
std::vector<CBasketTask::SLeft> CBasketTask::directlyLeft() {
  const SNewest details = newest();
  noteArrivals(details);
  const Lock lock(m_mutex);
  return leftOf(details, nullptr);
}

void CBasketTask::patchOne(const QString& key, int priceType) {
  for (const SLeft& left : directlyLeft()) {
    {
      const Lock lock(m_mutex);
      if (left.item->m_strKey != key || left.item->m_bPatching || !left.item->hasRemainder()) continue;
    }
    patchRow(left, getUserConfig().getAccountData(left.line.first), priceType);
    return;
  }
}

void CBasketTask::patchAll(int priceType) {
  // The rows of an account stand together.
  std::map<std::string, std::vector<SLeft>> accounts;
  for (const SLeft& left : directlyLeft()) {
    const Lock lock(m_mutex);
    if (left.item->hasRemainder()) accounts[left.line.first].push_back(left);
  }
  bool sent = false;
  const auto setPatching = [&] {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = sent;
  };
  for (const auto& [key, rows] : accounts) {
    const AccountPtr account = getUserConfig().getAccountData(key);
    for (const SLeft& left : rows) sent = patchRow(left, account, priceType) || sent;
    setPatching();
    announcePatchState(sent ? EHBTS_Patching : EHBTS_PatchFailed, getOrderType(m_strKey));
  }
  setPatching();
  if (sent) announceRoot();
}

bool CBasketTask::patch(CBasketTaskItem* item, AccountPtr account, int priceType) {
  for (const SLeft& left : directlyLeft()) {
    if (left.item == item) return patchRow(left, account, priceType);
  }
  return false;
}

bool CBasketTask::patchRow(const SLeft& left, const AccountPtr& account, int priceType) {
  CBasketTaskItem& item = *left.item;
  int volume = 0;
  QString reason;
  {
    const Lock lock(m_mutex);
    utils::logInfo(this, "CBasketTask::patch",
                   "stk: cmd = %1%, task = %2%, patch Finished order num = %3%,patch num = %4%", m_nCommandId,
                   m_nGroupId, left.orders, left.rest.free);
    volume = inLots(item, left.rest.free).value_or(0);
    reason = refusal(left, account, {});
    if (reason.isEmpty() && volume < 1) reason = QStringLiteral("可补单量为0");
    if (reason.isEmpty()) item.m_bPatching = true;
  }
  if (!reason.isEmpty()) return failRow(item, reason);
  CCodeOrderParam param = *patchParam(item, account, volume);
  const auto command = getItCommandCenter().getCommand(getCommandKey());
  if (command) param.m_nType = command->m_nType;
  reason = setPrice(param, priceType);
  if (!reason.isEmpty()) return failRow(item, reason);
  if (!command) {
    utils::logInfo(this, "CBasketTask::patch", "get command fail");
    return failRow(item, QStringLiteral("没有指令"));
  }
  createPatch(*command, {param}, DIRECT_PATCH);
  return true;
}

/// Nothing is ordered of the row; tells the user why. Always false.
bool CBasketTask::failRow(CBasketTaskItem& item, const QString& reason) {
  QString key;
  QString name;
  int orderType = 0;
  {
    const Lock lock(m_mutex);
    item.m_bPatching = false;
    key = item.m_strKey;
    orderType = item.m_nOrderType;
    name = QString::fromStdString(item.m_strAccountKey) + QLatin1Char('/') + item.m_strStockKey +
           ksservice::operationText(item.m_vecOperations.value(0, ksservice::EOT_None));
  }
  getMsgService().showMsg(reason + QLatin1Char(' ') + name, EMK_TaskError);
  Q_EMIT sigTaskStatus(key, EHBTS_PatchFailed, orderType);
  return false;
}

}  // namespace TC
