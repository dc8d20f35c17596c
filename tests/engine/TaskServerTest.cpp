/// The server's side of what a panel asks for: answers, refusals, and the order in which they come.
#include <gtest/gtest.h>

#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;

struct SServerRig : SRig {
  SServerRig() {
    for (const exchange::SInstrument& instrument : makeInstruments())
      list(instrument.m_strMarket, instrument.m_strCode);
    // Sold by both accounts, and cancelled before anything was sent: all of it is left.
    engine::SBasketOrder sales = basket(2);
    for (engine::SOrderLine& line : sales.m_lines) line.m_nOperation = EOT_Sell;
    m_parent = engine().startBasket(sales);
    engine().operate(m_parent, {}, ETO_Cancel);
    runTo(9, 30, 10);
  }

  void list(const std::string& market, const std::string& code) {
    TC::CCodeInfo info;
    info.m_strMarket = market;
    info.m_strCode = code;
    info.m_nTradeUnit = info.m_nTradeMinUnit = 100;
    m_desk.setInstrument(info);
  }

  CCodeOrderParam param(std::size_t security, int volume, std::size_t account = 0) const {
    const exchange::SInstrument instrument = makeInstruments()[security];
    CCodeOrderParam param;
    param.m_pAccount = m_accounts[account];
    param.m_nType = 49;
    param.m_nOperation = EOT_Sell;
    param.m_stock = {instrument.m_strMarket, instrument.m_strCode, instrument.m_strName};
    param.m_nPriceType = EPT_User;
    param.m_dPrice = instrument.m_dPrevClose * 0.95;
    param.m_nVolume = volume;
    return param;
  }

  desk::SCreateRequest request(std::vector<CCodeOrderParam> params) const {
    desk::SCreateRequest request;
    request.m_command = *m_desk.command(m_parent);
    request.m_command.m_bPatch = true;
    request.m_params = std::move(params);
    request.m_nTaskId = m_parent;
    return request;
  }

  /// One that an algorithm is to carry out.
  desk::SCreateRequest algoRequest(const std::vector<CCodeOrderParam>& params, const std::string& algo) const {
    desk::SCreateRequest made = request(params);
    made.m_command.m_nOrderType = EORT_Algo;
    made.m_command.m_strAlgoParams = algo;
    for (CCodeOrderParam& param : made.m_params) param.m_nOrderType = EORT_Algo;
    return made;
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

using Texts = std::vector<std::string>;

TEST(TaskServer, APatchIsATaskOfItsOwnThatBelongsToItsParent) {
  SServerRig rig;
  rig.create(rig.request({rig.param(1, 300), rig.param(2, 150, 1), rig.param(3, 100)}));
  EXPECT_EQ(rig.answers(100), Texts()) << "the way takes its time";
  EXPECT_EQ(rig.answers(100), Texts{"102"});
  const CTaskDetail& first = rig.newest("102-1");
  EXPECT_EQ(first.m_nTaskId, 102);
  EXPECT_EQ(first.m_pCommand->m_nTaskId, rig.m_parent);
  EXPECT_EQ(first.m_pCommand->m_nBasketType, ECBT_Basket);
  EXPECT_TRUE(first.m_pCommand->m_bPatch);
  EXPECT_FALSE(first.m_bServerTask);
  EXPECT_FALSE(rig.m_desk.command(rig.m_parent)->m_bPatch) << "the parent's command stays as it was";
  ASSERT_EQ(first.m_params.size(), 2u);
  EXPECT_EQ(first.m_params[0].m_nVolume, 300);
  EXPECT_EQ(first.m_params[0].m_dPrice, rig.param(1, 1).m_dPrice);
  EXPECT_EQ(rig.newest("102-2").m_params.at(0).m_pAccount, rig.m_accounts[1]);
  rig.runTo(9, 40);
  EXPECT_EQ(rig.newest("102-1").m_nStatus, ETS_Finished);
  EXPECT_EQ(rig.newest("102-1").m_orders[0]->m_dPrice, rig.param(1, 1).m_dPrice) << "at the price that was confirmed";
  EXPECT_EQ(rig.newest("102-2").m_orders[0]->m_nTradedVolume, 150) << "an odd lot can be sold";
}

TEST(TaskServer, APatchIsSizedByTheExchangesRules) {
  SServerRig rig;
  rig.list("SH", "688008");
  const std::string parent =
      rig.start({SRig::line("SH", "688008", EOT_Buy, 350), SRig::line("SH", "688008", EOT_Buy, 350)});
  rig.m_parent = rig.newest(parent).m_nTaskId;
  EXPECT_TRUE(rig.engine().operate(rig.m_parent, {}, ETO_Cancel));
  CCodeOrderParam bought = rig.param(1, 350);
  bought.m_stock = {"SH", "688008", {}};
  bought.m_nOperation = EOT_Buy;
  bought.m_dPrice = 65;
  rig.create(rig.request({bought}));
  rig.create(rig.algoRequest({bought}, "algo=TWAP;start=09:30:00;end=09:40:00;slices=3"));
  EXPECT_EQ(rig.answers(), (Texts{"103", "104"}));
  rig.runTo(9, 45);
  EXPECT_EQ(rig.newest("103-1").m_orders.at(0)->m_nTradedVolume, 350);
  EXPECT_EQ(rig.newest("104-1").m_nStatus, ETS_Finished);
}

TEST(TaskServer, RefusesAPatchWithAText) {
  SServerRig rig;
  auto gone = rig.request({rig.param(1, 100)});
  gone.m_command.m_nCommandId = 999;
  auto stranger = rig.request({rig.param(1, 100)});
  stranger.m_params[0].m_pAccount = boost::make_shared<CAccountInfo>();
  auto nobody = rig.request({rig.param(1, 100)});
  nobody.m_params[0].m_pAccount = nullptr;
  auto unknown = rig.request({rig.param(1, 100), rig.param(2, 100)});
  unknown.m_params[1].m_stock.m_strCode = "999999";
  const auto algo = [&rig](const char* text) { return rig.algoRequest({rig.param(1, 100)}, text); };
  for (const auto& request :
       {gone, rig.request({}), rig.request({rig.param(1, 100), rig.param(2, 0)}), rig.request({rig.param(1, -100)}),
        stranger, nobody, unknown, algo("algo=TWAP;start=09:30:00;end=09:29:00;slices=1"),
        algo("algo=TWAP;start=09:29:00;end=09:30:10;slices=1"),
        algo("algo=POV;start=11:30:00;end=13:00:00;rate=0.1")}) {
    rig.create(request);
  }
  const std::size_t before = rig.m_newest.size();
  EXPECT_EQ(rig.answers(), (Texts{"指令不存在", "没有委托明细", "SH.600002 的数量小于 1", "SZ.1001 的数量小于 1",
                                  "SZ.1001 的账户不存在", "SZ.1001 的账户不存在", "证券 SH.999999 不存在",
                                  "算法参数 \"algo=TWAP;start=09:30:00;end=09:29:00;slices=1\"：结束时间须晚于开始时间",
                                  "算法结束时间已过", "算法时段内没有交易时间"}));
  EXPECT_EQ(rig.m_newest.size(), before) << "nothing was made";
}

// Of security 1 the accounts have 5100 and 5000 left.
TEST(TaskServer, RefusesMoreThanIsLeftOfALine) {
  SServerRig rig;
  const auto beyond = [](const std::string& line, int ordered, int left) {
    return line + " 超过可补数量：委托 " + std::to_string(ordered) + "，可补 " + std::to_string(left);
  };
  auto bought = rig.request({rig.param(1, 100)});
  bought.m_params[0].m_nOperation = EOT_Buy;
  auto strange = rig.request({rig.param(1, 100)});
  strange.m_nTaskId = 999;
  for (const auto& request :
       {rig.request({rig.param(2, 100), rig.param(1, 5200)}), rig.request({rig.param(1, 3000), rig.param(1, 2200)}),
        bought, strange, rig.request({rig.param(1, 3000)}), rig.request({rig.param(1, 2200)}),
        rig.request({rig.param(1, 2100), rig.param(1, 5000, 1)}), rig.request({rig.param(1, 100, 1)})}) {
    rig.create(request);
  }
  EXPECT_EQ(rig.answers(), (Texts{beyond("A1 SZ.1001卖出", 5200, 5100), beyond("A1 SZ.1001卖出", 5200, 5100),
                                  beyond("A1 SZ.1001买入", 100, 0), beyond("A1 SZ.1001卖出", 100, 0), "102",
                                  beyond("A1 SZ.1001卖出", 2200, 2100), "103", beyond("A2 SZ.1001卖出", 100, 0)}));
  // What a patch has not traded when it ends is left again, be it an algorithm's; what waits or is paused is not.
  rig.m_parent = rig.engine().startBasket(rig.basket());
  rig.create(rig.request({rig.param(3, 100)}));
  rig.engine().operate(rig.m_parent, {}, ETO_Pause);
  rig.create(rig.request({rig.param(3, 100)}));
  EXPECT_EQ(rig.answers(), (Texts{beyond("A1 SZ.1003卖出", 100, 0), beyond("A1 SZ.1003卖出", 100, 0)}));
  rig.engine().operate(rig.m_parent, {}, ETO_Cancel);
  rig.create(rig.algoRequest({rig.param(39, 13900)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=30"));
  rig.create(rig.request({rig.param(39, 13900)}));
  const Texts answers = rig.answers(60000);
  ASSERT_EQ(answers, (Texts{"105", beyond("A1 SZ.1039卖出", 13900, 0)}));
  rig.operate("105-1", ETO_Cancel);
  rig.runTo(9, 35);
  int traded = 0;
  for (const auto& order : rig.m_desk.progress("105-1")->m_orders) traded += order.m_detail.m_nTradedVolume;
  ASSERT_GT(traded, 0);
  rig.create(rig.request({rig.param(39, 13901 - traded)}));
  rig.create(rig.request({rig.param(39, 13900 - traded)}));
  EXPECT_EQ(rig.answers(), (Texts{"ok", beyond("A1 SZ.1039卖出", 13901 - traded, 13900 - traded), "106"}));
}

TEST(TaskServer, AnOpenOrderOfAPatchCountsWhole) {
  SServerRig rig;
  const auto left = [&rig] {
    rig.create(rig.request({rig.param(20, 999999900)}));
    const std::string text = rig.answers().back();
    return std::stoi(text.substr(text.rfind(' ')));
  };
  const int before = left();
  CCodeOrderParam open = rig.param(20, 300);
  open.m_dPrice *= 1.09 / 0.95;
  rig.create(rig.request({open}));
  ASSERT_EQ(rig.answers(), Texts{"102"});
  rig.runTo(9, 31);
  const auto detail = rig.newest("102-1");
  ASSERT_EQ(detail.m_orders.size(), 1u);
  ASSERT_FALSE(detail.m_orders[0]->m_bCompleted);
  EXPECT_EQ(left(), before - 300);
}

TEST(TaskServer, LinesOfOneHongKongInstrumentAreOneBeyond32Bits) {
  constexpr int HALF = 2000000000;
  SServerRig rig;
  engine::SBasketOrder basket = rig.basket();
  basket.m_lines.resize(2);
  for (std::size_t i = 0; i < 2; ++i) {
    basket.m_lines[i].m_stock = {i ? "HGT" : "HK", "00700", "T"};
    basket.m_lines[i].m_nOperation = EOT_Sell;
    basket.m_lines[i].m_nQuantity = HALF;
    rig.list(i ? "SGT" : "HGT", "00700");
  }
  rig.m_parent = rig.engine().startBasket(basket);
  rig.engine().operate(rig.m_parent, {}, ETO_Cancel);
  auto request = rig.request({rig.param(1, HALF), rig.param(1, HALF), rig.param(1, 100)});
  for (CCodeOrderParam& param : request.m_params) param.m_stock = {"SGT", "00700", "T"};
  request.m_params[1].m_stock.m_strMarket = "HGT";
  rig.create(request);
  request.m_params.pop_back();
  rig.create(request);
  EXPECT_EQ(rig.answers(), (Texts{"A1 HK.00700卖出 超过可补数量：委托 4000000100，可补 4000000000", "103"}));
}

TEST(TaskServer, AnAlgorithmCarriesAPatchOutWhenCommandAndLinesSaySo) {
  SServerRig rig;
  auto algo = rig.algoRequest({rig.param(1, 300)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=3");
  algo.m_params[0].m_nOrderType = EORT_Plain;
  rig.create(algo);
  algo.m_params[0].m_nOrderType = EORT_Algo;
  rig.create(algo);
  EXPECT_EQ(rig.answers(), (Texts{"102", "103"}));
  EXPECT_FALSE(rig.newest("102-1").m_bServerTask) << "the user chose plain orders";
  EXPECT_EQ(rig.newest("102-1").m_pCommand->m_nOrderType, EORT_Plain);
  EXPECT_TRUE(rig.newest("103-1").m_bServerTask);
  EXPECT_EQ(rig.newest("103-1").m_params[0].m_nOrderType, EORT_Algo);
}

TEST(TaskServer, OperatesServerTasksAndSaysWhyNot) {
  SServerRig rig;
  rig.create(rig.algoRequest({rig.param(1, 3000)}, "algo=TWAP;start=09:30:00;end=14:57:00;slices=30"));
  ASSERT_EQ(rig.answers(), Texts{"102"});
  const std::string local = std::to_string(rig.m_parent) + "-1";
  rig.operate("102-1", ETO_Pause);
  EXPECT_EQ(rig.newest("102-1").m_nStatus, ETS_Running) << "nothing happens before the request has arrived";
  rig.operate(local, ETO_Pause);
  rig.operate("77-1", ETO_Cancel);
  rig.operate("102-1", ETO_Resume);
  EXPECT_EQ(rig.answers(), (Texts{"ok", "任务不存在", "任务不存在", "ok"}));
  EXPECT_EQ(rig.newest("102-1").m_nStatus, ETS_Running);
  rig.operate("102-1", ETO_Cancel);
  EXPECT_EQ(rig.answers(1000), Texts{"ok"});
  EXPECT_EQ(rig.newest("102-1").m_nStatus, ETS_Cancelled);
  for (const int operation : {ETO_Cancel, ETO_Pause, ETO_Resume, ETO_Drop, ETO_Drop, ETO_Cancel}) {
    rig.operate("102-1", operation);
  }
  EXPECT_EQ(rig.answers(), (Texts{"ok", "任务已结束", "任务已结束", "ok", "ok", "任务已放弃"}));
  EXPECT_EQ(rig.newest("102-1").m_nStatus, ETS_Dropped);
}

TEST(TaskServer, AnOrderProcessCountsOpenChildOrdersWhole) {
  SServerRig rig;
  auto algo = rig.algoRequest({rig.param(1, 300), rig.param(3, 250)},
                              "algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=90");
  rig.create(algo);
  ASSERT_EQ(rig.answers(5000), Texts{"102"});
  rig.query({"102-1"});
  EXPECT_EQ(rig.answers(), Texts{"ok"});
  EXPECT_EQ(rig.m_process, (TC::OrderProcessMap{{"102-1", {{"SZ.1001", 0}, {"SZ.1003", 0}}}}))
      << "the market refuses orders above its limit up";
  // A limit that nobody pays: all of it stays open.
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=6.5";
  algo.m_params.resize(1);
  rig.create(algo);
  rig.answers(5000);
  rig.query({"103-1"});
  rig.query({"103-1", "7-1"});
  EXPECT_EQ(rig.answers(), (Texts{"ok", "任务 7-1 不存在"}));
  EXPECT_TRUE(rig.m_process.empty());
  rig.query({"103-1"});
  rig.answers();
  EXPECT_EQ(rig.m_process, (TC::OrderProcessMap{{"103-1", {{"SZ.1001", 300}}}}));
  // What 32 bits do not hold is held at their end.
  engine::SBasketOrder large = rig.basket();
  large.m_lines = {large.m_lines[1], large.m_lines[1]};
  for (engine::SOrderLine& line : large.m_lines) {
    line.m_nOperation = EOT_Sell;
    line.m_nQuantity = 2000000000;
  }
  algo.m_command.m_nTaskId = algo.m_nTaskId = rig.engine().startBasket(large);
  rig.engine().operate(algo.m_nTaskId, {}, ETO_Cancel);
  algo.m_params[0].m_nVolume = 2000000000;
  algo.m_params.push_back(algo.m_params[0]);
  rig.create(algo);
  ASSERT_EQ(rig.answers(5000), Texts{"105"});
  rig.query({"105-1"});
  rig.answers();
  EXPECT_EQ(rig.m_process, (TC::OrderProcessMap{{"105-1", {{"SZ.1001", UNSET_INT}}}}));
}

}  // namespace
