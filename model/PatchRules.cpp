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

LineVolumes orderVolumes(const SPatchSource& source) {
  const CLineAccounts accounts(source.detail.m_params, source.account);
  LineVolumes volumes;
  for (const COrderInfoPtr& order : source.detail.m_orders) {
    if (!order) continue;
    const QString row = orderRowKey(order->m_strMarket, order->m_strCode, order->m_nOperation);
    const long long volume = CTaskHelper::getFinishedOrderNum(std::initializer_list<COrderInfoPtr>{order});
    for (const std::string& account : accounts.of(row)) {
      volumes[{account, row}] += std::max<long long>({volume, order->m_nTradedVolume, 0});
    }
  }
  return volumes;
}

/// The operations that an order of a server's progress may be of: that of its parameter, or, where no index tells,
/// those of every parameter of its instrument.
std::set<int> operationsOf(const CTaskDetail& detail, const CProgressOrder& order) {
  const SProgressParam found = paramOf(detail, order);
  if (!found.param) return {};
  std::set<int> operations = {found.param->m_nOperation};
  if (found.told) return operations;
  for (const CCodeOrderParam& param : detail.m_params) {
    const bool same = isSameInstrument(order.m_detail.m_strMarket, order.m_detail.m_strCode, param.m_stock);
    if (same && param.m_nOperation != EOT_None) operations.insert(param.m_nOperation);
  }
  return operations;
}

LineVolumes progressVolumes(const SPatchSource& source) {
  const CLineAccounts accounts(source.detail.m_params, source.account);
  LineVolumes volumes;
  for (const CProgressOrder& order : source.progress->m_orders) {
    const COrderDetail& detail = order.m_detail;
    for (const int operation : operationsOf(source.detail, order)) {
      const QString row = orderRowKey(detail.m_strMarket, detail.m_strCode, operation);
      for (const std::string& account : accounts.of(row, order.m_strMapKey)) {
        volumes[{account, row}] += std::max(detail.m_nTradedVolume, 0);
      }
    }
  }
  return volumes;
}

LineVolumes answeredVolumes(const SPatchSource& source) {
  LineVolumes volumes;
  const LineVolumes planned = plannedVolumes(source.detail.m_params, source.account);
  for (const CCodeOrderParam& param : source.detail.m_params) {
    const std::string security = utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode);
    const PatchLine line = lineOf(param, ownerKey(source.detail.m_params, param, source.account));
    long long& volume = volumes[line];
    volume = finishedNumber(*source.answer, security);
    // A number at the end of its range may stand for any larger one.
    if (volume >= UNSET_INT) volume = std::max(volume, planned.at(line));
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

CLineAccounts::CLineAccounts(const std::vector<CCodeOrderParam>& params, ELineAccount account) {
  if (!params.empty()) m_first = {accountKey(params.front()), {}};
  if (account == ELineAccount::First) return;
  for (const CCodeOrderParam& param : params) {
    const PatchLine line = lineOf(param, accountKey(param));
    std::vector<SAccount>& accounts = m_accounts[line.second];
    const bool known =
        std::any_of(accounts.begin(), accounts.end(), [&line](const SAccount& one) { return one.key == line.first; });
    if (!known)
      accounts.push_back(
          {line.first, param.m_pAccount ? accountDisplayIDQs(*param.m_pAccount).toStdString() : std::string()});
  }
}

std::vector<std::string> CLineAccounts::of(const QString& row, const std::string& mapKey) const {
  const auto known = m_accounts.find(row);
  if (known == m_accounts.end()) return {m_first.key};
  std::size_t longest = 0;
  for (const SAccount& one : known->second) {
    if (mapKey.find(one.text) != std::string::npos) longest = std::max(longest, one.text.size());
  }
  std::vector<std::string> keys;
  for (const SAccount& one : known->second) {
    const bool named = one.text.size() == longest && mapKey.find(one.text) != std::string::npos;
    if (longest == 0 || named) keys.push_back(one.key);
  }
  return keys;
}

PatchLine patchLine(const CBasketTaskItem& item, const QString& accountKey) {
  QString row = item.m_strStockKey + operationText(item.m_vecOperations.value(0, EOT_None));
  replaceMarketToHK(row);
  return {accountKey.toStdString(), row};
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
  static const std::vector<std::string> hongKong = [] {
    std::vector<std::string> markets = {HONG_KONG};
    markets.insert(markets.end(), std::begin(CONNECT_MARKETS), std::end(CONNECT_MARKETS));
    return markets;
  }();
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
  const bool filled = source.detail.m_nStatus == ETS_Finished;
  const bool unknown = server && !source.answer && (source.asked ? filled : !source.progress);
  if (source.maySend || unknown) raiseVolumes(taken, planned);
  return taken;
}

LineVolumes unknownVolumes(const SPatchSource& source) {
  if (!isUnanswered(source)) return {};
  LineVolumes unknown = plannedVolumes(source.detail.m_params, source.account);
  const LineVolumes taken = takenVolumes(source);
  for (auto& [line, volume] : unknown) {
    const auto known = taken.find(line);
    if (known != taken.end()) volume = std::max<long long>(0, volume - known->second);
  }
  return unknown;
}

bool isUnanswered(const SPatchSource& source) {
  const int status = source.detail.m_nStatus;
  return source.detail.m_bServerTask && source.asked && !source.answer && hasEnded(status) && status != ETS_Finished;
}

void addVolumes(LineVolumes& sum, const LineVolumes& volumes) {
  for (const auto& [line, volume] : volumes) sum[line] += volume;
}

}  // namespace TC
