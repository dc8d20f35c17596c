/// The load of every benchmark: baskets of which every figure is new each second.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "CDesk.h"
#include "ksservice/CTaskDetail.h"

namespace bench {

struct SLoadSize {
  int tasks = 1000;
  int rows = 300;
  int ordersPerRow = 1;
};

/// Prepares the details that a host would publish. Deterministic: the same task and second give the same figures. Needs
/// no window; made on one thread, afterwards read by any.
class CLoad {
 public:
  enum class EProgress { Running, HalfFinished };  ///< HalfFinished: every other row is traded in full

  /// Enters accounts, instruments and the order details of every order at the desk, which must outlive the load.
  CLoad(desk::CDesk& desk, const SLoadSize& size);

  const SLoadSize& size() const { return m_size; }
  /// The task's detail in a second, with fresh orders: no order is shared with the detail of another second.
  ksservice::CTaskDetailPtr detail(int task, int second, EProgress progress = EProgress::Running) const;
  /// One of its orders.
  ksservice::COrderInfoPtr order(int task, int number, int second, EProgress progress = EProgress::Running) const;
  /// Places a detail of this load in the data centre alone: the parameters of a task's details never change.
  void publish(const ksservice::CTaskDetailPtr& detail) const;
  /// The row of an order of a detail: what a dense index over the orders holds.
  int rowOfOrder(int order) const { return order % m_size.rows; }

 private:
  void enterInstruments(desk::CDesk& desk);
  void enterOrderDetails(desk::CDesk& desk);
  const ksservice::CMavOrderTag& tag(int task, int number) const;

  desk::CDesk& m_desk;
  SLoadSize m_size;
  boost::shared_ptr<ksservice::CAccountInfo> m_pAccount;
  std::vector<std::string> m_codes;
  std::vector<ksservice::CMavOrderTag> m_tags;
};

}  // namespace bench
