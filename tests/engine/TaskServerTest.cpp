/// The server's side of what a panel asks for: answers, refusals, and the order in which they come.
#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;

using Texts = std::vector<std::string>;

class TaskServer : public testing::Test, protected SRig {
 protected:
  TaskServer() {
    for (const exchange::SInstrument& instrument : makeInstruments())
      list(instrument.m_strMarket, instrument.m_strCode);
    std::vector<engine::SOrderLine> sales = basket().m_lines;
    for (engine::SOrderLine& sale : sales) sale.m_nOperation = EOT_Sell;
    setParent(sales, 2);
    runTo(9, 30, 10);
  }

  /// A basket of the first accounts that is cancelled before anything was sent: all of it is left to be patched.
  void setParent(std::vector<engine::SOrderLine> lines, std::size_t accounts = 1) {
    engine::SBasketOrder order = basket(accounts);
    order.m_lines = std::move(lines);
    m_parent = engine().startBasket(order);
    EXPECT_TRUE(engine().operate(m_parent, {}, ETO_Cancel));
  }

  void list(const std::string& market, const std::string& code) {
    TC::CCodeInfo info = testkit::makeInstrument(market, code);
    info.m_nTradeUnit = info.m_nTradeMinUnit = 100;
    m_desk.setInstrument(info);
  }

  CCodeOrderParam param(std::size_t security, int volume, std::size_t account = 0) const {
    const exchange::SInstrument instrument = makeInstruments()[security];
    return {.m_pAccount = m_accounts[account],
            .m_nType = 49,
            .m_nOperation = EOT_Sell,
            .m_stock = {instrument.m_strMarket, instrument.m_strCode, instrument.m_strName},
            .m_nPriceType = EPT_User,
            .m_dPrice = instrument.m_dPrevClose * 0.99,
            .m_nVolume = volume};
  }

  /// Carried out by an algorithm where one is named.
  desk::SCreateRequest request(std::vector<CCodeOrderParam> params, const std::string& algo = {}) const {
    desk::SCreateRequest request;
    request.m_command = *m_desk.command(m_parent);
    request.m_command.m_bPatch = true;
    request.m_params = std::move(params);
    request.m_nTaskId = m_parent;
    if (algo.empty()) return request;
    request.m_command.m_nOrderType = EORT_Algo;
    request.m_command.m_strAlgoParams = algo;
    for (CCodeOrderParam& param : request.m_params) param.m_nOrderType = EORT_Algo;
    return request;
  }

  /// Asks as the panel does and keeps the answer: the text of the refusal, or the new task.
  void create(const desk::SCreateRequest& request) {
    m_desk.requests().createTask(request, [this](const utils::KSError& error, int task) {
      m_answers.push_back(error.success() ? std::to_string(task) : error.errorMsg());
    });
    m_simulation.server().createTask(request);
  }
  void operate(const std::string& key, int operation) {
    m_desk.requests().operateServerTask(key, boost::make_shared<const CTaskOpRecord>(),
                                        [this](const utils::KSError& error, const bson::BSONObj& reply) {
                                          EXPECT_TRUE(error.success());
                                          m_answers.push_back(reply.stringField("ErrorMsg").value_or("ok"));
                                        });
    m_simulation.server().operateServerTask(key, operation);
  }
  void query(const std::vector<std::string>& keys) {
    m_desk.requests().queryOrderProcess(keys, [this](const auto& data, const utils::KSError& error, const auto&) {
      m_process = data;
      m_answers.push_back(error.success() ? "ok" : error.errorMsg());
    });
    m_simulation.server().queryOrderProcess(keys);
  }
  /// Lets the answers come; returns them.
  std::vector<std::string> answers(int msec = 200) {
    m_simulation.advanceTo(m_simulation.now() + msec);
    return std::exchange(m_answers, {});
  }

  int m_parent = 0;
  std::vector<std::string> m_answers;
  TC::OrderProcessMap m_process;
};

TEST_F(TaskServer, APatchIsATaskOfItsOwnThatBelongsToItsParent) {
  create(request({param(1, 300), param(2, 150, 1), param(3, 100)}));
  EXPECT_EQ(answers(100), Texts()) << "the way takes its time";
  EXPECT_EQ(answers(100), Texts{"102"});
  const CTaskDetail& first = newest("102-1");
  EXPECT_EQ(first.m_nTaskId, 102);
  EXPECT_EQ(first.m_pCommand->m_nTaskId, m_parent);
  EXPECT_EQ(first.m_pCommand->m_nBasketType, ECBT_Basket);
  EXPECT_TRUE(first.m_pCommand->m_bPatch);
  EXPECT_FALSE(first.m_bServerTask);
  EXPECT_FALSE(m_desk.command(m_parent)->m_bPatch) << "the parent's command stays as it was";
  ASSERT_EQ(first.m_params.size(), 2u);
  EXPECT_EQ(first.m_params[0].m_nVolume, 300);
  EXPECT_EQ(first.m_params[0].m_dPrice, param(1, 1).m_dPrice);
  EXPECT_EQ(newest("102-2").m_params.at(0).m_pAccount, m_accounts[1]);
  runTo(9, 40);
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Finished);
  EXPECT_EQ(newest("102-1").m_orders[0]->m_dPrice, param(1, 1).m_dPrice) << "at the price that was confirmed";
  EXPECT_EQ(newest("102-2").m_orders[0]->m_nTradedVolume, 150) << "an odd lot can be sold";
}

TEST_F(TaskServer, APatchIsSizedByTheExchangesRules) {
  list("SH", "688008");
  setParent({line("SH", "688008", EOT_Buy, 350), line("SH", "688008", EOT_Buy, 350)});
  CCodeOrderParam bought = param(1, 350);
  bought.m_stock = {"SH", "688008", {}};
  bought.m_nOperation = EOT_Buy;
  bought.m_dPrice = 61;
  create(request({bought}));
  create(request({bought}, "algo=TWAP;start=09:30:00;end=09:40:00;slices=3"));
  EXPECT_EQ(answers(), (Texts{"103", "104"}));
  runTo(9, 45);
  EXPECT_EQ(newest("103-1").m_orders.at(0)->m_nTradedVolume, 350);
  EXPECT_EQ(newest("104-1").m_nStatus, ETS_Finished);
}

TEST_F(TaskServer, RefusesAPatchWithAText) {
  const CCodeOrderParam good = param(1, 100);
  auto gone = request({good});
  gone.m_command.m_nCommandId = 999;
  auto stranger = good;
  stranger.m_pAccount = boost::make_shared<CAccountInfo>();
  auto nobody = good;
  nobody.m_pAccount = nullptr;
  auto unknown = good;
  unknown.m_stock.m_strCode = "999999";
  for (const auto& each :
       {gone, request({}), request({good, param(2, 0)}), request({param(1, -100)}), request({stranger}),
        request({nobody}), request({good, unknown}), request({good}, "algo=TWAP;start=09:30:00;end=09:29:00;slices=1"),
        request({good}, "algo=TWAP;start=09:29:00;end=09:30:10;slices=1"),
        request({good}, "algo=POV;start=11:30:00;end=13:00:00;rate=0.1")}) {
    create(each);
  }
  EXPECT_EQ(answers(), (Texts{"指令不存在", "没有委托明细", "SH.600002 的数量小于 1", "SZ.1001 的数量小于 1",
                              "SZ.1001 的账户不存在", "SZ.1001 的账户不存在", "证券 SZ.999999 不存在",
                              "算法参数 \"algo=TWAP;start=09:30:00;end=09:29:00;slices=1\"：结束时间须晚于开始时间",
                              "算法结束时间已过", "算法时段内没有交易时间"}));
  EXPECT_EQ(m_newest.size(), 2U) << "nothing was made";
}

// Of security 1 the accounts have 5100 and 5000 left.
TEST_F(TaskServer, RefusesMoreThanIsLeftOfALine) {
  const auto beyond = [](const std::string& line, int ordered, int left) {
    return line + " 超过可补数量：委托 " + std::to_string(ordered) + "，可补 " + std::to_string(left);
  };
  auto bought = request({param(1, 100)});
  bought.m_params[0].m_nOperation = EOT_Buy;
  auto strange = request({param(1, 100)});
  strange.m_nTaskId = 999;
  for (const auto& each : {request({param(2, 100), param(1, 5200)}), request({param(1, 3000), param(1, 2200)}), bought,
                           strange, request({param(1, 3000)}), request({param(1, 2200)}),
                           request({param(1, 2100), param(1, 5000, 1)}), request({param(1, 100, 1)})}) {
    create(each);
  }
  EXPECT_EQ(answers(), (Texts{beyond("A1 SZ.1001卖出", 5200, 5100), beyond("A1 SZ.1001卖出", 5200, 5100),
                              beyond("A1 SZ.1001买入", 100, 0), beyond("A1 SZ.1001卖出", 100, 0), "102",
                              beyond("A1 SZ.1001卖出", 2200, 2100), "103", beyond("A2 SZ.1001卖出", 100, 0)}));
  // What a patch has not traded when it ends is left again, be it an algorithm's; what waits or is paused is not.
  m_parent = engine().startBasket(basket());
  create(request({param(3, 100)}));
  engine().operate(m_parent, {}, ETO_Pause);
  create(request({param(3, 100)}));
  EXPECT_EQ(answers(), (Texts{beyond("A1 SZ.1003卖出", 100, 0), beyond("A1 SZ.1003卖出", 100, 0)}));
  engine().operate(m_parent, {}, ETO_Cancel);
  create(request({param(39, 13900)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=30"));
  create(request({param(39, 13900)}));
  ASSERT_EQ(answers(60000), (Texts{"105", beyond("A1 SZ.1039卖出", 13900, 0)}));
  operate("105-1", ETO_Cancel);
  runTo(9, 35);
  int traded = 0;
  for (const auto& order : m_desk.progress("105-1")->m_orders) traded += order.m_detail.m_nTradedVolume;
  ASSERT_GT(traded, 0);
  create(request({param(39, 13901 - traded)}));
  create(request({param(39, 13900 - traded)}));
  EXPECT_EQ(answers(), (Texts{"ok", beyond("A1 SZ.1039卖出", 13901 - traded, 13900 - traded), "106"}));
}

TEST_F(TaskServer, AnOpenOrderOfAPatchCountsWhole) {
  const auto left = [this] {
    create(request({param(20, 999999900)}));
    const std::string text = answers().back();
    return std::stoi(text.substr(text.rfind(' ')));
  };
  const int before = left();
  CCodeOrderParam open = param(20, 300);
  open.m_dPrice *= 1.09 / 0.99;
  create(request({open}));
  ASSERT_EQ(answers(), Texts{"102"});
  runTo(9, 31);
  ASSERT_FALSE(newest("102-1").m_orders.at(0)->m_bCompleted);
  EXPECT_EQ(left(), before - 300);
}

TEST_F(TaskServer, LinesOfOneHongKongInstrumentAreOneBeyond32Bits) {
  constexpr int HALF = 2000000000;
  for (const char* market : {"HGT", "SGT"}) list(market, "00700");
  setParent({line("HK", "00700", EOT_Sell, HALF), line("HGT", "00700", EOT_Sell, HALF)});
  auto patch = request({param(1, HALF), param(1, HALF), param(1, 100)});
  for (CCodeOrderParam& each : patch.m_params) each.m_stock = {"SGT", "00700", "T"};
  patch.m_params[1].m_stock.m_strMarket = "HGT";
  create(patch);
  patch.m_params.pop_back();
  create(patch);
  EXPECT_EQ(answers(), (Texts{"A1 HK.00700卖出 超过可补数量：委托 4000000100，可补 4000000000", "103"}));
}

TEST_F(TaskServer, AnAlgorithmCarriesAPatchOutWhenCommandAndLinesSaySo) {
  auto algo = request({param(1, 300)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=3");
  algo.m_params[0].m_nOrderType = EORT_Plain;
  create(algo);
  algo.m_params[0].m_nOrderType = EORT_Algo;
  create(algo);
  EXPECT_EQ(answers(), (Texts{"102", "103"}));
  EXPECT_FALSE(newest("102-1").m_bServerTask) << "the user chose plain orders";
  EXPECT_EQ(newest("102-1").m_pCommand->m_nOrderType, EORT_Plain);
  EXPECT_TRUE(newest("103-1").m_bServerTask);
  EXPECT_EQ(newest("103-1").m_params[0].m_nOrderType, EORT_Algo);
}

TEST_F(TaskServer, OperatesServerTasksAndSaysWhyNot) {
  create(request({param(1, 3000)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=30"));
  ASSERT_EQ(answers(), Texts{"102"});
  operate("102-1", ETO_Pause);
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Running) << "nothing happens before the request has arrived";
  operate("101-1", ETO_Pause);  // the terminal's own
  operate("77-1", ETO_Cancel);
  operate("102-1", ETO_Resume);
  EXPECT_EQ(answers(), (Texts{"ok", "任务不存在", "任务不存在", "ok"}));
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Running);
  operate("102-1", ETO_Cancel);
  EXPECT_EQ(answers(1000), Texts{"ok"});
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Cancelled);
  for (const int operation : {ETO_Cancel, ETO_Pause, ETO_Resume, ETO_Drop, ETO_Drop, ETO_Cancel}) {
    operate("102-1", operation);
  }
  EXPECT_EQ(answers(), (Texts{"ok", "任务已结束", "任务已结束", "ok", "ok", "任务已放弃"}));
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Dropped);
}

TEST_F(TaskServer, AnOrderProcessCountsOpenChildOrdersWhole) {
  auto algo = request({param(1, 300), param(3, 250)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=90");
  create(algo);
  ASSERT_EQ(answers(5000), Texts{"102"});
  query({"102-1"});
  EXPECT_EQ(answers(), Texts{"ok"});
  EXPECT_EQ(m_process, (TC::OrderProcessMap{{"102-1", {{"SZ.1001", 0}, {"SZ.1003", 0}}}}))
      << "the market refuses orders above its limit up";
  // A limit that nobody pays: all of it stays open.
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=6.5";
  algo.m_params.resize(1);
  create(algo);
  answers(5000);
  query({"103-1"});
  query({"103-1", "7-1"});
  EXPECT_EQ(answers(), (Texts{"ok", "任务 7-1 不存在"}));
  EXPECT_TRUE(m_process.empty());
  query({"103-1"});
  answers();
  EXPECT_EQ(m_process, (TC::OrderProcessMap{{"103-1", {{"SZ.1001", 300}}}}));
  // What 32 bits do not hold is held at their end. A million goes out in one order, and a line has one a second.
  const engine::SOrderLine large = line("SZ", "1001", EOT_Sell, 2000000000);
  setParent({large, large});
  const CCodeOrderParam half = param(1, 2000000000);
  create(request({half, half}, algo.m_command.m_strAlgoParams));
  ASSERT_EQ(answers(1200000), Texts{"105"});
  query({"105-1"});
  answers();
  EXPECT_EQ(m_process, (TC::OrderProcessMap{{"105-1", {{"SZ.1001", UNSET_INT}}}}));
}

}  // namespace
