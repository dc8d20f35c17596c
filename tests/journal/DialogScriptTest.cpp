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
  /// Works words off. A line is put, held where an act may follow from it, or asked for; a dialog opens or ends,
  /// something is pressed in it; what is held settles.
  void work(const QString& words) {
    for (const QString& each : words.split(QStringLiteral(", "))) {
      const std::string what = each.section(' ', 0, 0).toStdString();
      const std::string name = each.section(' ', 1).toStdString();
      SLine line;
      line.m_body = SDumpLine{name};
      if (what == "put" || what == "hold") m_lines.put(std::move(line), what == "hold");
      if (what == "ask") m_lines.putAsked(std::move(line));
      if (what == "press") m_lines.add(press(name));
      if (what == "open") m_lines.dialogOpens();
      if (what == "end") m_lines.dialogEnded();
      if (what == "settle") m_lines.settle();
    }
  }

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
