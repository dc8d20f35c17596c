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

class LineSequence : public testing::Test {
 protected:
  static SLine named(const char* name) {
    SLine line;
    line.m_body = SDumpLine{name};
    return line;
  }
  /// A line of this name; one that an act may follow from is held.
  void put(const char* name, bool held = false) { m_lines.put(named(name), held); }
  void putAsked(const char* name) { m_lines.putAsked(named(name)); }

  /// What was written: names, and the acts of dialogs.
  std::string order() const {
    std::string order;
    std::istringstream in(m_out.str());
    for (std::string text; std::getline(in, text);) {
      const auto line = nlohmann::json::parse(text);
      order += line.contains("name") ? line["name"].get<std::string>() + ", " : line["acts"].dump() + ", ";
    }
    return order;
  }

  std::ostringstream m_out;
  CLineSequence m_lines{m_out};
};

TEST_F(LineSequence, PutsADialogsActsBeforeTheLineThatOpenedItAndWhatCameMeanwhileBehind) {
  put("before");
  put("held", true);
  EXPECT_EQ(order(), "before, ");
  put("opener", true);
  m_lines.dialogOpens();
  m_lines.settle();
  m_lines.add(press("a"));
  put("1", true);
  put("2");
  m_lines.dialogOpens();
  m_lines.add(press("b"));
  m_lines.dialogEnded();
  m_lines.add(press("c"));
  put("3");
  EXPECT_EQ(order(), "before, ");
  m_lines.dialogEnded();
  m_lines.settle();
  put("after");
  EXPECT_EQ(order(),
            "before, held, [{\"press\":\"a\"},{\"play\":2},{\"press\":\"b\"},{\"press\":\"c\"}], "
            "opener, 1, 2, 3, after, ");
}

TEST_F(LineSequence, PutsWhatAnActAsksForBeforeTheActAndBehindWhatHadSettled) {
  putAsked("at once");
  put("refresh", true);
  putAsked("its quote");
  put("behind");
  m_lines.settle();
  put("opener", true);
  m_lines.dialogOpens();
  putAsked("opener's quote");
  m_lines.settle();
  m_lines.add(press("a"));
  m_lines.settle();
  put("refresh inside", true);
  putAsked("inside's quote");
  m_lines.settle();
  m_lines.add(press("b"));
  putAsked("b's quote");
  m_lines.dialogEnded();
  putAsked("what b confirmed asks for");
  m_lines.settle();
  EXPECT_EQ(order(),
            "at once, its quote, refresh, behind, opener's quote, "
            "[{\"press\":\"a\"},{\"play\":4},{\"press\":\"b\"}], opener, inside's quote, refresh inside, "
            "what b confirmed asks for, b's quote, ");
}

TEST_F(LineSequence, LosesNothingWhenTheSessionEndsInsideADialog) {
  put("opener", true);
  m_lines.dialogOpens();
  put("1");
  m_lines.finish();
  EXPECT_EQ(order(), "opener, 1, ");
}

}  // namespace
