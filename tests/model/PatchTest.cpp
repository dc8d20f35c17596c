/// A patch from the click to the task that is sent, and what is left of a line.
#include <thread>

#include "PatchFixture.h"

namespace {

using namespace ksservice;

constexpr auto PLAIN = static_cast<EMavTraderType>(1);

class CPatchTest : public CPatchTaskTest {
 protected:
  /// A click on "补单", with everything that follows it.
  std::string patch(const std::string& act = {}) {
    if (act.empty()) {
      inDialog([](GV::CCommonDialog& dialog) { dialog.closeByUser(); });
    } else {
      inDialog(press(QString::fromStdString(act)));
    }
    task.checkHasAlgoTask(task.getKey(), PLAIN);
    return takeEvents();
  }
  /// The task as one server detail, cancelled; answers are made by answer().
  void serverTask() { given(onServer(twoLines()->m_params)); }
  std::string answer(const Answer& data) {
    for (const auto& query : host.takeQueries()) query.completion(data, {}, {});
    return takeEvents();
  }
  std::string refuse(const std::string& text) const { return "box 补单|" + text + "\nended T\nstatus T 8 0\n"; }

  const std::string offered = "dialog A1/SH.600000买入=800 A1/SZ.000001卖出=500\n";
};

TEST_F(CPatchTest, APlainTradeThatWasChosenIsOrderedSoWhateverTheTaskIs) {
  const std::string algo = "algo=TWAP;start=09:30:00;end=14:57:00;slices=10";
  command.m_nOrderType = EORT_Algo;
  command.m_strAlgoParams = algo;
  host.setCommand(command);
  DetailPtr made = cancelled(200, 0);
  for (CCodeOrderParam& line : made->m_params) line.m_nOrderType = EORT_Algo;
  made->m_pCommand->m_strAlgoParams = algo;
  update(made);
  bool chosen = false;
  GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& dialog) {
    const bool params = std::exchange(chosen, true);
    for (const QString& button : params ? QStringList{"普通交易", "保存"} : QStringList{"智能算法", "选中补单"}) {
      EXPECT_EQ(dialog.press(button), "");
    }
  });
  task.checkHasAlgoTask(task.getKey(), PLAIN);
  const auto creations = host.takeCreations();
  ASSERT_EQ(creations.size(), 1u);
  EXPECT_EQ(creations[0].m_command.m_nOrderType, EORT_Plain) << "never an order that the user did not confirm";
  EXPECT_EQ(creations[0].m_command.m_strAlgoParams, "");
}

TEST_F(CPatchTest, NothingIsSentWithoutACommandOrWhileAPatchIsOnItsWay) {
  update(cancelled(200, 0));
  host.setCommandsKnown(false);
  takeEvents();
  EXPECT_EQ(patch("选中补单"), offered + "ended T\nstatus T 8 0\n");
  EXPECT_EQ(takeLog("get command"), std::vector<std::string>{"get command fail"});
  EXPECT_TRUE(host.takeCreations().empty());
  EXPECT_FALSE(root.m_bPatching);
  host.setCommandsKnown(true);
  patch("选中补单");
  EXPECT_TRUE(root.m_bPatching);
  task.patchWithParam(task.getKey(), {}, PLAIN);
  EXPECT_EQ(takeEvents(), "box 补单|补单中\nended T\nstatus T 10000 0\n");
  EXPECT_EQ(host.takeCreations().size(), 1u);
}

TEST_F(CPatchTest, WithoutSomebodyWhoAsksThePatchIsRefused) {
  update(cancelled(200, 0));
  TC::setPatchConfirmFactory({});
  takeEvents();
  EXPECT_EQ(patch("选中补单"), refuse("没有补单确认窗口，没有补单"));
  EXPECT_TRUE(host.takeCreations().empty());
  TC::CBasketPatchDialog::install();
  patch("选中补单");
  EXPECT_EQ(host.takeCreations().size(), 1u) << "the next click finds the dialog";
}

TEST_F(CPatchTest, AHostThatFailsKeepsNobodyFromPatchingAgain) {
  given(cancelled(0, 0));
  host.setMeeting([](const std::string& key) {
    if (key == "A1") throw std::runtime_error("the host fails");
  });
  EXPECT_THROW(task.checkHasAlgoTask(task.getKey(), {}), std::runtime_error);
  EXPECT_THROW(task.patch({}, EPT_Latest), std::runtime_error);
  host.setMeeting({});
  takeEvents();
  task.checkHasAlgoTask(task.getKey(), {});
  EXPECT_EQ(takeEvents().rfind("dialog ", 0), 0u);
}

TEST_F(CPatchTest, WhyRowsAreNotOfferedIsToldOfTwentyAndTheRestIsCounted) {
  DetailPtr known = cancelled(200, 500), unknown = detail(2), without = detail(3);
  unknown->m_nStatus = without->m_nStatus = ETS_Cancelled;
  for (int i = 0; i < 20; ++i) {
    unknown->m_params.push_back(param(secondAccount, "SH", "6001" + std::to_string(10 + i), EOT_Buy, 100, 10));
  }
  without->m_params = {param(account("A3", "1003"), "SH", "600000", EOT_Buy, 100, 10)};
  for (const DetailPtr& one : {known, without}) given(one);
  EXPECT_EQ(patch(),
            "box 补单|不能补单：\nSH.600000 买入 1003：没有账号数据\n"
            "dialog A1/SH.600000买入=800\nended T\nstatus T 8 0\n");
  given(unknown);
  const std::string events = patch();
  EXPECT_NE(events.find("SH.600129 买入 1002：没有合约信息\n等 1 行\ndialog"), std::string::npos) << events;
}

TEST_F(CPatchTest, AnEmptyChoiceIsLeftToTheCommandCentre) {
  given(cancelled(200, 0));
  inDialog([](GV::CCommonDialog& dialog) {
    EXPECT_EQ(dialog.press("反选"), "");
    EXPECT_EQ(dialog.press("选中补单"), "");
  });
  task.checkHasAlgoTask(task.getKey(), PLAIN);
  const auto creations = host.takeCreations();
  ASSERT_EQ(creations.size(), 1u);
  EXPECT_TRUE(creations[0].m_params.empty());
  creations[0].completion(utils::KSError("没有委托"), 0);
  EXPECT_EQ(takeEvents(), offered + "status T 10000 0\n" + refuse("没有委托"));
}

TEST_F(CPatchTest, AnAnswerToAQueryFromBeforeTheEndFreesNothing) {
  DetailPtr made = onServer(twoLines()->m_params);
  made->m_nStatus = ETS_Running;
  update(made);
  task.checkHasAlgoTask(task.getKey(), PLAIN);
  const auto queries = host.takeQueries();
  ASSERT_EQ(queries.size(), 1u);
  serverTask();
  queries[0].completion({{"123-1", {{"SH.600000", 300}}}}, {}, {});
  EXPECT_EQ(takeEvents(), refuse("可补单量为0")) << "it went on trading after it was asked";
  patch();
  EXPECT_EQ(answer({{"123-1", {{"SH.600000", 600}}}}),
            "dialog A1/SH.600000买入=400 A1/SZ.000001卖出=500\nended T\nstatus T 8 0\n");
}

TEST_F(CPatchTest, AnswerForATaskThatIsGoneDoesNoHarm) {
  auto passing = boost::make_shared<TC::CBasketTask>("组合任务123", 123, 77);
  DetailPtr made = onServer(twoLines()->m_params);
  passing->updateDetail(made);
  passing->checkHasAlgoTask("组合任务123", PLAIN);
  const auto queries = host.takeQueries();
  ASSERT_EQ(queries.size(), 1u);
  std::thread answering(queries[0].completion, Answer{{"123-1", {}}}, utils::KSError(), bson::BSONObj());
  passing.reset();
  answering.join();
  EXPECT_EQ(takeEvents(), "");
}

TEST_F(CPatchTest, TaskIsHeldWhileItsDialogIsOpen) {
  update(cancelled(200, 0));
  boost::weak_ptr<TC::CBasketTask> watched = held;
  QObject::disconnect(&task, nullptr, nullptr, nullptr);
  inDialog([&](GV::CCommonDialog& dialog) {
    held.reset();
    EXPECT_FALSE(watched.expired());
    dialog.closeByUser();
  });
  TC::CBasketTask* const bare = held.get();
  bare->checkHasAlgoTask("组合任务123", PLAIN);
  EXPECT_TRUE(watched.expired());
}

TEST_F(CPatchTest, FinishedNumbersCountForTheAccountAndUnderBothKeys) {
  DetailPtr large = onServer({buyLine(2000)}, 3);
  large->m_nTaskId = 100007;
  large->m_strKey = "100007-3";
  large->m_pCommand->m_strAlgoTaskKey = "ALGO";
  update(onServer(twoLines()->m_params));
  update(onServer({param(secondAccount, "SH", "600000", EOT_Buy, 700, 10)}, 2));
  update(large);
  std::string security = "SH.600000";
  const auto number = [&](const QString& account, const Answer& data) {
    return task.getFinishedOrderNumForAlgoTask(account, security, data);
  };
  const Answer data = {
      {"123-1", {{"SH.600000", 100}, {"SZ.000001", 7}}}, {"123-2", {{"SH.600000", 20}}}, {"ALGO", {{"SH.600000", 3}}}};
  EXPECT_EQ(number("A1", data), 103);
  EXPECT_EQ(number("A2", data), 20);
  EXPECT_EQ(number("A1", {{"100007-3", {{"SH.600000", 3}}}}), 3);
  host.takeLog();
  EXPECT_EQ(number("A1", {{"999-1", {{"SH.600000", 100}}}}), 0);
  EXPECT_EQ(takeLog("patch"), std::vector<std::string>{"patch calc cannot get taskdetail"});
  update(onServer({}, 4));
  EXPECT_EQ(number("A1", {{"123-4", {{"SH.600000", 100}}}}), 0);
  EXPECT_EQ(takeLog("m_param"), std::vector<std::string>{"taskDetalPtr m_param.m_params is 0"});

  const Answer all = {
      {"123-1", {{"SH.600000", 100}}}, {"123-2", {{"SH.600000", 250}}}, {"ALGO", {{"SH.600000", 1050}}}};
  EXPECT_EQ(available(all), "A1/SH.600000买入 1800\nA1/SZ.000001卖出 500\n") << "1850 in lots";
  EXPECT_EQ(available(all, "A2"), "A2/SH.600000买入 400\n");
}

TEST_F(CPatchTest, ARowIsOfferedByItsInstrumentsLotsAndItsOnlyOperation) {
  instrument("SZ", "300750", 100, {STOCK_TYPE_NO_LOTS});
  DetailPtr made = detail();
  made->m_nStatus = ETS_Cancelled;
  made->m_params = {buyLine(1250), param(mainAccount, "SZ", "300750", EOT_Buy, 150, 10)};
  made->m_orders = {buy("o1", 100, 10, 100)};
  update(made);
  host.takeLog();
  EXPECT_EQ(available(), "A1/SH.600000买入 1100\nA1/SZ.300750买入 150\n");
  EXPECT_EQ(takeLog("SH.600000"), std::vector<std::string>{"stk: cmd = 77, task = 123, code = SH.600000, "
                                                           "patch Finished order num = 100,patch num = 1150"});
  row("SZ.300750买入").m_vecOperations.append(EOT_Sell);
  EXPECT_EQ(available(), "A1/SH.600000买入 1100\n");
}

TEST_F(CPatchTest, APatchThatCameAsADetailOfTheTaskItselfIsNotOfferedTwice) {
  update(cancelled(400, 500));
  DetailPtr again = patchDetail(124);
  again->m_params = {buyLine(600)};
  again->m_orders = {ended(buy("p1", 600, 100, 1000))};
  again->m_nStatus = ETS_Cancelled;
  deliverPatch(again);
  EXPECT_EQ(available(), "A1/SH.600000买入 500\n");
  update(again);
  EXPECT_EQ(available(), "A1/SH.600000买入 500\n") << "although the target is 1600 now";
}

}  // namespace
