/// Patches without a dialog: what is ordered at which price, and what is said of a row of which nothing is.
#include "PatchFixture.h"

namespace {

using namespace ksservice;

class CDirectPatchTest : public CPatchTaskTest {
 protected:
  std::string creations() {
    std::string text;
    for (const auto& created : host.takeCreations()) {
      EXPECT_EQ(created.m_nHedgeType, 0);
      EXPECT_EQ(created.m_nTaskId, 123);
      EXPECT_TRUE(created.m_command.m_bPatch);
      for (const auto& line : created.m_params) {
        text += line.getKey() + " " + std::to_string(line.m_nVolume) + " type " + std::to_string(line.m_nType) +
                " price " + std::to_string(line.m_nPriceType) + ":" + QString::number(line.m_dPrice).toStdString() +
                "\n";
      }
      created.completion(utils::KSError("gone"), 0);
    }
    QCoreApplication::processEvents();
    return text;
  }
  std::string messages() {
    std::string text;
    for (const auto& message : host.takeMessages()) text += message.first.toStdString() + "\n";
    return text;
  }
};

TEST_F(CDirectPatchTest, OneRowOrEveryRowIsOrderedAtAPrice) {
  command.m_nType = 6;
  host.setCommand(command);
  host.change([](auto& session) { session.m_settings.m_strOrderSetting = "price=1"; });
  given(cancelled(200, 0));
  const QString buyRow = row("SH.600000买入").m_strKey;
  task.patch(buyRow, 14);
  EXPECT_EQ(takeEvents(), "") << "a single row's success is announced by its details";
  EXPECT_TRUE(row("SH.600000买入").m_bPatching);
  EXPECT_EQ(creations(), "A1/SH.600000买入 800 type 6 price 14:10.1\n");
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);
  EXPECT_EQ(takeEvents(), "status 组合任务123-SH.600000买入 10001 0\nbox 补单|gone\nended T\nstatus T 8 0\n");
  for (const QString& key : {QString(), task.getKey()}) {
    task.patch(key, 0);
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
  given(cancelled(950, 500));
  const QString key = row("SH.600000买入").m_strKey;
  const std::string failed = "status 组合任务123-SH.600000买入 10001 0\n";
  task.patch(key, 14);
  EXPECT_EQ(messages(), "可补单量为0 A1/SH.600000买入\n");
  EXPECT_EQ(takeEvents(), failed);
  task.patch(task.getKey(), 14);
  EXPECT_EQ(takeEvents(), failed + "status T 10001 0\n");
  messages();

  given(cancelled(200, 500));
  for (const char* setting : {"", "nonsense"}) {
    host.change([&](auto& session) { session.m_settings.m_strOrderSetting = setting; });
    task.patch(key, 0);
    EXPECT_EQ(takeEvents(), failed);
    EXPECT_EQ(messages(), "没有委托设置 A1/SH.600000买入\n");
  }
  host.setCommandsKnown(false);
  task.patch(key, 14);
  EXPECT_EQ(takeEvents(), failed);
  EXPECT_EQ(takeLog("get command"), std::vector<std::string>{"get command fail"});
  host.setCommandsKnown(true);
  TC::CQuote quote;
  host.desk().setQuote("SH", "600000", quote);
  task.patch(key, 14);
  instrument("SH", "600000", 0);
  task.patch(key, 14);
  EXPECT_EQ(messages(),
            "没有指令 A1/SH.600000买入\n没有价格 A1/SH.600000买入\n没有有效的最小交易单位 A1/SH.600000买入\n");
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);

  instrument("SH", "600000", 100);
  DetailPtr server = next(cancelled(200, 500));
  server->m_bServerTask = true;
  given(server);
  task.patch(key, 14);
  EXPECT_EQ(messages(), "可补单量为0 A1/SH.600000买入\n") << "nothing is known of what the server did";
  EXPECT_TRUE(host.takeCreations().empty());
}

}  // namespace
