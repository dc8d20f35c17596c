#include "Load.h"

#include <boost/make_shared.hpp>

namespace bench {
namespace {

constexpr int FIRST_TASK_ID = 1;
constexpr int FIRST_CODE = 600000;
constexpr int ORDER_VOLUME = 100000;
constexpr int LOT = 100;
const char MARKET[] = "SH";

double priceOf(int row) { return 10.0 + (row % 50) * 0.01; }

/// New for each row and each second, and never the whole volume.
int tradedVolume(int task, int number, int second) {
  return LOT * (1 + (second * 37 + number * 13 + task * 7) % (ORDER_VOLUME / LOT - 1));
}

}  // namespace

CLoad::CLoad(desk::CDesk& desk, const SLoadSize& size)
    : m_desk(desk), m_size(size), m_pAccount(boost::make_shared<ksservice::CAccountInfo>()) {
  m_pAccount->m_strKey = "stock/1001";
  m_pAccount->m_strDisplayId = "1001";
  m_pAccount->m_strName = "first account";
  desk::SAccount account;
  account.m_pInfo = m_pAccount;
  desk.addAccount(account);
  desk::SSession session;
  session.m_strUser = "trader";
  session.m_strLogin = "login";
  desk.setSession(session);
  enterInstruments(desk);
  enterOrderDetails(desk);
}

void CLoad::enterInstruments(desk::CDesk& desk) {
  for (int row = 0; row < m_size.rows; ++row) {
    m_codes.push_back(std::to_string(FIRST_CODE + row));
    TC::CCodeInfo info;
    info.m_strMarket = MARKET;
    info.m_strCode = m_codes.back();
    info.m_strName = "security " + std::to_string(row);
    desk.setInstrument(info);
  }
}

void CLoad::enterOrderDetails(desk::CDesk& desk) {
  const int orders = m_size.rows * m_size.ordersPerRow;
  m_tags.reserve(static_cast<std::size_t>(m_size.tasks) * static_cast<std::size_t>(orders));
  for (int task = 0; task < m_size.tasks; ++task) {
    desk::SPublication publication;
    for (int number = 0; number < orders; ++number) {
      m_tags.emplace_back("order " + std::to_string(task) + "/" + std::to_string(number));
      auto known = boost::make_shared<ksservice::COrderDetail>();
      known->m_strKey = m_tags.back().text();
      known->m_bCancelled = number % 7 == 0;
      publication.m_orderDetails.emplace_back(m_tags.back(), known);
    }
    publication.m_pDetail = boost::make_shared<ksservice::CTaskDetail>();
    publication.m_eVia = desk::EVia::Store;
    desk.publishTask(publication);
  }
}

void CLoad::publish(const ksservice::CTaskDetailPtr& detail) const {
  m_desk.publishTask({detail, {}, desk::EVia::Store, true, true});
}

const ksservice::CMavOrderTag& CLoad::tag(int task, int number) const {
  const std::size_t orders = static_cast<std::size_t>(m_size.rows) * static_cast<std::size_t>(m_size.ordersPerRow);
  return m_tags[static_cast<std::size_t>(task) * orders + static_cast<std::size_t>(number)];
}

ksservice::COrderInfoPtr CLoad::order(int task, int number, int second, EProgress progress) const {
  const int row = rowOfOrder(number);
  const bool full = progress == EProgress::HalfFinished && row % 2 == 0;
  auto order = boost::make_shared<ksservice::COrderInfo>();
  order->m_tag = tag(task, number);
  order->m_strKey = order->m_tag.text();
  order->m_strMarket = MARKET;
  order->m_strCode = m_codes[static_cast<std::size_t>(row)];
  order->m_nOperation = ksservice::EOT_Buy;
  order->m_nVolume = ORDER_VOLUME;
  order->m_nTradedVolume = full ? ORDER_VOLUME : tradedVolume(task, number, second);
  order->m_dPrice = priceOf(row);
  order->m_dTradedAmount = order->m_nTradedVolume * order->m_dPrice + second % 100;
  return order;
}

ksservice::CTaskDetailPtr CLoad::detail(int task, int second, EProgress progress) const {
  const int id = FIRST_TASK_ID + task;
  auto command = boost::make_shared<ksservice::COrderCommand>();
  command->m_nCommandId = id;
  command->m_nTaskId = id;
  command->m_nTraderType = EMTT_Stock;
  command->m_strUser = "trader";
  command->m_strLogin = "login";
  command->m_nBasketType = ksservice::ECBT_Basket;
  command->m_strBasketName = "basket " + std::to_string(id);
  auto detail = boost::make_shared<ksservice::CTaskDetail>();
  detail->m_strKey = ksservice::CTaskDetail::genKey(id, 1);
  detail->m_nTaskId = id;
  detail->m_nNumber = 1;
  detail->m_nStatus = ksservice::ETS_Running;
  detail->m_pCommand = command;
  for (int row = 0; row < m_size.rows; ++row) {
    ksservice::CCodeOrderParam param;
    param.m_pAccount = m_pAccount;
    param.m_nOperation = ksservice::EOT_Buy;
    const std::string& code = m_codes[static_cast<std::size_t>(row)];
    param.m_stock = {MARKET, code, code};
    param.m_dPrice = priceOf(row);
    param.m_nVolume = ORDER_VOLUME * m_size.ordersPerRow;
    detail->m_params.push_back(param);
  }
  // Each second changes the number of orders too, where a row has more than one.
  const int orders = m_size.rows * m_size.ordersPerRow;
  const int missing = m_size.ordersPerRow > 1 && progress == EProgress::Running ? m_size.rows * (second % 2) : 0;
  for (int number = 0; number < orders - missing; ++number) {
    detail->m_orders.push_back(order(task, number, second, progress));
  }
  return detail;
}

}  // namespace bench
