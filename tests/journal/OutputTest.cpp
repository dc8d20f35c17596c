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
