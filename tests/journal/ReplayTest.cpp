#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <nlohmann/json.hpp>

#include "JournalRig.h"
#include "LineRecords.h"
#include "tc/Services.h"

namespace {

using nlohmann::json;
using namespace journal;

TEST(Replay, EndsAtALineThatCannotBeDone) {
  const struct {
    const char* lines;
    const char* fault;
  } cases[] = {
      {"{\"kind\":\"refresh\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"close\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"dump\",\"name\":\"\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"open\"}\n", "test.jsonl:7: a panel is open already\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":0}\n",
       "test.jsonl:7: row '123' does not exist\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"user\",\"do\":\"key\",\"keys\":\"Shift+Nonsense\"}\n",
       "test.jsonl:7: 'Shift+Nonsense' is no key\n"},
      {"{\"kind\":\"serverReply\"}\n", "test.jsonl:6: no operation is unanswered\n"},
      {"{\"kind\":\"createReply\"}\n", "test.jsonl:6: no creation is unanswered\n"},
      {"{\"kind\":\"orderProcess\"}\n", "test.jsonl:6: no order-process query is unanswered\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"host\",\"do\":\"patch\",\"row\":\"123\"}\n",
       "test.jsonl:7: row '123' does not exist\n"},
  };
  for (const auto& each : cases) {
    CReplay replay;
    EXPECT_EQ(replay.play(SETUP + each.lines), 2);
    EXPECT_EQ(replay.errors(), each.fault);
  }
}

TEST(Replay, EndsWhereAnActOfADialogCannotBeDone) {
  const std::string cancelled = "{\"kind\":\"open\"}\n" + task(8) + "\n{\"kind\":\"refresh\"}\n";
  const std::string click = "{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":4}\n";
  const struct {
    const char* acts;
    const char* fault;
  } cases[] = {
      {R"([{"press":"补"}])", "dialog \"补单\" has no button \"补\""},
      {R"([{"press":"取消"},{"dump":"late"}])", "acts are left that no dialog is open for"},
  };
  for (const auto& each : cases) {
    CReplay replay;
    std::string journal = SETUP + cancelled;
    journal.append(R"({"kind":"user","do":"dialog","acts":)").append(each.acts).append("}\n").append(click);
    EXPECT_EQ(replay.play(journal.append("{\"kind\":\"dump\",\"name\":\"never\"}\n")), 2);
    EXPECT_EQ(replay.errors(), std::string("test.jsonl:9: ") + each.fault + "\n");
    EXPECT_TRUE(replay.lines("dump").empty()) << "the journal ends there";
    const auto dialogs = replay.lines("dialog");
    ASSERT_EQ(dialogs.size(), 1u);
    EXPECT_EQ(dialogs[0]["result"], "rejected");
  }
}

TEST(Replay, NothingOfAMalformedJournalIsPlayed) {
  CReplay replay;
  EXPECT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n{\"kind\":\"opne\"}\n"), 2);
  EXPECT_EQ(replay.errors(), "test.jsonl:7: unknown kind 'opne'\n");
  EXPECT_FALSE(replay.player().panel());
  EXPECT_EQ(replay.out(), "");
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
    CReplay replay;
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
  CReplay replay;
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
