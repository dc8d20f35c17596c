#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>
#include <sstream>

#include "COutput.h"
#include "JournalReader.h"
#include "LineRecords.h"
#include "TaskDetails.h"
#include "utils/Log.h"

namespace {

using nlohmann::json;
using namespace journal;

SLine parse(const std::string& text) {
  const auto parsed = parseLine(text);
  if (const auto* fault = std::get_if<std::string>(&parsed)) throw std::runtime_error(*fault + "\n" + text);
  return std::get<SLine>(parsed);
}

template <typename Body>
Body parseAs(const std::string& text) {
  return std::get<Body>(parse(text).m_body);
}

/// Every field of a task line with a value that is not its default; that of a type is none.
constexpr const char* WHOLE_TASK =
    R"({"kind":"task","via":"signal","key":"k","id":124,"number":1,"businessNumber":8,"status":3,"message":"m",
        "startTime":1763688600,"endTime":0,"server":true,"instance":"i","unknown":true,
        "command":{"id":77,"taskId":123,"traderType":1,"user":"u1","basketType":1,"type":0},
        "params":[{"account":"A1","type":2,"operation":1,"orderType":11,"market":"SH","code":"600000",
                   "name":"浦发银行","priceType":5,"price":10.05,"volume":1000,"handled":7}],
        "orders":[{"key":"o1","tag":"t1","market":"SH","code":"600000","operation":1,"volume":600,"traded":200,
                   "price":10.0,"amount":2000.0,"message":"","completed":true,
                   "detail":{"cancelled":true,"market":"SZ","code":"1","traded":100,"amount":7.5}},
                  {"key":"o2","detail":{}}, {"key":"o3"}]})";

/// Every field here differs from its default, so that it must be written again.
TEST(Lines, KeepEveryField) {
  const json lines = json::parse(R"([
{"kind":"session","version":1,"user":"u1","login":"L1","traderType":2,"now":1763683200,"timeZone":"Asia/Shanghai",
  "settings":{"hasRevokeTask":false,"hasUpStopPrice":false,"rawQuantity":true,"quietActivation":true,
  "orderSetting":"x"}},
{"kind":"account","key":"A1","type":1,"displayId":"1001","name":"主账户","configured":false,"loginReady":false,
  "filtered":true,"brokerMatches":false,"t":12},
{"kind":"instrument","market":"SH","code":"600000","name":"浦发银行","multiplier":300.5,"types":[100001,7],
  "special":true,"tradeMinUnit":100,"uiMinUnit":10,"tradeUnit":5,"marketPriceTypes":[42]},
{"kind":"quote","market":"SH","code":"600000","last":10.1,"bid":9.99,"ask":10.01,"calc":10.2,"order":0.0,
  "limitUp":11.1,"limitDown":9.1},
{"kind":"command","id":77,"number":3,"taskId":123,"traderType":1,"user":"u1","login":"L1","basketType":1,
  "patch":true,"basketName":"b","text":"t","localInfo":"1|2","orderType":11,"algoTaskKey":"k","algoParams":"p",
  "type":9},
{"kind":"hedgeParam","command":77,"where":"stored","enabled":true,"market":"CFFEX","code":"IF2612","account":"F1",
  "operation":1,"volume":3,"handedOver":true,"ratio":0.5,"orderLots":2,"orderLimit":9,"priceType":1,"now":5},
{"kind":"hedgeState","group":123,"status":3},
{"kind":"progress","task":"123-1","orderDetails":[{"mapKey":"1001","market":"SH","code":"600000","traded":100,
  "amount":1000.0,"cancelled":true,"param":2}]},
{"kind":"progress","task":"123-1","partial":true,"orderDetails":[{"key":"c1","traded":100}]},
{"kind":"hedgeVolume","task":123,"volume":5}, {"kind":"hedgeStatus","task":123,"status":1},
{"kind":"tradingDay","date":"20261123"}, {"kind":"stockUnitChange"},
{"kind":"serverReply","error":"","document":{"ErrorMsg":"拒绝","code":7,"more":{"a":[1,"b",null]}}},
{"kind":"serverReply"}, {"kind":"createReply","error":"no","taskId":124},
{"kind":"orderProcess","data":{"123-1":{"SH.600000":300,"SZ.1":0},"9-1":{}},"error":"e","document":{"x":1}},
{"kind":"open"}, {"kind":"close"}, {"kind":"refresh","t":1000,"now":1763683201},
{"kind":"host","do":"setParam","text":"a*1*2"}, {"kind":"host","do":"setTradeType","traderType":2},
{"kind":"host","do":"setUiLock","on":true}, {"kind":"host","do":"prepareActive"},
{"kind":"host","do":"requestAccount","account":"A1"}, {"kind":"host","do":"loadAccountGroupSettings"},
{"kind":"host","do":"patch","row":"123/SH.600000买入","priceType":14},
{"kind":"user","do":"dialog","acts":[{"press":"选中补单"},{"check":"A1/SH.600000买入","on":false},
  {"edit":"A1/SH.600000买入","text":"1250"},{"dump":"name"},{"play":3},{"close":true}]},
{"kind":"user","do":"toolbar","id":4}, {"kind":"user","do":"filterFinished","on":true},
{"kind":"user","do":"button","row":"123/证券","id":1}, {"kind":"user","do":"doubleClick","column":8},
{"kind":"user","do":"click","row":"123","column":9}, {"kind":"user","do":"key","keys":"Shift+W"},
{"kind":"user","do":"expand","row":"123"}, {"kind":"user","do":"collapse","row":"123"},
{"kind":"user","do":"export","file":"out.csv"}, {"kind":"user","do":"copy"},
{"kind":"user","do":"event","event":1140,"id":10001,"text":"","task":123}, {"kind":"dump","name":"after cancel"}
  ])");
  for (const json& line : lines) {
    const std::string written = writeLine(parse(line.dump()));
    EXPECT_EQ(json::parse(written), line);
    EXPECT_EQ(written.find("{\"kind\":"), 0u) << "the kind stands first";
  }
}

TEST(TaskLine, WhatIsLeftOutIsUnsetEmptyOrNothing) {
  const auto line = parseAs<STaskLine>(
      R"({"kind":"task","via":"feed","businessNumber":null,"endTime":null,"status":null,"command":{"id":7,"taskId":123},
          "orders":[{"key":"o1","message":null,"traded":5,"amount":50.0,"market":"SH","code":"1","detail":{"cancelled":true}},
                    {"key":"o2","tag":"t2","message":"","detail":null}]})");
  desk::CDesk desk;
  const desk::SPublication publication = toPublication(line, desk);
  const ksservice::CTaskDetail& detail = *publication.m_pDetail;
  EXPECT_EQ(detail.m_nBusinessNumber, ksservice::UNSET_INT);
  EXPECT_EQ(detail.m_nStartTime, ksservice::UNSET_INT);
  EXPECT_EQ(detail.m_nEndTime, ksservice::UNSET_INT);
  EXPECT_EQ(detail.m_nStatus, 0);
  EXPECT_EQ(detail.m_nTaskId, 123);
  EXPECT_EQ(detail.getKey(), "123-0");
  ASSERT_EQ(detail.m_orders.size(), 2u);
  EXPECT_FALSE(detail.m_orders[0]->m_bHasMessage);
  EXPECT_TRUE(detail.m_orders[1]->m_bHasMessage);
  EXPECT_EQ(detail.m_orders[0]->m_tag.text(), "o1");
  EXPECT_EQ(detail.m_orders[1]->m_tag.text(), "t2");

  // A detail that says nothing of its own has traded what its order has; null: the tag finds none.
  ASSERT_EQ(publication.m_orderDetails.size(), 2u);
  ASSERT_TRUE(publication.m_orderDetails[0].second);
  EXPECT_TRUE(publication.m_orderDetails[0].second->m_bCancelled);
  EXPECT_EQ(publication.m_orderDetails[0].second->m_nTradedVolume, 5);
  EXPECT_EQ(publication.m_orderDetails[0].second->m_strMarket, "SH");
  EXPECT_FALSE(publication.m_orderDetails[1].second);

  // An event that is no button's needs no button; calculation and order price default to the last.
  EXPECT_EQ(parseAs<SUserLine>(R"({"kind":"user","do":"event","event":1196,"text":"k"})").m_nId, 0);
  const TC::CQuote quote =
      toQuote(parseAs<SQuoteLine>(R"({"kind":"quote","market":"SH","code":"1","last":10,"calc":9.5})")).m_quote;
  EXPECT_EQ(quote.m_dCalc, 9.5);
  EXPECT_EQ(quote.m_dOrder, 10);
}

TEST(TaskLine, KeepsTheTypeThatTheCommandCentreKnows) {
  desk::CDesk desk;
  auto known = boost::make_shared<ksservice::COrderCommand>();
  known->m_nCommandId = 77;
  known->m_nType = 9;
  desk.setCommand(known);
  const std::string start = R"({"kind":"task","via":"feed","command":{"id":77,"taskId":1)";
  EXPECT_EQ(toPublication(parseAs<STaskLine>(start + "}}"), desk).m_pDetail->m_pCommand->m_nType, 9);
  EXPECT_EQ(toPublication(parseAs<STaskLine>(start + ",\"type\":4}}"), desk).m_pDetail->m_pCommand->m_nType, 4);
}

/// A publication that goes into a line and comes back from it publishes the same.
TEST(TaskLine, CarriesAPublicationThere) {
  desk::CDesk desk;
  desk.addAccount({testkit::makeAccount("A1", {})});
  const desk::SPublication first = toPublication(parseAs<STaskLine>(WHOLE_TASK), desk);
  ASSERT_TRUE(first.m_pDetail->m_params[0].m_pAccount);
  desk.publishTask(first);
  SLine line;
  line.m_body = toTaskLine(first, desk);
  EXPECT_EQ(json::parse(writeLine(line)), json::parse(WHOLE_TASK));
}

TEST(Output, NamesWhatDiffersFromItsDefaultAndNothingThatComesBehindTheEnd) {
  std::ostringstream out;
  desk::CDesk desk;
  {
    COutput output(out);
    desk.addObserver(&output);
    ksservice::CBasketHedgeParam param;
    param.m_strCode = "IF2612";
    param.m_nOrderLots = 2;
    desk.giveHedgeParam(123, 77, param);
    desk.removeObserver(&output);
  }
  utils::logInfo(&out, "f", "after the end");
  EXPECT_EQ(out.str(),
            "{\"call\":\"setHedgeParam\",\"group\":123,\"command\":77,\"param\":{\"enabled\":false,\"market\":\"\","
            "\"code\":\"IF2612\",\"account\":\"\",\"operation\":4,\"volume\":0,\"orderLots\":2}}\n");
}

TEST(Output, OutlivesATextThatIsNoUtf8AndSaysWhenALineCouldNotBeWritten) {
  std::ostringstream out;
  COutput output(out);
  output.put({{"log", "info"}, {"text", "broken \xff bytes"}});
  EXPECT_EQ(json::parse(out.str()).at("text"), "broken \xEF\xBF\xBD bytes");
  EXPECT_TRUE(output.isGood());
  out.setstate(std::ios::badbit);
  output.put({{"log", "info"}});
  EXPECT_FALSE(output.isGood());
}

const std::string SESSION = R"({"kind":"session","version":1})";

SJournal read(const std::string& text) {
  std::istringstream in(text);
  return readJournal(in, "morning.jsonl");
}

/// The fault of a line that stands third, behind a session line and an empty one.
std::string faultOf(const std::string& line) { return read(SESSION + "\n\n" + line + "\n").m_strFault; }

TEST(Reader, NamesFileLineAndFaultOfAMalformedLine) {
  const std::pair<std::string, std::string> cases[] = {
      {"[]", "a line must be one JSON object"},
      {"{\"kind\":\"dump\",\"name\":\"\xff\xfe\"}", "not valid UTF-8 at byte 24"},
      {"{}", "field \"kind\" is missing"},
      {R"({"kind":7})", "field \"kind\" must be a text"},
      {R"({"kind":"quotes"})", "unknown kind 'quotes'"},
      {R"({"kind":"open","t":"now"})", "field \"t\" must be an integer"},
      {R"({"kind":"account"})", "field \"key\" is missing"},
      {R"({"kind":"account","key":"A1","configured":1})", "field \"configured\" must be true or false"},
      {R"({"kind":"account","key":null})", "field \"key\" must be a text"},
      {R"({"kind":"quote","market":"SH","code":600000})", "field \"code\" must be a text"},
      {R"({"kind":"quote","market":"SH","code":"600000","last":"10"})", "field \"last\" must be a number"},
      {R"({"kind":"instrument","market":"SH","code":"1","types":[1,"2"]})", "field \"types\" must be an integer"},
      {R"({"kind":"instrument","market":"SH","code":"1","types":5})", "field \"types\" must be a list of integers"},
      {R"({"kind":"hedgeState","group":1.5,"status":3})", "field \"group\" must be an integer"},
      {R"({"kind":"hedgeState","group":3000000000,"status":3})", "field \"group\" is out of range"},
      {R"({"kind":"hedgeState","group":-3000000000,"status":3})", "field \"group\" is out of range"},
      {R"({"kind":"hedgeState","group":18446744073709551615,"status":3})", "field \"group\" is out of range"},
      {R"({"kind":"hedgeParam","command":1,"where":"disk"})", "field \"where\" 'disk' is unknown"},
      {R"({"kind":"tradingDay"})", "field \"date\" is missing"},
      {R"({"kind":"task","id":1})", "field \"via\" is missing"},
      {R"({"kind":"task","via":"mail","id":1})", "field \"via\" 'mail' is unknown"},
      {R"({"kind":"task","via":"feed"})", "a task needs a key, an id or a command"},
      {R"({"kind":"task","via":"feed","command":{}})", "field \"command.id\" is missing"},
      {R"({"kind":"task","via":"feed","command":7})", "field \"command\" must be an object"},
      {R"({"kind":"task","via":"feed","id":1,"params":{}})", "field \"params\" must be a list"},
      {R"({"kind":"task","via":"feed","id":1,"params":[{"volume":1},{"volume":"2"}]})",
       "field \"params[1].volume\" must be an integer"},
      {R"({"kind":"task","via":"feed","id":1,"params":[{"account":"A9"}]})", "account 'A9' was not declared"},
      {R"({"kind":"task","via":"feed","id":1,"orders":[5]})", "field \"orders[0]\" must be an object"},
      {R"({"kind":"task","via":"feed","id":1,"orders":[{"key":"o1","detail":{"cancelled":"no"}}]})",
       "field \"orders[0].detail.cancelled\" must be true or false"},
      {R"({"kind":"progress","task":"1-1","partial":true,"orderDetails":[{"key":"c1"},{"traded":1}]})",
       "field \"orderDetails[1].key\" is missing"},
      {R"({"kind":"hedgeParam","command":1,"where":"stored","account":"F1"})", "account 'F1' was not declared"},
      {R"({"kind":"host","do":"jump"})", "field \"do\" 'jump' is unknown"},
      {R"({"kind":"host","do":"setTradeType"})", "field \"traderType\" is missing"},
      {R"({"kind":"host","do":"requestAccount","account":"A9"})", "account 'A9' was not declared"},
      {R"({"kind":"host","do":"requestAccount","account":""})", "account '' was not declared"},
      {R"({"kind":"host","do":"setUiLock","on":1})", "field \"on\" must be true or false"},
      {R"({"kind":"user","do":"dialog","acts":[{"press":"a"},{"pres":"b"}]})",
       R"(field "acts[1]" must have one of "press", "check", "edit", "dump", "close", "play")"},
      {R"({"kind":"user","do":"dialog","acts":[{"check":"a"}]})", "field \"acts[0].on\" is missing"},
      {R"({"kind":"serverReply","document":[1]})", "field \"document\" must be a document"},
      // It is one, but as it would be written it is none.
      {R"({"kind":"serverReply","document":{"a":{"$type":{"$numberLong":"1763683200000"}}}})",
       "field \"document\" must be a document"},
      {R"({"kind":"serverReply","error":7})", "field \"error\" must be a text"},
      {R"({"kind":"orderProcess","data":{"123-1":{"SH.600000":"3"}}})",
       "field \"data.123-1.SH.600000\" must be an integer"},
      {R"({"kind":"orderProcess","data":{"123-1":7}})", "field \"data.123-1\" must be an object"},
      {R"({"kind":"user","do":"export"})", "field \"file\" is missing"},
      {R"({"kind":"user","do":"button","id":0})", "field \"row\" is missing"},
      {R"({"kind":"user","do":"button","row":"1"})", "field \"id\" is missing"},
      {SESSION, "a journal has one session line"},
  };
  for (const auto& [line, fault] : cases) EXPECT_EQ(faultOf(line), "morning.jsonl:3: " + fault) << line;
  // What the parser found is told in its own words.
  const std::string broken = "morning.jsonl:3: broken JSON: ";
  EXPECT_EQ(faultOf(R"({"kind":"open")").find(broken + "parse error at line 1, column 15"), 0u);
  EXPECT_EQ(faultOf(R"({"kind":"quote","market":"SH","code":"1","last":1e999})").find(broken), 0u);
}

/// What a recording was when its program was killed.
TEST(Reader, ATornLastLineIsLeftOutAndTold) {
  for (const char* torn : {"{\"kind\":\"op", "{", "x"}) {
    const SJournal journal = read(SESSION + "\n{\"kind\":\"open\"}\n" + torn);
    EXPECT_EQ(journal.m_strFault, "") << torn;
    EXPECT_EQ(journal.m_strTorn, "morning.jsonl:3: the last line is torn and left out");
    EXPECT_EQ(journal.m_lines.size(), 2U);
  }
  EXPECT_EQ(read(SESSION + "\n{\"kind\":\"open\"}").m_lines.size(), 2U) << "whole but for its end";
  EXPECT_EQ(read(SESSION + "\n{\"kind\":\"jump\"}").m_strFault, "morning.jsonl:2: unknown kind 'jump'");
}

TEST(Reader, LinesHaveLimits) {
  const auto nested = [](int depth) {
    return R"({"kind":"serverReply","document":)" + std::string(depth, '{') + std::string(depth, '}') + "}";
  };
  EXPECT_EQ(faultOf(nested(64)), "morning.jsonl:3: nests deeper than 64");
  EXPECT_EQ(faultOf(R"({"kind":"dump","name":")" + std::string(100, '[') + "\"}"), "") << "a text";
  const std::string filler(std::size_t{65} << 20, ' ');
  EXPECT_EQ(faultOf("{" + filler + "}"), "morning.jsonl:3: the line is longer than 64 MiB");
}

TEST(Reader, TheSessionLineComesFirst) {
  EXPECT_EQ(read("# nothing\n{\"kind\":\"open\"}\n").m_strFault,
            "morning.jsonl:2: the first line must be of the kind 'session'");
  EXPECT_EQ(read("").m_strFault, "morning.jsonl:1: the session line is missing");
  EXPECT_EQ(read(R"({"kind":"session","version":2})").m_strFault, "morning.jsonl:1: field \"version\" must be 1");
  EXPECT_EQ(read(R"({"kind":"session"})").m_strFault, "morning.jsonl:1: field \"version\" is missing");
  EXPECT_EQ(read(R"({"kind":"session","version":1,"timeZone":"Mars/Base"})").m_strFault,
            "morning.jsonl:1: field \"timeZone\" 'Mars/Base' is no time zone");
}

TEST(Reader, SkipsBlankLinesAndCommentsAndIgnoresUnknownFields) {
  const SJournal journal =
      read(SESSION + "\r\n  \t\r\n# a comment\n  # another\n{\"kind\":\"open\",\"weather\":{\"rain\":[1]}}\r\n");
  EXPECT_EQ(journal.m_strFault, "");
  ASSERT_EQ(journal.m_lines.size(), 2u);
  EXPECT_EQ(journal.m_lines[1].m_nNumber, 5);
}

TEST(Reader, AnAccountCountsFromItsLineOn) {
  const std::string task = R"({"kind":"task","via":"feed","id":1,"params":[{"account":"A1"}]})";
  const std::string account = R"({"kind":"account","key":"A1"})";
  EXPECT_EQ(read(SESSION + "\n" + account + "\n" + task + "\n").m_strFault, "");
  EXPECT_EQ(read(SESSION + "\n" + task + "\n" + account + "\n").m_strFault,
            "morning.jsonl:2: account 'A1' was not declared");
}

}  // namespace
