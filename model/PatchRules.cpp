#include "PatchRules.h"

#include <algorithm>
#include <set>

#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace TC {
namespace {

using namespace ksservice;

std::string accountKey(const CCodeOrderParam& param) {
  return param.m_pAccount ? param.m_pAccount->getKey() : std::string();
}

PatchLine lineOf(const CCodeOrderParam& param, const std::string& account) {
  return {account, orderRowKey(param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_nOperation)};
}

std::string ownerKey(const std::vector<CCodeOrderParam>& params, const CCodeOrderParam& param, ELineAccount account) {
  return accountKey(account == ELineAccount::First ? params.front() : param);
}

/// The accounts that an order on a row may be of. An order does not say; where two accounts trade one row, it counts
/// for both, so that neither is offered too much.
class CRowAccounts {
 public:
  explicit CRowAccounts(const SPatchSource& source) {
    const auto& params = source.detail.m_params;
    if (!params.empty()) m_first = accountKey(params.front());
    if (source.account == ELineAccount::First) return;
    for (const CCodeOrderParam& param : params) {
      const PatchLine line = lineOf(param, accountKey(param));
      m_accounts[line.second].insert(line.first);
    }
  }

  void add(LineVolumes& volumes, const QString& row, long long volume) const {
    const auto known = m_accounts.find(row);
    if (known == m_accounts.end()) {
      volumes[{m_first, row}] += volume;
      return;
    }
    for (const std::string& account : known->second) volumes[{account, row}] += volume;
  }

 private:
  std::string m_first;
  std::map<QString, std::set<std::string>> m_accounts;
};

LineVolumes orderVolumes(const SPatchSource& source) {
  const CRowAccounts accounts(source);
  LineVolumes volumes;
  for (const COrderInfoPtr& order : source.detail.m_orders) {
    if (!order) continue;
    const long long volume = CTaskHelper::getFinishedOrderNum(std::initializer_list<COrderInfoPtr>{order});
    accounts.add(volumes, orderRowKey(order->m_strMarket, order->m_strCode, order->m_nOperation),
                 std::max<long long>({volume, order->m_nTradedVolume, 0}));
  }
  return volumes;
}

LineVolumes progressVolumes(const SPatchSource& source) {
  const CRowAccounts accounts(source);
  LineVolumes volumes;
  for (const CProgressOrder& order : source.progress->m_orders) {
    const CCodeOrderParam* param = paramOf(source.detail, order);
    if (!param) continue;
    const COrderDetail& detail = order.m_detail;
    accounts.add(volumes, orderRowKey(detail.m_strMarket, detail.m_strCode, param->m_nOperation),
                 std::max(detail.m_nTradedVolume, 0));
  }
  return volumes;
}

LineVolumes answeredVolumes(const SPatchSource& source) {
  LineVolumes volumes;
  for (const CCodeOrderParam& param : source.detail.m_params) {
    const std::string security = utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode);
    volumes[lineOf(param, ownerKey(source.detail.m_params, param, source.account))] =
        finishedNumber(*source.answer, security);
  }
  return volumes;
}

void raiseVolumes(LineVolumes& volumes, const LineVolumes& other) {
  for (const auto& [line, volume] : other) {
    long long& known = volumes[line];
    known = std::max(known, volume);
  }
}

}  // namespace

PatchLine patchLine(const CBasketTaskItem& item, const QString& accountKey) {
  QString row = item.m_strStockKey + operationText(item.m_vecOperations.value(0, EOT_None));
  replaceMarketToHK(row);
  return {accountKey.toStdString(), row};
}

bool hasEnded(int status) {
  return status == ETS_Finished || status == ETS_Cancelled || status == ETS_ExecutionError || status == ETS_Dropped;
}

bool tradesInLots(int operation, const QString& market) {
  // Purchases and collateral buys are no buys elsewhere, but are rounded like them.
  const bool buys = DataHelper::isBuy(operation) || operation == EOT_Purchase || operation == EOT_CollateralBuy;
  return buys && isLotMarket(market.toStdString());
}

int orderVolume(long long remainder) { return std::min(CWideVolume::held(remainder), UNSET_INT - 1); }

std::optional<int> roundToLots(int remainder, int unit, bool noLots) {
  if (noLots) return remainder < unit ? 0 : remainder;
  if (unit < 1) return std::nullopt;
  return remainder / unit * unit;
}

long long finishedNumber(const std::map<std::string, int>& numbers, const std::string& securityKey) {
  static const std::vector<std::string> hongKong = {"HK", "HGT", "SGT"};
  std::string market;
  std::string code;
  utils::splitMavStockKey(securityKey, market, code);
  const bool connected = std::find(hongKong.begin(), hongKong.end(), market) != hongKong.end();
  long long sum = 0;
  for (const std::string& one : connected ? hongKong : std::vector<std::string>{market}) {
    const auto known = numbers.find(utils::mavStockKey(one, code));
    if (known != numbers.end()) sum += std::max(known->second, 0);
  }
  return sum;
}

LineVolumes plannedVolumes(const std::vector<CCodeOrderParam>& params, ELineAccount account) {
  LineVolumes volumes;
  for (const CCodeOrderParam& param : params) {
    volumes[lineOf(param, ownerKey(params, param, account))] += std::max(setVolume(param), 0);
  }
  return volumes;
}

LineVolumes takenVolumes(const SPatchSource& source) {
  LineVolumes taken = orderVolumes(source);
  const LineVolumes planned = plannedVolumes(source.detail.m_params, source.account);
  const bool server = source.detail.m_bServerTask;
  if (source.progress) raiseVolumes(taken, progressVolumes(source));
  if (source.answer) raiseVolumes(taken, answeredVolumes(source));
  if (source.maySend || (server && !source.answer)) raiseVolumes(taken, planned);
  return taken;
}

void addVolumes(LineVolumes& sum, const LineVolumes& volumes) {
  for (const auto& [line, volume] : volumes) sum[line] += volume;
}

}  // namespace TC
