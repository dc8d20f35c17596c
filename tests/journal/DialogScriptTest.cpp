#include <gtest/gtest.h>

#include <QHBoxLayout>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CDialogScript.h"
#include "CLineSequence.h"
#include "COutput.h"
#include "gv/CCommonDialog.h"
#include "gv/Controls.h"

namespace {

using namespace journal;

constexpr int ACCEPT = 1;
constexpr int OPEN_INNER = 2;

/// "确定" accepts, "内部" opens another dialog of its kind inside it.
class CDialog : public GV::CCommonDialog {
 public:
  explicit CDialog(const QString& title, QWidget* parent = nullptr) : CCommonDialog(parent) {
    setWindowTitle(title);
    auto* row = new QHBoxLayout(this);
    for (const auto& [text, id] : {std::pair{"确定", ACCEPT}, std::pair{"内部", OPEN_INNER}}) {
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
    std::istringstream in(m_out.str());
    for (std::string line; std::getline(in, line);) {
      const auto json = nlohmann::json::parse(line);
      text += json.contains("dump") ? "dump of " + json["title"].get<std::string>()
                                    : json["dialog"].get<std::string>() + " " + json["result"].get<std::string>();
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

TEST_F(DialogScript, ActsThatAreLeftWhenTheDialogHasEndedAreAFault) {
  m_script.queue({press("确定"), press("确定")}, 7);
  EXPECT_EQ(run(), "外 accepted\n");
  EXPECT_EQ(m_strFaults, "7: acts are left that no dialog is open for\n");
}

SLine dumpLine(const char* name) {
  SLine line;
  line.m_body = SDumpLine{name};
  return line;
}

TEST(LineSequence, PutsADialogsActsBeforeTheLineThatOpenedItAndWhatCameMeanwhileBehind) {
  std::ostringstream out;
  CLineSequence lines(out);
  lines.put(dumpLine("before"), false);
  lines.put(dumpLine("held"), true);
  EXPECT_EQ(out.str().find("held"), std::string::npos);
  lines.put(dumpLine("opener"), true);
  lines.dialogOpens();
  lines.settle();
  lines.add(press("a"));
  lines.put(dumpLine("1"), true);
  lines.put(dumpLine("2"), false);
  lines.dialogOpens();
  lines.add(press("b"));
  lines.dialogEnded();
  lines.add(press("c"));
  lines.put(dumpLine("3"), false);
  EXPECT_EQ(out.str().find("opener"), std::string::npos);
  lines.dialogEnded();
  lines.settle();
  lines.put(dumpLine("after"), false);
  const std::string expected =
      "{\"kind\":\"dump\",\"name\":\"before\"}\n{\"kind\":\"dump\",\"name\":\"held\"}\n"
      "{\"kind\":\"user\",\"do\":\"dialog\",\"acts\":[{\"press\":\"a\"},{\"play\":2},{\"press\":\"b\"},"
      "{\"press\":\"c\"}]}\n"
      "{\"kind\":\"dump\",\"name\":\"opener\"}\n{\"kind\":\"dump\",\"name\":\"1\"}\n{\"kind\":\"dump\",\"name\":\"2\"}"
      "\n"
      "{\"kind\":\"dump\",\"name\":\"3\"}\n{\"kind\":\"dump\",\"name\":\"after\"}\n";
  EXPECT_EQ(out.str(), expected);
}

TEST(LineSequence, PutsWhatAnActAsksForBeforeTheActAndBehindWhatHadSettled) {
  std::ostringstream out;
  CLineSequence lines(out);
  lines.putAsked(dumpLine("at once"));
  lines.put(dumpLine("refresh"), true);
  lines.putAsked(dumpLine("its quote"));
  lines.put(dumpLine("behind"), false);
  lines.settle();
  lines.put(dumpLine("opener"), true);
  lines.dialogOpens();
  lines.putAsked(dumpLine("opener's quote"));
  lines.settle();
  lines.add(press("a"));
  lines.settle();
  lines.put(dumpLine("refresh inside"), true);
  lines.putAsked(dumpLine("inside's quote"));
  lines.settle();
  lines.add(press("b"));
  lines.putAsked(dumpLine("b's quote"));
  lines.dialogEnded();
  lines.putAsked(dumpLine("what b confirmed asks for"));
  lines.settle();
  std::string order;
  std::istringstream in(out.str());
  for (std::string text; std::getline(in, text);) {
    const auto line = nlohmann::json::parse(text);
    order += line.contains("name") ? line["name"].get<std::string>() + ", " : line["acts"].dump() + ", ";
  }
  EXPECT_EQ(order,
            "at once, its quote, refresh, behind, opener's quote, "
            "[{\"press\":\"a\"},{\"play\":4},{\"press\":\"b\"}], opener, inside's quote, refresh inside, "
            "what b confirmed asks for, b's quote, ");
}

TEST(LineSequence, LosesNothingWhenTheSessionEndsInsideADialog) {
  std::ostringstream out;
  CLineSequence lines(out);
  lines.put(dumpLine("opener"), true);
  lines.dialogOpens();
  lines.put(dumpLine("1"), false);
  lines.finish();
  EXPECT_EQ(out.str(), "{\"kind\":\"dump\",\"name\":\"opener\"}\n{\"kind\":\"dump\",\"name\":\"1\"}\n");
}

}  // namespace
