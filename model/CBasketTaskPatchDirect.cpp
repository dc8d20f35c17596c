/// Patches without a dialog, for a host's own use: each row's remainder is ordered at once. No progress query is asked
/// for, so the lines of server tasks count as taken whole.
#include <limits>

#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
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

/// Prices the parameter by a price type, or (0) by the user's stored order setting; false when there is none.
bool setPrice(CCodeOrderParam& param, int priceType, const CQuote& quote) {
  param.m_dPrice = quote.m_dLast;
  if (priceType != 0) {
    param.m_nOrderType = ksservice::EORT_Plain;
    param.m_nPriceType = priceType;
    if (priceType == ksservice::EPT_Counterpart) {
      param.m_dPrice = isBuy(param.m_nOperation) ? quote.m_dBid : quote.m_dAsk;
    }
    return true;
  }
  const std::vector<std::string> settings = getUserConfig().getOrderSettings();
  const auto setting = settings.empty() ? std::nullopt : orderSettingFromString(settings.front());
  if (setting) orderSettingToParam(*setting, param, param.m_nOperation, param.m_nVolume, NO_LIMIT, quote);
  return setting.has_value();
}

}  // namespace

void CBasketTask::patch(const QString& key, int priceType) {
  if (status() != ksservice::ETS_Cancelled) return;
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

void CBasketTask::patchOne(const QString& key, int priceType) {
  CBasketTaskItem* item = nullptr;
  AccountPtr account;
  {
    const Lock lock(m_mutex);
    for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend() && !item; ++rows) {
      for (CBasketTaskItem* row : *rows) {
        if (row->m_strKey != key || row->m_bPatching || !row->hasRemainder()) continue;
        item = row;
        account = getUserConfig().getAccountData(rows.key().toStdString());
        break;
      }
    }
  }
  if (!item) return;
  if (account) {
    patch(item, account, priceType);
  } else {
    failRow(*item, QStringLiteral("没有账号数据，不能补单"));
  }
}

void CBasketTask::patchAll(int priceType) {
  const LineVolumes taken = takenVolumes({});
  std::vector<std::pair<AccountPtr, std::vector<CBasketTaskItem*>>> accounts;
  {
    const Lock lock(m_mutex);
    for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
      const AccountPtr account = getUserConfig().getAccountData(rows.key().toStdString());
      if (!account) continue;
      accounts.emplace_back(account, std::vector<CBasketTaskItem*>());
      for (CBasketTaskItem* row : *rows) {
        if (row->hasRemainder()) accounts.back().second.push_back(row);
      }
    }
  }
  bool sent = false;
  const auto setPatching = [&] {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = sent;
  };
  for (const auto& [account, rows] : accounts) {
    for (CBasketTaskItem* row : rows) sent = patchRow(*row, account, priceType, taken) || sent;
    setPatching();
    announce(sent ? EHBTS_Patching : EHBTS_PatchFailed);
  }
  setPatching();
  if (sent) announce(EHBTS_Patching);
}

bool CBasketTask::patch(CBasketTaskItem* item, AccountPtr account, int priceType) {
  return patchRow(*item, account, priceType, takenVolumes({}));
}

bool CBasketTask::patchRow(CBasketTaskItem& item, const AccountPtr& account, int priceType, const LineVolumes& taken) {
  if (item.m_vecOperations.size() != 1) return false;
  std::optional<int> volume;
  {
    const Lock lock(m_mutex);
    const long long done = ksservice::CTaskHelper::getFinishedOrderNum(item.m_mapOrders);
    const long long available = remainder(item, QString::fromStdString(account->getKey()), done, taken);
    utils::logInfo(this, "CBasketTask::patch",
                   "stk: cmd = %1%, task = %2%, patch Finished order num = %3%,patch num = %4%", m_nCommandId,
                   m_nGroupId, done, available);
    volume = inLots(item, available);
    if (volume.value_or(0) >= 1) item.m_bPatching = true;
  }
  if (!volume) return failRow(item, QStringLiteral("没有有效的最小交易单位，不能补单"));
  if (*volume < 1) return failRow(item, QStringLiteral("可补单量为0"));

  std::optional<CCodeOrderParam> param = patchParam(item, account, *volume);
  if (!param) return failRow(item, QString());
  const auto command = getItCommandCenter().getCommand(getCommandKey());
  if (command) param->m_nType = command->m_nType;
  CQuote quote;
  if (!getQuoteClient().getQuote(param->m_stock.m_strMarket, param->m_stock.m_strCode, quote)) {
    return failRow(item, QStringLiteral("没有行情，不能补单"));
  }
  if (!setPrice(*param, priceType, quote)) return failRow(item, QString());
  if (!command) {
    utils::logInfo(this, "CBasketTask::patch", "get command fail");
    return failRow(item, QString());
  }
  createPatch(*command, {*param}, DIRECT_PATCH);
  return true;
}

/// Nothing is ordered of the row; tells the user why, unless the message is empty. Always false.
bool CBasketTask::failRow(CBasketTaskItem& item, const QString& message) {
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
  if (!message.isEmpty()) getMsgService().showMsg(message + QLatin1Char(' ') + name, EMK_TaskError);
  Q_EMIT sigTaskStatus(key, EHBTS_PatchFailed, orderType);
  return false;
}

}  // namespace TC
