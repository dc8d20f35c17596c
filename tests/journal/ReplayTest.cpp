#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <nlohmann/json.hpp>

#include "JournalRig.h"
#include "tc/Services.h"

namespace {

using nlohmann::json;
using namespace journal;

/// A cancelled task of which nothing has traded, on screen.
const std::string CANCELLED =
    R"({"kind":"open"}
{"kind":"task","via":"feed","id":123,"number":1,"status":8,"command":{"id":1,"taskId":123,"traderType":1,"user":"u1",)"
    R"("login":"L1","basketType":1},"params":[{"account":"A1","operation":1,"market":"SH","code":"600000","volume":9}]}
{"kind":"refresh"}
)";

TEST(Replay, EndsAtALineThatCannotBeDone) {
  const std::string open = "{\"kind\":\"open\"}\n";
  const std::string click = "\n{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":4}";
  const std::pair<std::string, const char*> cases[] = {
      {R"({"kind":"refresh"})", "6: no panel is open"},
      {R"({"kind":"close"})", "6: no panel is open"},
      {R"({"kind":"dump","name":""})", "6: no panel is open"},
      {open + R"({"kind":"open"})", "7: a panel is open already"},
      {open + R"({"kind":"user","do":"button","row":"123","id":0})", "7: row '123' does not exist"},
      {open + R"({"kind":"user","do":"key","keys":"Shift+Nonsense"})", "7: 'Shift+Nonsense' is no key"},
      {R"({"kind":"serverReply"})", "6: no operation is unanswered"},
      {R"({"kind":"createReply"})", "6: no creation is unanswered"},
      {R"({"kind":"orderProcess"})", "6: no order-process query is unanswered"},
      {open + R"({"kind":"host","do":"patch","row":"123"})", "7: row '123' does not exist"},
      {CANCELLED + R"({"kind":"user","do":"dialog","acts":[{"press":"补"}]})" + click,
       "9: dialog \"补单\" has no button \"补\""},
      {CANCELLED + R"({"kind":"user","do":"dialog","acts":[{"press":"取消"},{"dump":"late"}]})" + click,
       "9: acts are left that no dialog is open for"},
  };
  std::string dialogs;
  for (const auto& [lines, fault] : cases) {
    SReplay replay;
    EXPECT_EQ(replay.play(SETUP + lines + "\n{\"kind\":\"dump\",\"name\":\"never\"}\n"), 2);
    EXPECT_EQ(replay.errors(), std::string("test.jsonl:") + fault + "\n");
    EXPECT_TRUE(replay.lines("dump").empty()) << "the journal ends there";
    for (const json& dialog : replay.lines("dialog")) dialogs += dialog["result"].get<std::string>() + " ";
  }
  EXPECT_EQ(dialogs, "rejected rejected ");
}

TEST(Replay, NothingOfAMalformedJournalIsPlayed) {
  SReplay replay;
  EXPECT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n{\"kind\":\"opne\"}\n"), 2);
  EXPECT_EQ(replay.errors(), "test.jsonl:7: unknown kind 'opne'\n");
  EXPECT_FALSE(replay.m_player.panel());
  EXPECT_EQ(replay.m_out.str(), "");
}

TEST(Replay, ExportsOnlyWhereItWasStartedAndOverNothing) {
  const QTemporaryDir folder;
  const QString before = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(folder.path()));
  QDir().mkdir("sub");
  QFile::link("sub", "linked");
  QFile::link("nowhere", "dangling");
  QFile there("there.csv");
  ASSERT_TRUE(there.open(QIODevice::WriteOnly));
  const auto play = [](const std::string& file, int times = 1) {
    std::string acts;
    for (int i = 0; i < times; ++i) acts += R"({"kind":"user","do":"export","file":")" + file + "\"}\n";
    SReplay replay;
    const int status = replay.play(SETUP + "{\"kind\":\"open\"}\n" + acts);
    return std::to_string(status) + " " + replay.errors();
  };
  EXPECT_EQ(play("sub/new.csv", 2), "0 ") << "what it made itself may be made again";
  EXPECT_TRUE(QFile::exists("sub/new.csv"));
  const std::string fault = "2 test.jsonl:7: export '";
  EXPECT_EQ(play("sub/new.csv"), fault + "sub/new.csv' would overwrite what is there\n");
  EXPECT_EQ(play("there.csv"), fault + "there.csv' would overwrite what is there\n");
  EXPECT_EQ(play("linked/x.csv"), fault + "linked/x.csv' goes by a link\n");
  EXPECT_EQ(play("dangling"), fault + "dangling' goes by a link\n");
  for (const std::string& name : {(folder.path() + "/x.csv").toStdString(), std::string("sub/../../x.csv")}) {
    EXPECT_EQ(play(name), fault + name + "' is no name within the working directory\n");
  }
  EXPECT_EQ(QDir().entryList(QDir::Files | QDir::NoSymLinks), QStringList("there.csv"));
  QDir::setCurrent(before);
}

TEST(Replay, PartialProgressChangesOnlyWhatItNames) {
  SReplay replay;
  ASSERT_EQ(replay.play(SETUP + R"({"kind":"progress","task":"1-1","partial":true,"orderDetails":[{"key":"c0"}]}
{"kind":"progress","task":"1-1","orderDetails":[{"key":"c1","traded":1},{"traded":5},{"traded":6},{"key":"c2"}]}
{"kind":"progress","task":"1-1","partial":true,"orderDetails":[{"key":"c3","traded":3},{"key":"c1","traded":9}]}
)"),
            0)
      << replay.errors();
  std::string stands;
  for (const TC::CProgressOrder& order : TC::getTradeClient().getTaskProgress("1-1")->m_orders) {
    stands += order.m_detail.m_strKey + ":" + std::to_string(order.m_detail.m_nTradedVolume) + " ";
  }
  EXPECT_EQ(stands, "c1:9 :5 :6 c2:0 c3:3 ");
}

}  // namespace
