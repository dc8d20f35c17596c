#include <gtest/gtest.h>

#include <sstream>

#include "JournalReader.h"

namespace {

using journal::SJournal;

const std::string SESSION = R"({"kind":"session","version":1})";

SJournal read(const std::string& text) {
  std::istringstream in(text);
  return journal::readJournal(in, "morning.jsonl");
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
