/// What is staged for the table, and what of it arrives.
#include "BasketStaging.h"

#include <gtest/gtest.h>

#include <utility>

#include "Tasks.h"
#include "TestHost.h"

namespace TC {
namespace {

class Staging : public testing::Test {
 protected:
  Staging() { test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 0}}); }

  static SStagedTask only(const StagedBatch& batch) {
    if (batch.size() != 1) throw std::logic_error("one task expected");
    return batch.front();
  }
  /// Stages the task and takes the batch, which must be this task alone.
  SStagedTask stage(const test::TaskPtr& task) {
    m_staging.stageTask(task);
    return only(m_staging.take());
  }

  test::CTestHost m_host;
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
  EXPECT_EQ((*first.texts)[0].accountName, "") << "a row with children";
  EXPECT_EQ((*first.texts)[1].accountName, "name of A1");

  test::update(m_task, 1, "A1", "1001", {{"600000", 400}, {"600036", 0}});
  const SStagedTask second = stage(m_task);
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
                            &m_root.m_strAccounts, &m_root.childAt(0)->m_strAccountName};
  for (QString* text : texts) {
    *text += QStringLiteral("!");
    EXPECT_TRUE(stage(m_task).texts) << text->toStdString();
    EXPECT_FALSE(stage(m_task).texts) << text->toStdString();
  }
  m_root.m_nOrderType = ksservice::EORT_Algo;
  const SStagedTask algo = stage(m_task);
  ASSERT_TRUE(algo.texts);
  EXPECT_EQ((*algo.texts)[0].tradeParam, "智能算法");
  EXPECT_EQ((*algo.texts)[1].tradeParam, "") << "on root rows only";
}

/// The host is asked again in each refresh, for what it did not know and for what it knew.
TEST_F(Staging, FollowsWhatTheHostSaysOfAnInstrument) {
  EXPECT_EQ((*stage(m_task).texts)[1].instrumentName, "");
  CCodeInfo info = test::makeInstrument("SH", "600000");
  for (const char* name : {"浦发银行", "ST浦发"}) {
    info.m_strName = name;
    m_host.desk().setInstrument(info);
    m_staging.beginRefresh(0);
    const SStagedTask known = stage(m_task);
    ASSERT_TRUE(known.texts) << name;
    EXPECT_EQ((*known.texts)[1].instrumentName, name);
  }
  m_staging.beginRefresh(0);
  EXPECT_FALSE(stage(m_task).texts) << "it says the same";
}

/// A start that was shown stays, whatever becomes of the tree; the end is the node's.
TEST_F(Staging, KeepsTheFirstStart) {
  const auto msecs = [](const QTime& start, const QTime& end) {
    const auto msec = [](const QTime& time) { return time.isValid() ? time.msecsSinceStartOfDay() : -1; };
    return std::pair(msec(start), msec(end));
  };
  const auto shown = [&](const QTime& start, const QTime& end) {
    m_root.m_startTime = start;
    m_root.m_endTime = end;
    const SRowFigures figures = stage(m_task).figures->front();
    return std::pair<int, int>(figures.startMSec, figures.endMSec);
  };
  const QTime none;
  const QTime nine(9, 0);
  const QTime ten(10, 0);
  const QTime eleven(11, 0);
  EXPECT_EQ(shown(none, none), msecs(none, none));
  EXPECT_EQ(shown(ten, none), msecs(ten, none));
  EXPECT_EQ(shown(nine, ten), msecs(ten, ten));
  EXPECT_EQ(shown(eleven, eleven), msecs(ten, eleven));
  EXPECT_EQ(shown(none, nine), msecs(ten, nine));
  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  EXPECT_EQ(shown(nine, nine), msecs(ten, nine));
  m_staging.stageClear(m_task->getKey());
  EXPECT_EQ(shown(nine, nine), msecs(ten, nine));
  m_staging.startDay(1);
  m_staging.beginRefresh(1);
  EXPECT_EQ(shown(nine, none), msecs(nine, none));
}

TEST_F(Staging, AStatusAloneComesWhenItChanged) {
  const QString account = QStringLiteral("A1");
  const QString row = QStringLiteral("SH.600036买入");
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 200}});
  m_staging.stageStatus(m_task, account, row);
  EXPECT_TRUE(m_staging.take().empty()) << "not staged yet";
  const SStagedTask before = stage(m_task);
  m_staging.stageStatus(m_task, account, row);
  EXPECT_TRUE(m_staging.take().empty()) << "the same";

  CBasketTaskItem& node = *m_root.childAt(1);
  node.m_nStatus = 4;
  m_staging.stageStatus(m_task, QStringLiteral("A2"), row);
  EXPECT_TRUE(m_staging.take().empty()) << "another account";
  m_staging.stageStatus(m_task, account, row);
  const SStagedTask changed = only(m_staging.take());
  EXPECT_FALSE(changed.shape || changed.texts);
  EXPECT_EQ((*changed.figures)[2].status, 4);
  EXPECT_EQ((*changed.figures)[2].tradedVolume, 200);
  EXPECT_EQ((*changed.figures)[1].status, (*before.figures)[1].status);

  node.m_strRemark = QStringLiteral("资金不足");
  m_staging.stageStatus(m_task, account, row);
  const SStagedTask renamed = only(m_staging.take());
  EXPECT_EQ((*renamed.texts)[2].statusText, "资金不足");
  EXPECT_EQ((*renamed.texts)[1].statusText, "");
}

TEST_F(Staging, NothingIsLostBetweenTwoTakes) {
  m_staging.stageTask(m_task);
  test::update(m_task, 1, "A1", "1001", {{"600000", 300}});
  const SStagedTask both = stage(m_task);
  EXPECT_TRUE(both.shape && both.texts);
  EXPECT_EQ(both.figures->front().tradedVolume, 300);
  EXPECT_TRUE(m_staging.take().empty());
}

TEST_F(Staging, AClearComesWithTheRowsThatFollowIt) {
  stage(m_task);
  m_staging.stageClear(m_task->getKey());
  EXPECT_TRUE(m_staging.take().empty()) << "an empty task for who looks in between";
  const SStagedTask anew = stage(m_task);
  EXPECT_TRUE(anew.shape && anew.texts && anew.figures);
}

TEST_F(Staging, DropsWhatARefreshOfTheDayBeforeStages) {
  m_staging.beginRefresh(0);
  m_staging.stageTask(m_task);
  m_staging.startDay(1);
  EXPECT_TRUE(m_staging.take().empty());
  m_staging.stageTask(m_task);
  EXPECT_TRUE(m_staging.take().empty()) << "the refresh that began on the old day";
  m_staging.beginRefresh(1);
  EXPECT_TRUE(stage(m_task).shape) << "the table knows nothing any more";
}

TEST_F(Staging, ANewTaskUnderAnOldKeyComesWhole) {
  stage(m_task);
  const test::TaskPtr again = test::makeTask(1);
  test::update(again, 1, "A1", "1001", {{"600000", 0}});
  const SStagedTask staged = stage(again);
  EXPECT_TRUE(staged.shape && staged.texts);
  EXPECT_EQ(staged.task.lock(), again);
  m_staging.stageTask(nullptr);
  EXPECT_TRUE(m_staging.take().empty());
}

}  // namespace
}  // namespace TC
