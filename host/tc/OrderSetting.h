/// A stored order setting: how a direct order is priced.
#pragma once

#include <optional>
#include <string>

#include "ksservice/CTaskDetail.h"
#include "tc/CQuoteClient.h"

namespace TC {

/// Its text is "price=" and the price type in decimal: "price=14". Offered are EPT_Limit, EPT_SellerLimit,
/// EPT_Counterpart, EPT_MarketSH, EPT_MarketSZ, EPT_Latest, EPT_LimitUp and EPT_LimitDown.
struct SOrderSetting {
  int m_nPriceType = ksservice::EPT_Limit;
};

/// None for a text that is empty or malformed or names a price type that is not offered. Any thread.
std::optional<SOrderSetting> orderSettingFromString(const std::string& text);

/// Makes a plain order of the parameter: operation, volume, price type as its instrument takes it, and the price from
/// the quote, no higher than limit. Any thread.
void orderSettingToParam(const SOrderSetting& setting, ksservice::CCodeOrderParam& param, int operation, int volume,
                         double limit, const CQuote& quote);

}  // namespace TC
