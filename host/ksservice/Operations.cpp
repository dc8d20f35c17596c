#include "ksservice/Operations.h"

#include <mutex>
#include <string>
#include <unordered_map>

namespace ksservice {
namespace {

struct SOperation {
  const char* text;
  bool buy;
};

const std::unordered_map<int, SOperation>& operations() {
  static const std::unordered_map<int, SOperation> table = {
      {EOT_Buy, {"买入", true}},
      {EOT_Sell, {"卖出", false}},
      {EOT_BuyOpen, {"买入开仓", true}},
      {EOT_SellOpen, {"卖出开仓", false}},
      {EOT_BuyClose, {"买入平仓", true}},
      {EOT_SellClose, {"卖出平仓", false}},
      {EOT_Purchase, {"申购", false}},
      {EOT_Redeem, {"赎回", false}},
      {EOT_ReturnSecurities, {"融券还券", false}},
      {EOT_DirectRepayCash, {"直接还款", false}},
      {EOT_DirectRepaySecurities, {"直接还券", false}},
      {EOT_CollateralIn, {"担保品转入", false}},
      {EOT_CollateralOut, {"担保品转出", false}},
      {EOT_CollateralBuy, {"担保品买入", false}},
      {EOT_BondRights, {"配债", false}},
      {EOT_ShareRights, {"配股", false}},
      {EOT_Vote, {"投票", false}},
      {EOT_CancelCommand, {"撤单指令", false}},
  };
  return table;
}

struct SText {
  std::string utf8;
  QString text;
};

/// Texts live for ever, so that a caller may keep the pointer; unknown types are few.
const SText& operationEntry(int operation) {
  static std::mutex mutex;
  static std::unordered_map<int, SText> texts;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto known = texts.find(operation);
  if (known != texts.end()) return known->second;
  const auto named = operations().find(operation);
  const std::string utf8 = named != operations().end() ? named->second.text : std::to_string(operation);
  return texts.emplace(operation, SText{utf8, QString::fromStdString(utf8)}).first->second;
}

}  // namespace

const char* operationValueToString(int operation) { return operationEntry(operation).utf8.c_str(); }

const QString& operationText(int operation) { return operationEntry(operation).text; }

QString CEnumsDataHelper::orderTypeToFormatString(int orderType) {
  if (orderType == EORT_Plain) return QStringLiteral("普通交易");
  if (DataHelper::isAlgoOrderType(orderType)) return QStringLiteral("智能算法");
  return QString();
}

QString CEnumsDataHelper::priceTypeToFormatString(int priceType) {
  static const std::unordered_map<int, const char*> names = {
      {EPT_Limit, "限价"},         {EPT_SellerLimit, "限价"},  {EPT_Latest, "最新价"},
      {EPT_LimitUp, "涨停价"},     {EPT_LimitDown, "跌停价"},  {EPT_User, "指定价"},
      {EPT_Counterpart, "对手价"}, {EPT_MarketSH, "沪市市价"}, {EPT_MarketSZ, "深市市价"},
  };
  const auto named = names.find(priceType);
  return named == names.end() ? QString::number(priceType) : QString::fromUtf8(named->second);
}

bool DataHelper::isBuy(int operation) {
  const auto named = operations().find(operation);
  return named != operations().end() && named->second.buy;
}

bool DataHelper::isDirectRepay(int operation) {
  return operation == EOT_DirectRepayCash || operation == EOT_DirectRepaySecurities;
}

bool DataHelper::isAlgoOrderType(int orderType) { return orderType >= EORT_Algo && orderType <= EORT_Algo3; }

}  // namespace ksservice

namespace TC {

QString operationToString(int operation) { return ksservice::operationText(operation); }

QString orderTypeToString(int orderType) { return ksservice::CEnumsDataHelper::orderTypeToFormatString(orderType); }

bool isBuy(int operation) { return ksservice::DataHelper::isBuy(operation); }

bool isDirectRepay(int operation) { return ksservice::DataHelper::isDirectRepay(operation); }

}  // namespace TC
