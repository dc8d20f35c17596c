/// Short ways into the host's trading data. Any thread.
#pragma once

#include <string>
#include <vector>

#include <QString>

#include "ksservice/CTaskDetail.h"
#include "tc/CExchangeClient.h"
#include "tc/CQuoteClient.h"

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
  /// What orders (a range of COrderInfoPtr) have finished or may still fill: the traded volume of a completed one, the
  /// whole volume of any other.
  template <typename Orders>
  static long long getFinishedOrderNum(const Orders& orders) {
    long long number = 0;
    for (const COrderInfoPtr& order : orders) {
      number += COrderDetailHelper::completed(*order) ? order->m_nTradedVolume : order->m_nVolume;
    }
    return number;
  }
};

struct CAccountData {
  /// The newest record of a data type with a key; null for an unknown one, and for any type but task details.
  static CTaskDetailPtr getData(int dataType, const std::string& key);
  /// Gives a corrected detail back to the host.
  static void updateData(const CTaskDetailPtr& detail);
};

struct StockTypeCenter {
  /// market may be a market or an exchange short code; false for an unknown instrument.
  static bool isTypedStock(const std::string& market, const std::string& code, int stockType);
  static bool isTypedStock(const TC::CCodeInfo& info, int stockType);
};

/// What a price that is set automatically is made of.
struct SAutoPrice {
  bool m_bOrderPriceInstead = true;  ///< the price for an order where the quote lacks the price that is asked for
};

struct CPriceDataHelper {
  /// The price for calculation from the current quote, 0 when there is none.
  static double getPriceForCalc(const std::string& market, const std::string& code);
  /// The price of an order of a price type, plus offset, in CNY. The counterpart price is the one at which the order
  /// trades at once: the quote's ask for a buy, its bid for any other operation. Types without a price of their own
  /// have the price for an order; so has an algorithm, which prices its orders itself.
  static double getPriceForOrder(const TC::CQuote& quote, int priceType, int operation, double offset,
                                 const SAutoPrice& autoPrice, bool algorithm);
  /// Turns the price type into one that the parameter's instrument takes: the market price of one exchange into that of
  /// the other, and one that is not supported into a limit, the buyer's or the seller's.
  static void adaptPriceType(CCodeOrderParam& param);
  /// A limit's price type: a seller's has one of its own.
  static int limitType(int operation);
};

constexpr const char* HONG_KONG = "HK";
/// The markets through which Hong Kong instruments are traded, too.
constexpr const char* CONNECT_MARKETS[] = {"HGT", "SGT"};

/// Turns "HGT", or else "SGT", into "HK" wherever it stands in the key of an instrument or a row, so that orders that
/// go through a connect market find what is kept of their Hong Kong instruments. A key with both keeps its "SGT": that
/// is intended.
void replaceMarketToHK(QString& key);

/// Whether the type is a market price of an exchange.
bool isRealMarketPrice(int priceType);
/// Whether lots and market prices are checked on the market: "SH", "SZ", "SSE" and "SZSE", exactly.
bool isLotMarket(const std::string& market);

/// Whether the price type is a market price on this instrument.
bool isSupportMarketPrice(const std::string& market, const std::string& code, int priceType);
bool isSupportMarketPrice(const TC::CCodeInfo& info, int priceType);
/// Shares in one unit of display; at least 1, 1 for an unknown instrument.
int getStockTradeUnit(const std::string& market, const std::string& code);
/// Smallest quantity that may be traded resp. entered, as the exchange client says: it may be below 1. 0 for an unknown
/// instrument. The units of this terminal depend neither on the operation (-1: any) nor on the side.
int getTradeMinUnit(const std::string& market, const std::string& code, int operation);
int getUiMinUnit(const std::string& market, const std::string& code, bool buy);
/// StockTypeCenter::isTypedStock in the order of arguments of the order windows. No instrument of this terminal has sub
/// types: subType stays empty.
bool isTypedStock(int stockType, const std::string& market, const std::string& code, const std::string& subType);

}  // namespace ksservice
