#include "tc/OrderSetting.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "ksservice/Helpers.h"

namespace TC {
namespace {

using namespace ksservice;

constexpr std::string_view PRICE = "price=";
constexpr int OFFERED[] = {EPT_Limit,    EPT_SellerLimit, EPT_Counterpart, EPT_MarketSH,
                           EPT_MarketSZ, EPT_Latest,      EPT_LimitUp,     EPT_LimitDown};

}  // namespace

std::optional<SOrderSetting> orderSettingFromString(const std::string& text) {
  if (text.compare(0, PRICE.size(), PRICE) != 0) return std::nullopt;
  const char* const end = text.data() + text.size();
  SOrderSetting setting;
  const auto read = std::from_chars(text.data() + PRICE.size(), end, setting.m_nPriceType);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  const bool offered = std::find(std::begin(OFFERED), std::end(OFFERED), setting.m_nPriceType) != std::end(OFFERED);
  return offered ? std::optional(setting) : std::nullopt;
}

void orderSettingToParam(const SOrderSetting& setting, CCodeOrderParam& param, int operation, int volume, double limit,
                         const CQuote& quote) {
  param.m_nOrderType = EORT_Plain;
  param.m_nOperation = operation;
  param.m_nVolume = volume;
  param.m_nPriceType = setting.m_nPriceType;
  CPriceDataHelper::adaptPriceType(param);
  const double price = CPriceDataHelper::getPriceForOrder(quote, param.m_nPriceType, operation, 0, SAutoPrice(), false);
  param.m_dPrice = std::min(price, limit);
}

}  // namespace TC
