#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CDesk.h"
#include "COutput.h"
#include "utils/Log.h"

namespace {

TEST(Output, PutsOutCallsAndLogLinesInOrderWithTheirKindFirst) {
  std::ostringstream out;
  desk::CDesk desk;
  {
    journal::COutput output(out);
    desk.addObserver(&output);
    desk.showMsg(QStringLiteral("任务 [1] 执行异常"), 4);
    utils::logInfo(&output, "f", "update cost: %1%", 5);
    auto detail = boost::make_shared<ksservice::CTaskDetail>();
    detail->m_strKey = "123-1";
    detail->m_nStatus = 7;
    desk.updateData(detail);
    ksservice::CBasketHedgeParam param;
    param.m_strCode = "IF2612";
    desk.giveHedgeParam(123, 77, param);
    param.m_nOrderLots = 2;
    desk.giveHedgeParam(123, 77, param);
    desk.startHedge(123);
    output.messageBox(QStringLiteral("补单"), QStringLiteral("可补单量为0"));
    EXPECT_TRUE(output.isGood());
    desk.removeObserver(&output);
  }
  utils::logInfo(&out, "f", "after the end");
  EXPECT_EQ(out.str(),
            "{\"call\":\"showMsg\",\"text\":\"任务 [1] 执行异常\",\"messageKind\":4}\n"
            "{\"log\":\"info\",\"text\":\"update cost: 5\"}\n"
            "{\"call\":\"updateData\",\"task\":\"123-1\",\"status\":7}\n"
            "{\"call\":\"setHedgeParam\",\"group\":123,\"command\":77,\"param\":{\"enabled\":false,\"market\":\"\","
            "\"code\":\"IF2612\",\"account\":\"\",\"operation\":4,\"volume\":0}}\n"
            "{\"call\":\"setHedgeParam\",\"group\":123,\"command\":77,\"param\":{\"enabled\":false,\"market\":\"\","
            "\"code\":\"IF2612\",\"account\":\"\",\"operation\":4,\"volume\":0,\"orderLots\":2}}\n"
            "{\"call\":\"startHedge\",\"group\":123}\n"
            "{\"call\":\"messageBox\",\"title\":\"补单\",\"text\":\"可补单量为0\"}\n");
}

TEST(Output, ACreationHasEveryFieldOfItsCommandAndItsParameters) {
  std::ostringstream out;
  desk::CDesk desk;
  journal::COutput output(out);
  desk.addObserver(&output);
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = "A1";
  ksservice::COrderCommand command;
  command.m_nCommandId = 77;
  command.m_nTaskId = 123;
  command.m_bPatch = true;
  command.m_nOrderType = 11;
  command.m_strAlgoParams = "algo=TWAP";
  command.m_nType = 9;
  ksservice::CCodeOrderParam param;
  param.m_pAccount = account;
  param.m_nType = 49;
  param.m_nOperation = 1;
  param.m_stock = {"SH", "600000", "浦发银行"};
  param.m_nVolume = 800;
  desk.requests().createTask({command, {param}, 4, 1, 123}, {});
  desk.removeObserver(&output);
  const nlohmann::json expected = nlohmann::json::parse(R"({"call":"createTask",
    "command":{"id":77,"number":0,"taskId":123,"traderType":0,"user":"","login":"","basketType":0,"patch":true,
      "basketName":"","text":"","localInfo":"","orderType":11,"algoTaskKey":"","algoParams":"algo=TWAP","type":9},
    "params":[{"account":"A1","type":49,"operation":1,"orderType":0,"market":"SH","code":"600000","name":"浦发银行",
      "priceType":0,"price":0.0,"volume":800,"handled":0}],"traderType":4,"hedgeType":1})");
  EXPECT_EQ(nlohmann::json::parse(out.str()), expected);
}

TEST(Output, OperationsAndQueriesSayWhomTheyAreFor) {
  std::ostringstream out;
  desk::CDesk desk;
  journal::COutput output(out);
  desk.addObserver(&output);
  const auto record = boost::make_shared<const ksservice::CTaskOpRecord>(
      ksservice::CTaskOpRecord{ksservice::ETO_Cancel, 1763683200, "u1", "u1终止任务"});
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = "A1";
  desk::CRequests& requests = desk.requests();
  requests.operateServerTask("123-1", record, {});
  requests.operateLocalTask(123, account, record);
  requests.operateLocalTask(124, nullptr, record);
  requests.pauseLocalTask(123, account);
  requests.resumeLocalTask(123, account);
  requests.queryOrderProcess({"123-1", "123-2"}, {});
  requests.pauseHedge(123);
  requests.stopHedge(123);
  desk.removeObserver(&output);
  const std::string rest = "\"operation\":3,\"operator\":\"u1\",\"remark\":\"u1终止任务\"}\n";
  EXPECT_EQ(out.str(), "{\"call\":\"operateServerTask\",\"task\":\"123-1\"," + rest +
                           "{\"call\":\"operateLocalTask\",\"id\":123,\"account\":\"A1\"," + rest +
                           "{\"call\":\"operateLocalTask\",\"id\":124,\"account\":\"\"," + rest +
                           "{\"call\":\"pauseLocalTask\",\"id\":123,\"account\":\"A1\"}\n"
                           "{\"call\":\"resumeLocalTask\",\"id\":123,\"account\":\"A1\"}\n"
                           "{\"call\":\"queryOrderProcess\",\"tasks\":[\"123-1\",\"123-2\"]}\n"
                           "{\"call\":\"pauseHedge\",\"group\":123}\n"
                           "{\"call\":\"stopHedge\",\"group\":123}\n");
}

TEST(Output, ATextThatIsNoUtf8DoesNotEndIt) {
  std::ostringstream out;
  journal::COutput output(out);
  output.put({{"log", "info"}, {"text", "broken \xff bytes"}});
  EXPECT_EQ(nlohmann::json::parse(out.str()).at("text"), "broken \xEF\xBF\xBD bytes");
}

TEST(Output, SaysWhenALineCouldNotBeWritten) {
  std::ostringstream out;
  journal::COutput output(out);
  out.setstate(std::ios::badbit);
  output.put({{"log", "info"}});
  EXPECT_FALSE(output.isGood());
}

}  // namespace
