#include <gtest/gtest.h>

#include <QDir>
#include <QHBoxLayout>
#include <QTemporaryDir>

#include "CDialogScript.h"
#include "CLineSequence.h"
#include "JournalRig.h"
#include "gv/CCommonDialog.h"
#include "gv/Controls.h"
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
    EXPECT_EQ(replay.m_errors.str(), std::string("test.jsonl:") + fault + "\n");
    EXPECT_TRUE(replay.lines("dump").empty()) << "the journal ends there";
    for (const json& dialog : replay.lines("dialog")) dialogs += dialog["result"].get<std::string>() + " ";
  }
  EXPECT_EQ(dialogs, "rejected rejected ");
}

TEST(Replay, NothingOfAMalformedJournalIsPlayed) {
  SReplay replay;
  EXPECT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n{\"kind\":\"opne\"}\n"), 2);
  EXPECT_EQ(replay.m_errors.str(), "test.jsonl:7: unknown kind 'opne'\n");
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
    return std::to_string(status) + " " + replay.m_errors.str();
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
      << replay.m_errors.str();
  std::string stands;
  for (const TC::CProgressOrder& order : TC::getTradeClient().getTaskProgress("1-1")->m_orders) {
    stands += order.m_detail.m_strKey + ":" + std::to_string(order.m_detail.m_nTradedVolume) + " ";
  }
  EXPECT_EQ(stands, "c1:9 :5 :6 c2:0 c3:3 ");
}

enum EButton { ACCEPT = 1, OPEN_INNER };

/// "确定" accepts, "内部" opens another dialog of its kind inside it.
class CDialog : public GV::CCommonDialog {
 public:
  explicit CDialog(const QString& title, QWidget* parent = nullptr) : CCommonDialog(parent) {
    setWindowTitle(title);
    auto* row = new QHBoxLayout(this);
    for (const auto& [text, id] : {std::pair{"确定", ACCEPT}, {"内部", OPEN_INNER}}) {
      auto* button = new GV::CPushButton(id, this);
      button->setText(QString::fromUtf8(text));
      row->addWidget(button);
    }
  }
  bool handleEvent(int eventId, int id, int, QString, void*) override {
    if (eventId == GV::EventButtonClicked && id == ACCEPT) accept();
    if (eventId == GV::EventButtonClicked && id == OPEN_INNER) CDialog(QStringLiteral("内"), this).exec();
    return true;
  }
};

SDialogAct act(EDialogAct kind, const std::string& name = {}, int lines = 0) { return {kind, name, true, {}, lines}; }
SDialogAct press(const std::string& text) { return act(EDialogAct::Press, text); }

class DialogScript : public testing::Test {
 protected:
  /// What running a dialog puts out; dumps as their names.
  std::string run() {
    CDialog(QStringLiteral("外")).exec();
    std::string text;
    for (const json& line : jsonLines(m_out.str())) {
      text += line.contains("dump") ? "dump of " + line["title"].get<std::string>()
                                    : line["dialog"].get<std::string>() + " " + line["result"].get<std::string>();
      text += "\n";
    }
    m_out.str({});
    return text;
  }

  std::ostringstream m_out;
  COutput m_output{m_out};
  std::string m_strFaults;
  int m_nPlayed = 0;
  CDialogScript m_script{
      m_output, [this](int count) { m_nPlayed += count; },
      [this](int line, const std::string& what) { m_strFaults += std::to_string(line) + ": " + what + "\n"; }};
};

TEST_F(DialogScript, AListIsForOneDialogAndThoseThatOpenInsideIt) {
  EXPECT_EQ(run(), "外 rejected\n") << "nothing was queued";
  m_script.queue({act(EDialogAct::Dump, "a"), press("内部"), act(EDialogAct::Dump, "b"), press("确定"), press("确定")},
                 7);
  m_script.queue({act(EDialogAct::Play, {}, 2), act(EDialogAct::Close)}, 8);
  m_script.queue({press("内部"), press("确定")}, 9);
  EXPECT_EQ(run(), "dump of 外\ndump of 内\n内 accepted\n外 accepted\n");
  EXPECT_EQ(run(), "外 rejected\n") << "closed";
  EXPECT_EQ(m_nPlayed, 2);
  EXPECT_EQ(run(), "内 accepted\n外 rejected\n") << "no act was left for the outer one";
  EXPECT_EQ(m_strFaults, "");
}

TEST_F(DialogScript, NamesTheLineOfAnActThatCannotBeDoneAndStops) {
  m_script.queue({press("内部"), press("没有"), press("确定")}, 7);
  m_script.queue({press("确定")}, 8);
  EXPECT_EQ(run(), "内 rejected\n外 rejected\n");
  EXPECT_EQ(m_strFaults, "7: dialog \"内\" has no button \"没有\"\n");
  EXPECT_EQ(run(), "外 rejected\n") << "nothing is worked after a fault";
}

class LineSequence : public testing::Test {
 protected:
  /// Works words off. A line is put, held where an act may follow from it, or asked for; a dialog opens or ends,
  /// something is pressed in it; what is held settles.
  void work(const QString& words) {
    for (const QString& each : words.split(QStringLiteral(", "))) {
      const std::string what = each.section(' ', 0, 0).toStdString();
      const std::string name = each.section(' ', 1).toStdString();
      SLine line;
      line.m_body = SDumpLine{name};
      if (what == "put" || what == "hold") m_lines.put(line, what == "hold");
      if (what == "ask") m_lines.putAsked(line);
      if (what == "press") m_lines.add(press(name));
      if (what == "open") m_lines.dialogOpens();
      if (what == "end") m_lines.dialogEnded();
      if (what == "settle") m_lines.settle();
    }
  }

  /// What was written: names, and the acts of dialogs.
  std::string order() const {
    std::string order;
    for (const json& line : jsonLines(m_out.str())) {
      order += line.contains("name") ? line["name"].get<std::string>() + ", " : line["acts"].dump() + ", ";
    }
    return order;
  }

  std::ostringstream m_out;
  CLineSequence m_lines{m_out};
};

TEST_F(LineSequence, PutsADialogsActsBeforeTheLineThatOpenedItAndWhatCameMeanwhileBehind) {
  work("put before, hold held");
  EXPECT_EQ(order(), "before, ");
  work("hold opener, open, settle, press a, hold 1, put 2, open, press b, end, press c, put 3");
  EXPECT_EQ(order(), "before, ");
  work("end, settle, put after");
  EXPECT_EQ(order(),
            "before, held, [{\"press\":\"a\"},{\"play\":2},{\"press\":\"b\"},{\"press\":\"c\"}], "
            "opener, 1, 2, 3, after, ");
}

TEST_F(LineSequence, PutsWhatAnActAsksForBeforeTheActAndBehindWhatHadSettled) {
  work(
      "ask at once, hold refresh, ask its quote, put behind, settle, hold opener, open, ask opener's quote, settle, "
      "press a, settle, hold refresh inside, ask inside's quote, settle, press b, ask b's quote, end, "
      "ask what b confirmed asks for, settle");
  EXPECT_EQ(order(),
            "at once, its quote, refresh, behind, opener's quote, "
            "[{\"press\":\"a\"},{\"play\":4},{\"press\":\"b\"}], opener, inside's quote, refresh inside, "
            "what b confirmed asks for, b's quote, ");
}

TEST_F(LineSequence, LosesNothingWhenTheSessionEndsInsideADialog) {
  work("hold opener, open, put 1");
  m_lines.finish();
  EXPECT_EQ(order(), "opener, 1, ");
}

}  // namespace
