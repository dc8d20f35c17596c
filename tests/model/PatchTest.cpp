/// A patch from the click to the task that is sent, what is left of a line, and patches without a dialog: what is
/// ordered at which price, and what is said of a row of which nothing is.
#include <thread>

#include "PatchFixture.h"

namespace {

using namespace ksservice;

class CPatchTest : public CPatchTaskTest {
 protected:
  /// A click on "补单", with everything that follows it.
  std::string patch(const QString& act = {}) {
    inDialog(press(act));
    task.checkHasAlgoTask(task.getKey(), EMTT_Stock);
    return takeEvents();
  }
  /// The task as one server detail; answers are made by answer().
  void serverTask(int status = ETS_Cancelled) {
    DetailPtr made = onServer(twoLines()->m_params);
    made->m_nStatus = status;
    given(made);
  }
  std::string answer(const Answer& data) {
    for (const auto& query : host.takeQueries()) query.completion(data, {}, {});
    return takeEvents();
  }
  std::string refuse(const std::string& text) const { return "box 补单|" + text + "\nended T\nstatus T 8 0\n"; }
};

TEST_F(CPatchTest, NothingIsSentWithoutSomebodyWhoAsksOrWhileAPatchIsOnItsWay) {
  given(cancelled(200, 0));
  TC::setPatchConfirmFactory({});
  EXPECT_EQ(patch("选中补单"), refuse("没有补单确认窗口，没有补单"));
  TC::CBasketPatchDialog::install();
  EXPECT_TRUE(host.takeCreations().empty());
  patch("选中补单");
  EXPECT_TRUE(root.m_bPatching);
  task.patchWithParam(task.getKey(), {}, EMTT_Stock);
  EXPECT_EQ(takeEvents(), "box 补单|补单中\nended T\nstatus T 10000 0\n");
  EXPECT_EQ(host.takeCreations().size(), 1u);
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
  EXPECT_EQ(patch().rfind("dialog ", 0), 0u);
}

TEST_F(CPatchTest, AnAnswerToAQueryFromBeforeTheEndFreesNothing) {
  serverTask(ETS_Running);
  task.checkHasAlgoTask(task.getKey(), EMTT_Stock);
  serverTask();
  EXPECT_EQ(answer({{"123-1", {{"SH.600000", 300}}}}), refuse("可补单量为0")) << "it went on trading";
  patch();
  EXPECT_EQ(answer({{"123-1", {{"SH.600000", 600}}}}),
            "dialog A1/SH.600000买入=400 A1/SZ.000001卖出=500\nended T\nstatus T 8 0\n");
}

TEST_F(CPatchTest, AnswerForATaskThatIsGoneDoesNoHarm) {
  auto passing = boost::make_shared<TC::CBasketTask>("组合任务123", 123, 77);
  DetailPtr made = onServer(twoLines()->m_params);
  passing->updateDetail(made);
  passing->checkHasAlgoTask("组合任务123", EMTT_Stock);
  const auto query = host.takeQueries().at(0);
  std::thread answering(query.completion, Answer{{"123-1", {}}}, utils::KSError(), bson::BSONObj());
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
  bare->checkHasAlgoTask("组合任务123", EMTT_Stock);
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

class CDirectPatchTest : public CPatchTaskTest {
 protected:
  std::string creations() {
    QString text;
    for (const auto& created : host.takeCreations()) {
      EXPECT_EQ(created.m_nHedgeType, 0);
      EXPECT_EQ(created.m_nTaskId, 123);
      EXPECT_TRUE(created.m_command.m_bPatch);
      for (const auto& line : created.m_params) {
        text += QString::asprintf("%s %d type %d price %d:%g\n", line.getKey().c_str(), line.m_nVolume, line.m_nType,
                                  line.m_nPriceType, line.m_dPrice);
      }
      created.completion(utils::KSError("gone"), 0);
    }
    QCoreApplication::processEvents();
    return text.toStdString();
  }
  /// A patch of a row from which nothing comes: what is said of it.
  std::string refusal(const QString& of, int priceType) {
    task.patch(of, priceType);
    std::string text;
    for (const auto& message : host.takeMessages()) text += message.first.toStdString() + "\n";
    return text + takeEvents();
  }

  const QString key = "组合任务123-SH.600000买入";
};

TEST_F(CDirectPatchTest, OneRowOrEveryRowIsOrderedAtAPrice) {
  command.m_nType = 6;
  host.setCommand(command);
  host.change([](auto& session) { session.m_settings.m_strOrderSetting = "price=1"; });
  given(cancelled(200, 0));
  task.patch(key, 14);
  EXPECT_EQ(takeEvents(), "") << "a single row's success is announced by its details";
  EXPECT_TRUE(row("SH.600000买入").m_bPatching);
  EXPECT_EQ(creations(), "A1/SH.600000买入 800 type 6 price 14:10.1\n");
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);
  EXPECT_EQ(takeEvents(), "status 组合任务123-SH.600000买入 10001 0\nbox 补单|gone\nended T\nstatus T 8 0\n");
  for (const QString& all : {QString(), task.getKey()}) {
    task.patch(all, 0);
    EXPECT_EQ(takeEvents(), "status T 10000 0\nstatus T 10000 0\n");
    EXPECT_EQ(creations(), "A1/SH.600000买入 800 type 6 price 1:10\nA1/SZ.000001卖出 500 type 6 price 1:10\n");
    takeEvents();
  }
  DetailPtr other = twoLinesOf(secondAccount, 2);
  other->m_nStatus = ETS_Cancelled;
  given(other);
  task.patch(row("SH.600000买入", "A2").m_strKey, 14);
  EXPECT_EQ(creations(), "A2/SH.600000买入 1000 type 6 price 14:10.1\n") << "rows of two accounts are told apart";
  takeEvents();
  row("SH.600000买入").m_bPatching = true;
  task.patch(row("SH.600000买入").m_strKey, 14);
  given(twoLines());
  task.patch(QString(), 14);
  EXPECT_EQ(takeEvents() + creations(), "") << "patched already; not cancelled";
}

TEST_F(CDirectPatchTest, NothingIsOrderedOfWhatCannotBe) {
  const std::string failed = " A1/SH.600000买入\nstatus 组合任务123-SH.600000买入 10001 0\n";
  given(cancelled(950, 500));
  EXPECT_EQ(refusal(key, 14), "可补单量为0" + failed);
  EXPECT_EQ(refusal(task.getKey(), 14), "可补单量为0" + failed + "status T 10001 0\n");
  given(cancelled(200, 500));
  for (const char* setting : {"", "nonsense"}) {
    host.change([&](auto& session) { session.m_settings.m_strOrderSetting = setting; });
    EXPECT_EQ(refusal(key, 0), "没有委托设置" + failed);
  }
  host.desk().setQuote("SH", "600000", TC::CQuote());
  EXPECT_EQ(refusal(key, 14), "没有价格" + failed);
  instrument("SH", "600000", 0);
  EXPECT_EQ(refusal(key, 14), "没有有效的最小交易单位" + failed);
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);
  instrument("SH", "600000", 100);
  DetailPtr server = next(cancelled(200, 500));
  server->m_bServerTask = true;
  given(server);
  EXPECT_EQ(refusal(key, 14), "可补单量为0" + failed) << "nothing is known of what the server did";
  EXPECT_TRUE(host.takeCreations().empty());
}

}  // namespace
