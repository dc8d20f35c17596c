/// Operations on a whole task: what is sent, what is announced, and what the host's answers do.
#include <thread>

#include "PatchFixture.h"

namespace {

using namespace ksservice;

class COperationsTest : public CPatchTaskTest {
 protected:
  /// A local and a server detail, a server patch 124 and a local patch 125; cancelled by the user.
  std::vector<testkit::CTestHost::SCall> cancelMixedTask() {
    DetailPtr serverPatch = patchDetail(124), localPatch = patchDetail(125);
    serverPatch->m_bServerTask = true;
    serverPatch->m_params = localPatch->m_params = {buyLine(100)};
    update(twoLines(1));
    update(onServer(twoLines()->m_params, 2));
    deliverPatch(serverPatch);
    deliverPatch(localPatch);
    task.cancel("event");
    return host.takeCalls();
  }
};

TEST_F(COperationsTest, OneRecordGoesToEveryDetailWhereItRuns) {
  const auto calls = cancelMixedTask();
  std::string sends;
  for (const auto& call : calls) sends += nameOf(call) + "\n";
  EXPECT_EQ(sends, "local 123@A1\nserver 123-2\nserver 124-1\nlocal 125@A1\nhedge stop 123\n");
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(calls[i].record, calls[0].record) << i;
  EXPECT_EQ(calls[0].record->m_nOperation, ETO_Cancel);
  EXPECT_EQ(calls[0].record->m_nTime, 1763683200);
  EXPECT_EQ(calls[0].record->m_strOperator, "u1");
  EXPECT_EQ(calls[0].record->m_strRemark, "u1终止任务");
}

/// What a host does not take reaches the others all the same, and the user is told.
TEST_F(COperationsTest, AHostThatFailsAtOneDetailKeepsNoneFromItsCancel) {
  host.setMeeting([](const std::string& key) {
    if (key.rfind("operate 123", 0) == 0) throw std::runtime_error("the host fails");
  });
  std::vector<QString> faults;
  QObject::connect(&task, &TC::CBasketTask::sigShowOperateOrbTaskError,
                   [&faults](const QString& text) { faults.push_back(text); });
  std::string sends;
  for (const auto& call : cancelMixedTask()) sends += nameOf(call) + "\n";
  EXPECT_EQ(sends, "server 124-1\nlocal 125@A1\nhedge stop 123\n");
  QCoreApplication::processEvents();
  EXPECT_EQ(faults, (std::vector<QString>{"任务 123-1 的操作未能发出", "任务 123-2 的操作未能发出"}));
}

/// A drop that was not sent is none, on screen and for the patches that are on their way.
TEST_F(COperationsTest, ADropThatCouldNotBeSentIsUndone) {
  update(cancelled(1000, 400));
  host.setMeeting([](const std::string&) { throw std::runtime_error("the host fails"); });
  takeEvents();
  task.drop("");
  QCoreApplication::processEvents();
  EXPECT_EQ(takeEvents(), "status T 11 0\nended T\nstatus T 8 0\nbox Operate task fail|任务 123-1 的操作未能发出\n");
}

TEST_F(COperationsTest, ServerKnowsALargeTaskByItsAlgorithmButForADrop) {
  DetailPtr large = onServer(twoLines()->m_params);
  large->m_nTaskId = 100000;
  large->m_strKey = "100000-1";
  large->m_pCommand->m_strAlgoTaskKey = "ALGO";
  update(large);
  task.cancel("");
  task.pause("");
  task.resume("");
  EXPECT_EQ(takeSends(), "server ALGO\nhedge stop 123\nserver ALGO\nhedge pause 123\nserver ALGO\n");
  root.m_bPatching = true;
  task.drop("");
  EXPECT_EQ(takeSends(), "server 100000-1\n");
  EXPECT_FALSE(root.m_bPatching);
}

TEST_F(COperationsTest, StatusIsTakenOnceTheDetailsAgree) {
  const auto events = [this](int status, const auto& operate) {
    DetailPtr made = twoLines();
    made->m_params.front().m_nOrderType = EORT_Algo;
    made->m_nStatus = status;
    update(made);
    root.m_nStatus = ETS_Unknown;
    root.m_bPatching = true;
    takeEvents();
    operate();
    return takeEvents() + std::to_string(root.m_nStatus) + (root.m_bPatching ? " marked" : "");
  };
  const auto cancel = [this] { task.cancel(""); };
  const auto pause = [this] { task.pause(""); };
  const auto resume = [this] { task.resume(""); };
  EXPECT_EQ(events(ETS_Running, cancel), "0 marked");
  EXPECT_EQ(events(ETS_ExecutionError, cancel), "status T 8 11\n8");
  EXPECT_EQ(events(ETS_Running, pause), "0 marked");
  EXPECT_EQ(events(ETS_Paused, pause), "status T 4 11\n4 marked");
  EXPECT_EQ(events(ETS_Paused, resume), "0 marked");
  EXPECT_EQ(events(ETS_Running, resume), "status T 3 11\n3 marked");
}

TEST_F(COperationsTest, CancelledTaskWithNothingButItsHedgeUnfinishedIsDropped) {
  addHedge(3);
  update(cancelled(1000, 499));
  task.cancel("");
  EXPECT_EQ(takeSends(), "local 123@A1\nhedge stop 123\n") << "a share is missing";
  EXPECT_EQ(task.getHedgeItem()->m_nStatus, ETS_Cancelled);
  EXPECT_FALSE(task.getHedgeItem()->m_bPatching);
  given(cancelled(1000, 500));
  task.cancel("");
  EXPECT_EQ(takeSends(), "local 123@A1\nhedge stop 123\nlocal 123@A1\n");
  EXPECT_EQ(takeEvents(), "status T 8 0\nstatus T 11 0\n");
}

TEST_F(COperationsTest, AFilledTaskIsCancelledWithoutHandingItsHedgeOver) {
  addHedge(0);
  given(cancelled(1000, 400));
  DetailPtr rest = patchDetail(124);
  rest->m_params = {sellLine(100)};
  rest->m_orders = {ended(sell("p1", 100, 100))};
  deliverPatch(rest);
  ASSERT_EQ(root.m_nStatus, ETS_Finished);
  host.takeHedgeParams();
  takeSends();
  task.cancel("");
  EXPECT_EQ(takeSends(), "local 123@A1\nlocal 124@A1\nhedge stop 123\nlocal 124@A1\nlocal 123@A1\n");
  EXPECT_TRUE(host.takeHedgeParams().empty()) << "what has filled needs no hedge any more";
}

TEST_F(COperationsTest, UnpatchOfTheHedgeRowAnnouncesItWithTheRootsType) {
  addHedge(3);
  DetailPtr made = twoLines();
  made->m_params.front().m_nOrderType = EORT_Algo;
  given(made);
  TC::CBasketTaskItem& row = *task.getHedgeItem();
  row.m_bPatching = true;
  task.unpatch(row.m_strKey);
  EXPECT_EQ(takeEvents(), "status " + row.m_strKey.toStdString() + " 10001 11\n");
  EXPECT_FALSE(row.m_bPatching);
  EXPECT_EQ(takeSends(), "") << "there is no patch task";
  row.m_bPatching = true;
  task.drop("");
  EXPECT_FALSE(row.m_bPatching) << "a dropped task offers no end of its hedge";
}

TEST_F(COperationsTest, AnswerFindsItsTaskOnAnotherThreadOrNoTaskAtAll) {
  const auto calls = cancelMixedTask();
  QObject::disconnect(&task, nullptr, nullptr, nullptr);
  QSignalSpy told(&task, &TC::CBasketTask::sigShowOperateOrbTaskError);
  std::thread(calls[1].completion, utils::KSError("late"), bson::BSONObj()).join();
  EXPECT_EQ(told.count(), 1);
  auto passing = boost::make_shared<TC::CBasketTask>("组合任务9", 9, 9);
  DetailPtr server = onServer(twoLines()->m_params);
  passing->updateDetail(server);
  passing->cancel("");
  const auto completion = host.takeCalls().front().completion;
  passing.reset();
  completion(utils::KSError("too late"), bson::BSONObj());
}

}  // namespace
