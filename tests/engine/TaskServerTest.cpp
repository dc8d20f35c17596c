/// The server's side of what a panel asks for: answers, refusals, and the order in which they come.
#include <gtest/gtest.h>

#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;

struct SServerRig : SRig {
  SServerRig() {
    for (const auto& account : m_accounts) {
      desk::SAccount entry;
      entry.m_pInfo = account;
      m_desk.addAccount(entry);
    }
    for (const exchange::SInstrument& instrument : makeInstruments()) {
      TC::CCodeInfo info;
      info.m_strMarket = instrument.m_strMarket;
      info.m_strCode = instrument.m_strCode;
      info.m_nTradeUnit = info.m_nTradeMinUnit = 100;
      m_desk.setInstrument(info);
    }
    m_parent = engine().startBasket(basket());
    runTo(9, 30, 10);
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
  auto algo = rig.request({rig.param(1, 100)});
  algo.m_command.m_nOrderType = algo.m_params[0].m_nOrderType = EORT_Algo;
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=09:29:00;slices=1";
  auto over = algo;
  over.m_command.m_strAlgoParams = "algo=TWAP;start=09:29:00;end=09:30:10;slices=1";
  for (const auto& request : {gone, rig.request({}), rig.request({rig.param(1, 100), rig.param(2, 0)}),
                              rig.request({rig.param(1, -100)}), stranger, nobody, unknown, algo, over}) {
    rig.create(request);
  }
  const std::size_t before = rig.m_newest.size();
  EXPECT_EQ(rig.answers(), (Texts{"指令不存在", "没有委托明细", "SH.600002 的数量小于 1", "SZ.1001 的数量小于 1",
                                  "SZ.1001 的账户不存在", "SZ.1001 的账户不存在", "证券 SH.999999 不存在",
                                  "算法参数 \"algo=TWAP;start=09:30:00;end=09:29:00;slices=1\"：结束时间须晚于开始时间",
                                  "算法结束时间已过"}));
  EXPECT_EQ(rig.m_newest.size(), before) << "nothing was made";
}

TEST(TaskServer, AnAlgorithmCarriesAPatchOutWhenCommandAndLinesSaySo) {
  SServerRig rig;
  auto algo = rig.request({rig.param(1, 300)});
  algo.m_command.m_nOrderType = EORT_Algo;
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=14:57:00;slices=3";
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
  auto algo = rig.request({rig.param(1, 3000)});
  algo.m_command.m_nOrderType = algo.m_params[0].m_nOrderType = EORT_Algo;
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=14:57:00;slices=30";
  rig.create(algo);
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
  auto algo = rig.request({rig.param(1, 300), rig.param(3, 250)});
  for (CCodeOrderParam& param : algo.m_params) param.m_nOrderType = EORT_Algo;
  algo.m_command.m_nOrderType = EORT_Algo;
  // A limit that nobody pays: all of it stays open.
  algo.m_command.m_strAlgoParams = "algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=90";
  rig.create(algo);
  ASSERT_EQ(rig.answers(5000), Texts{"102"});
  rig.query({"102-1"});
  EXPECT_EQ(rig.answers(), Texts{"ok"});
  EXPECT_EQ(rig.m_process, (TC::OrderProcessMap{{"102-1", {{"SZ.1001", 0}, {"SZ.1003", 0}}}}))
      << "the market refuses orders above its limit up";
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
}

}  // namespace
