/// Short ways into the host's trading data. Any thread.
#pragma once

#include <string>
#include <vector>

#include "ksservice/CTaskDetail.h"
#include "tc/CExchangeClient.h"

namespace ksservice {

struct COrderDetailHelper {
  static bool completed(const COrderInfo& order) { return order.m_bCompleted; }
  static bool isOrderCanceled(const COrderDetail& detail) { return detail.m_bCancelled; }
  /// Null when the data centre knows no detail for the tag.
  static COrderDetailPtr getOrderDetailByMavTag(const CMavOrderTag& tag);
  /// Appends the details that are known for the orders' tags, in the orders' order.
  static void getOrderDetailsByMavTags(const std::vector<COrderInfoPtr>& orders, std::vector<COrderDetailPtr>& out);
};

struct CTaskHelper {
  /// The key under which the server knows a task.
  static const std::string& genServerTaskKey(const CTaskDetail& detail) { return detail.getKey(); }
};

struct CAccountData {
  /// Gives a corrected detail back to the host.
  static void updateData(const CTaskDetailPtr& detail);
};

struct StockTypeCenter {
  /// market may be a market or an exchange short code; false for an unknown instrument.
  static bool isTypedStock(const std::string& market, const std::string& code, int stockType);
  static bool isTypedStock(const TC::CCodeInfo& info, int stockType);
};

struct CPriceDataHelper {
  /// The price for calculation from the current quote, 0 when there is none.
  static double getPriceForCalc(const std::string& market, const std::string& code);
};

/// Whether the price type is a market price on this instrument.
bool isSupportMarketPrice(const std::string& market, const std::string& code, int priceType);
bool isSupportMarketPrice(const TC::CCodeInfo& info, int priceType);
/// Shares in one unit of display; at least 1, 1 for an unknown instrument.
int getStockTradeUnit(const std::string& market, const std::string& code);

}  // namespace ksservice
