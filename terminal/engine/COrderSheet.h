#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CDesk.h"
#include "ksservice/CTaskDetail.h"

namespace engine {

/// What goes to the market as one order.
struct SNewOrder {
  std::uint64_t m_nMarketId = 0;  ///< the number under which the market knows it
  ksservice::CStockInfo m_stock;
  int m_nOperation = ksservice::EOT_Buy;
  int m_nQuantity = 0;  ///< shares, or lots of a future
  double m_dPrice = 0;  ///< CNY, or index points
  int m_nTime = 0;      ///< seconds since the epoch
};

/// The orders behind one task detail and what became of them. Knows no market and no clock. Everything on the engine's
/// thread; what publish() handed out is never changed.
class COrderSheet {
 public:
  struct SOrder {
    std::uint64_t m_nMarketId = 0;
    ksservice::COrderInfo m_info;
    ksservice::COrderInfoPtr m_pPublished;
    bool m_bAccepted = false;
    bool m_bCancelled = false;
    bool m_bRejected = false;
    bool m_bDirty = true;
    bool m_bDetailDirty = false;

    int left() const { return m_info.m_nVolume - m_info.m_nTradedVolume; }
  };

  /// Orders get the prefix, "-" and their number from 1 as key and as tag.
  explicit COrderSheet(std::string keyPrefix) : m_strPrefix(std::move(keyPrefix)) {}

  void reserve(std::size_t orders) { m_orders.reserve(orders); }
  /// Returns the order's index.
  int add(const SNewOrder& order);
  void accept(int order);
  void reject(int order, const std::string& message);
  /// seconds: since the epoch.
  void fill(int order, int quantity, double amount, int seconds);
  /// The message tells why when nobody asked for it; an empty one is none.
  void cancel(int order, const std::string& message = {});

  bool isEmpty() const { return m_orders.empty(); }
  const std::vector<SOrder>& orders() const { return m_orders; }
  /// Of the order with a key; -1 for none.
  int find(const std::string& key) const;
  /// Orders that may still fill.
  int workingCount() const { return m_nWorking; }
  /// The market's numbers of the orders that may still fill.
  std::vector<std::uint64_t> workingOrders() const;
  /// What may still fill, in shares or lots.
  std::int64_t workingVolume() const { return m_nWorkingVolume; }
  int rejectedCount() const { return m_nRejected; }
  bool areAllFilled() const;
  std::int64_t tradedVolume() const { return m_nTraded; }
  /// CNY.
  double tradedAmount() const { return m_dTraded; }

  /// Puts the orders into the detail, those that did not change since the last time shared with it, and beside it what
  /// changed of their order details, what they traded and when new ones were sent.
  void publish(ksservice::CTaskDetail& detail, desk::SPublication& publication);

 private:
  SOrder& touch(int order);
  void end(SOrder& order);
  static ksservice::COrderDetailPtr makeOrderDetail(const SOrder& order);

  std::string m_strPrefix;
  std::vector<SOrder> m_orders;  ///< in the order in which they were sent
  // Since the last publication.
  std::vector<desk::SOrderFill> m_fills;
  std::vector<int> m_sent;
  int m_nWorking = 0;
  int m_nRejected = 0;
  // A basket's orders together may be more than 32 bits hold.
  std::int64_t m_nWorkingVolume = 0;
  std::int64_t m_nTraded = 0;
  double m_dTraded = 0;
};

}  // namespace engine
