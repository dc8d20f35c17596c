#pragma once

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <string>
#include <utility>
#include <vector>

#include "CBasketTask.h"
#include "CTestHost.h"
#include "TaskDetails.h"

/// A task 123 of command 77 on a host of its own, and short ways to make what it is given.
class CTaskTest : public testing::Test {
 protected:
  using DetailPtr = ksservice::CTaskDetailPtr;
  using OrderPtr = ksservice::COrderInfoPtr;
  using AccountPtr = boost::shared_ptr<ksservice::CAccountInfo>;

  CTaskTest() { task.getRoot()->setHpfTreeKey("T"); }

  static AccountPtr account(const std::string& key, const std::string& displayId, const std::string& name = "主账户",
                            int type = 0) {
    AccountPtr made = testkit::makeAccount(key, displayId);
    made->m_strName = name;
    made->m_nType = type;
    return made;
  }

  /// A running detail of command 77 without parameters and orders.
  static DetailPtr detail(int number = 1) {
    DetailPtr made = testkit::makeDetail(123, number);
    made->m_pCommand->m_nCommandId = 77;
    made->m_pCommand->m_strBasketName = "篮子";
    return made;
  }
  /// The same of a task with an identifier of its own.
  static DetailPtr detailOf(int id, int number = 1) {
    DetailPtr made = detail(number);
    made->m_nTaskId = id;
    made->m_strKey = ksservice::CTaskDetail::genKey(id, number);
    return made;
  }
  static DetailPtr patchDetail(int id, int number = 1) {
    DetailPtr made = detailOf(id, number);
    made->m_pCommand->m_bPatch = true;
    return made;
  }

  static ksservice::CCodeOrderParam param(const AccountPtr& account, const std::string& market, const std::string& code,
                                          int operation, int volume, double price) {
    ksservice::CTaskDetail holder;
    testkit::addParam(holder, account, code, volume, price, operation);
    holder.m_params.front().m_stock.m_strMarket = market;
    return holder.m_params.front();
  }

  /// An order at a price of 10 CNY; its tag is its key.
  static OrderPtr order(const std::string& key, const std::string& market, const std::string& code, int operation,
                        int volume, int traded, double amount) {
    ksservice::CTaskDetail holder;
    OrderPtr made = testkit::addOrder(holder, key, code, volume, traded, 10, operation);
    made->m_strMarket = market;
    made->m_dTradedAmount = amount;
    return made;
  }
  static OrderPtr buy(const std::string& key, int volume, int traded, double amount) {
    return order(key, "SH", "600000", ksservice::EOT_Buy, volume, traded, amount);
  }
  static OrderPtr sell(const std::string& key, int volume, int traded) {
    return order(key, "SZ", "000001", ksservice::EOT_Sell, volume, traded, traded * 10);
  }
  static OrderPtr ended(OrderPtr order) {
    order->m_bCompleted = true;
    return order;
  }

  /// Detail `number`, by default of account A1: a buy of 1000 SH.600000 and a sell of 500 SZ.000001, both at 10 CNY.
  DetailPtr twoLines(int number = 1) const { return twoLinesOf(mainAccount, number); }
  static DetailPtr twoLinesOf(const AccountPtr& account, int number) {
    DetailPtr made = detail(number);
    made->m_params = {param(account, "SH", "600000", ksservice::EOT_Buy, 1000, 10),
                      param(account, "SZ", "000001", ksservice::EOT_Sell, 500, 10)};
    return made;
  }
  /// Detail `number` of the server, cancelled.
  static DetailPtr onServer(std::vector<ksservice::CCodeOrderParam> params, int number = 1) {
    DetailPtr made = detail(number);
    made->m_bServerTask = true;
    made->m_nStatus = ksservice::ETS_Cancelled;
    made->m_params = std::move(params);
    return made;
  }
  /// Of so many lots, of the account F1.
  static ksservice::CBasketHedgeParam hedgeParam(int volume = 3, bool handedOver = false) {
    return {true, handedOver, "CFFEX", "IF2612", "F1", ksservice::EOT_SellOpen, volume};
  }

  /// The next state of a detail: a fresh record, as the host delivers it.
  static DetailPtr next(const DetailPtr& before) { return boost::make_shared<ksservice::CTaskDetail>(*before); }

  void update(DetailPtr made) { task.updateDetail(made); }

  TC::CBasketTaskItem& row(const QString& rowKey, const QString& accountKey = "A1") {
    TC::CBasketTaskItem* found = task.getStockDetailMap(accountKey).value(rowKey);
    if (!found) throw std::out_of_range("no row " + rowKey.toStdString());
    return *found;
  }

  /// Log lines since the last call that hold the text.
  std::vector<std::string> takeLog(const std::string& text) {
    std::vector<std::string> lines = host.takeLog();
    std::erase_if(lines, [&](const std::string& line) { return line.find(text) == std::string::npos; });
    return lines;
  }

  /// The tree as one line a node: its key without the parent's, indented by its depth.
  std::string tree() const { return treeOf(*task.getRoot(), 0); }

  const AccountPtr mainAccount = account("A1", "1001");
  const AccountPtr secondAccount = account("A2", "1002", "二号");
  const AccountPtr futuresAccount = account("F1", "8001", "期货账户", 1);
  testkit::CTestHost host;
  boost::shared_ptr<TC::CBasketTask> held = boost::make_shared<TC::CBasketTask>("组合任务123", 123, 77);
  TC::CBasketTask& task = *held;
  TC::CBasketTaskItem& root = *task.getRoot();

 private:
  static std::string treeOf(const TC::CBasketTaskItem& node, int depth) {
    const QString key = node.parent() ? node.getKey().mid(node.parent()->getKey().size() + 1) : node.getKey();
    std::string text = std::string(static_cast<std::size_t>(depth), ' ') + key.toStdString() + "\n";
    for (const TC::CBasketTaskItem* child : node.m_children) text += treeOf(*child, depth + 1);
    return text;
  }
};
