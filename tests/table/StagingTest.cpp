/// What is staged for the table, and what of it arrives.
#include "BasketStaging.h"

#include <gtest/gtest.h>

#include "CTestHost.h"
#include "Tasks.h"

using namespace TC;

namespace {

class Staging : public testing::Test {
 protected:
  Staging() { test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 0}}); }

  /// The task as it was staged, which must be this one alone.
  SStagedTask stage(const test::TaskPtr& task) {
    m_staging.stageTask(task);
    const StagedBatch batch = m_staging.take();
    EXPECT_EQ(batch.size(), 1u);
    return batch.at(0);
  }

  testkit::CTestHost m_host;
  CBasketStaging m_staging;
  test::TaskPtr m_task = test::makeTask(1);
  CBasketTaskItem& m_root = *m_task->getRoot();
};

TEST_F(Staging, BringsShapeAndTextsOnceAndFiguresAlways) {
  const SStagedTask first = stage(m_task);
  ASSERT_TRUE(first.shape && first.texts && first.figures);
  ASSERT_EQ(first.shape->size(), 3U);
  EXPECT_EQ((*first.shape)[1].parent, 0);
  EXPECT_EQ((*first.shape)[1].depth, 1);
  EXPECT_EQ((*first.shape)[1].scriptName, "SH.600000买入");
  EXPECT_EQ((*first.shape)[1].code, "600000");
  EXPECT_EQ(first.facts.displayId, taskDisplayId(1, 1));
  EXPECT_EQ(first.facts.basketName, "basket");
  EXPECT_EQ(first.texts->of(0).accountName, "") << "a row with children";
  EXPECT_EQ(first.texts->of(1).accountName, "name of A1");

  test::update(m_task, 1, "A1", "1001", {{"600000", 400}, {"600036", 0}});
  m_staging.stageTask(m_task);
  const SStagedTask second = stage(m_task);  // what waited is one with it
  EXPECT_FALSE(second.shape);
  EXPECT_FALSE(second.texts);
  EXPECT_EQ((*second.figures)[0].tradedVolume, 400);
  EXPECT_EQ((*second.figures)[1].tradedVolume, 400);
  EXPECT_EQ((*second.figures)[2].tradedVolume, 0);
  EXPECT_EQ((*first.figures)[1].tradedVolume, 0) << "what was staged before stays as it was";
}

TEST_F(Staging, BringsTextsWhenOneChanged) {
  stage(m_task);
  QString* const texts[] = {&m_root.m_strRemark, &m_root.m_strCommandText, &m_root.m_strLocalInfoKey,
                            &m_root.m_strAccounts};
  for (QString* text : texts) {
    *text += "!";
    EXPECT_TRUE(stage(m_task).texts) << text->toStdString();
    EXPECT_FALSE(stage(m_task).texts) << text->toStdString();
  }
  m_root.m_nOrderType = ksservice::EORT_Algo;
  const SStagedTask algo = stage(m_task);
  ASSERT_TRUE(algo.texts);
  EXPECT_EQ(algo.texts->of(0).tradeParam, "智能算法");
  EXPECT_EQ(algo.texts->of(1).tradeParam, "") << "on root rows only";
}

/// The host is asked again in each refresh, for what it did not know and for what it knew.
TEST_F(Staging, FollowsWhatTheHostSaysOfAnInstrument) {
  EXPECT_EQ(stage(m_task).texts->infoOf[1]->name, "");
  CCodeInfo info = testkit::makeInstrument("SH", "600000");
  for (const char* name : {"浦发银行", "ST浦发"}) {
    info.m_strName = name;
    m_host.desk().setInstrument(info);
    m_staging.beginRefresh(0);
    const SStagedTask known = stage(m_task);
    ASSERT_TRUE(known.texts) << name;
    EXPECT_EQ(known.texts->infoOf[1]->name, name);
  }
  m_staging.beginRefresh(0);
  EXPECT_FALSE(stage(m_task).texts) << "it says the same";

  info = testkit::makeInstrument("SH", "600036");
  info.m_strName = "招商银行";
  m_host.desk().setInstrument(info);
  m_host.setMeeting([](const std::string& key) {
    if (key == "600036") throw std::runtime_error("the host fails");
  });
  m_staging.beginRefresh(0);
  EXPECT_THROW(m_staging.stageTask(m_task), std::runtime_error);
  m_host.setMeeting({});
  m_staging.beginRefresh(0);
  const SStagedTask said = stage(m_task);
  ASSERT_TRUE(said.texts) << "what it failed to say";
  EXPECT_EQ(said.texts->infoOf[2]->name, "招商银行");

  m_host.setMeeting([](const std::string& key) {
    if (key == "version") throw std::runtime_error("the host fails");
  });
  EXPECT_NO_THROW(m_staging.beginRefresh(0)) << "a refresh holds details that would be lost";
  m_host.setMeeting({});
}

/// A start that was shown stays, whatever becomes of the tree; the end is the node's. In hours, -1 for none.
TEST_F(Staging, KeepsTheFirstStart) {
  using Hours = std::pair<double, double>;
  const auto shown = [this](int start, int end) {
    m_root.m_startTime = QTime(start, 0);
    m_root.m_endTime = QTime(end, 0);
    const STaskFacts facts = stage(m_task).facts;
    const auto hours = [](int msec) { return msec < 0 ? msec : msec / 3600000.0; };
    return Hours(hours(facts.startMSec), hours(facts.endMSec));
  };
  EXPECT_EQ(shown(-1, -1), Hours(-1, -1));
  EXPECT_EQ(shown(10, -1), Hours(10, -1));
  EXPECT_EQ(shown(9, 10), Hours(10, 10));
  EXPECT_EQ(shown(11, 11), Hours(10, 11));
  EXPECT_EQ(shown(-1, 9), Hours(10, 9));
  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  EXPECT_EQ(shown(9, 9), Hours(10, 9));
  m_staging.stageClear(m_task->getKey());
  EXPECT_EQ(shown(9, 9), Hours(10, 9));
  m_staging.startDay(1);
  m_staging.beginRefresh(1);
  EXPECT_EQ(shown(9, -1), Hours(9, -1));
}

TEST_F(Staging, AStatusAloneComesWhenItChanged) {
  const auto staged = [this](const char* account) {
    m_staging.stageStatus(m_task, account, "SH.600036买入");
    StagedBatch batch = m_staging.take();
    EXPECT_LE(batch.size(), 1u);
    return batch;
  };
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 200}});
  EXPECT_TRUE(staged("A1").empty()) << "not staged yet";
  const SStagedTask before = stage(m_task);
  EXPECT_TRUE(staged("A1").empty()) << "the same";

  CBasketTaskItem& node = *m_root.childAt(1);
  node.m_nStatus = 4;
  EXPECT_TRUE(staged("A2").empty()) << "another account";
  const SStagedTask changed = staged("A1").at(0);
  EXPECT_FALSE(changed.shape || changed.texts);
  EXPECT_EQ((*changed.figures)[2].status, 4);
  EXPECT_EQ((*changed.figures)[2].tradedVolume, 200);
  EXPECT_EQ((*changed.figures)[1].status, (*before.figures)[1].status);

  node.m_strRemark = "资金不足";
  const SStagedTask renamed = staged("A1").at(0);
  EXPECT_EQ(renamed.texts->of(2).statusText + renamed.texts->of(1).statusText, "资金不足");
}

TEST_F(Staging, AClearedTaskAndANewOneUnderItsKeyComeWhole) {
  stage(m_task);
  m_staging.stageClear(m_task->getKey());
  EXPECT_TRUE(m_staging.take().empty()) << "an empty task for who looks in between";
  const SStagedTask anew = stage(m_task);
  EXPECT_TRUE(anew.shape && anew.texts && anew.figures);

  const test::TaskPtr again = test::makeTask(1);
  test::update(again, 1, "A1", "1001", {{"600000", 0}});
  const SStagedTask staged = stage(again);
  EXPECT_TRUE(staged.shape && staged.texts);
  EXPECT_EQ(staged.task.lock(), again);
  m_staging.stageTask(nullptr);
  EXPECT_TRUE(m_staging.take().empty());
}

}  // namespace
