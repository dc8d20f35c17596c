#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "CDesk.h"
#include "COutput.h"
#include "utils/Log.h"

namespace {

TEST(Output, NamesWhatDiffersFromItsDefaultAndNothingThatComesBehindTheEnd) {
  std::ostringstream out;
  desk::CDesk desk;
  {
    journal::COutput output(out);
    desk.addObserver(&output);
    ksservice::CBasketHedgeParam param;
    param.m_strCode = "IF2612";
    param.m_nOrderLots = 2;
    desk.giveHedgeParam(123, 77, param);
    EXPECT_TRUE(output.isGood());
    desk.removeObserver(&output);
  }
  utils::logInfo(&out, "f", "after the end");
  EXPECT_EQ(out.str(),
            "{\"call\":\"setHedgeParam\",\"group\":123,\"command\":77,\"param\":{\"enabled\":false,\"market\":\"\","
            "\"code\":\"IF2612\",\"account\":\"\",\"operation\":4,\"volume\":0,\"orderLots\":2}}\n");
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
