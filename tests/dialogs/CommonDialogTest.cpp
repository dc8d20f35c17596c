// What every dialog gives to scripts and keeps to itself.
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include "PatchFixture.h"
#include "gv/CBaseWidget.h"
#include "gv/Controls.h"

namespace {

struct Panel : GV::CBaseWidget {
  bool handleEvent(int eventId, int /*id*/, int /*value*/, QString /*key*/, void* /*payload*/) override {
    m_events.push_back(eventId);
    return true;
  }
  std::vector<int> m_events;
};

/// Two buttons of one text, a hidden one and a disabled one.
struct Dialog : GV::CCommonDialog {
  explicit Dialog(QWidget* parent = nullptr) : CCommonDialog(parent) {
    auto* layout = new QVBoxLayout(this);
    auto* inner = new QHBoxLayout;
    layout->addWidget(new QLabel(QStringLiteral("first"), this));
    layout->addLayout(inner);
    for (const char* text : {"twin", "twin", "hidden", "disabled", "ok"}) {
      auto* button = new GV::CSmallNoNormalButton(static_cast<int>(m_buttons.size()), qs(text), this);
      inner->addWidget(button);
      m_buttons.push_back(button);
    }
    layout->addWidget(new QLabel(QStringLiteral("last"), this));
    m_buttons[0]->hide();
    m_buttons[2]->hide();
    m_buttons[3]->setEnabled(false);
  }
  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override {
    m_pressed.push_back(id);
    if (id == 4) accept();
    return CCommonDialog::handleEvent(eventId, id, value, key, payload);
  }
  std::vector<GV::CSmallNoNormalButton*> m_buttons;
  std::vector<int> m_pressed;
};

struct CommonDialogTest : testing::Test {
  ~CommonDialogTest() override { GV::CCommonDialog::setExecHook({}); }
};

}  // namespace

TEST_F(CommonDialogTest, AScriptPressesWhatTheUserCouldPress) {
  Dialog dialog;
  dialog.setWindowTitle(qs("T"));
  dialog.show();
  EXPECT_EQ(dialog.press(qs("twin")), QString());
  EXPECT_EQ(dialog.m_pressed, std::vector<int>{1}) << "the one that shows";
  EXPECT_EQ(dialog.press(qs("hidden")), qs("button \"hidden\" of dialog \"T\" is hidden"));
  EXPECT_EQ(dialog.press(qs("disabled")), qs("button \"disabled\" of dialog \"T\" is disabled"));
  EXPECT_EQ(dialog.press(qs("none")), qs("dialog \"T\" has no button \"none\""));
  EXPECT_EQ(dialog.check(qs("r"), true), qs("dialog \"T\" has no check box for row \"r\""));
  EXPECT_EQ(dialog.edit(qs("r"), QString()), qs("dialog \"T\" has no editor for row \"r\""));
  EXPECT_EQ(dialog.m_pressed.size(), 1u);
  EXPECT_EQ(dialog.state().labels, (QStringList{qs("first"), qs("last")}));
  EXPECT_EQ(dialog.state().buttons.size(), 5u);
}

TEST_F(CommonDialogTest, AHookRunsTheDialogInTheUsersPlace) {
  Dialog dialog;
  int runs = 0;
  GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& open) {
    EXPECT_TRUE(open.isOpen());
    if (++runs == 1) open.press(qs("ok"));
  });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_EQ(dialog.exec(), QDialog::Rejected) << "left open by the hook";
  EXPECT_FALSE(dialog.isOpen());
  auto* doomed = new Dialog;
  GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& open) { delete &open; });
  EXPECT_EQ(doomed->exec(), QDialog::Rejected) << "gone while it ran";
  GV::CCommonDialog::setExecHook({});
  QTimer::singleShot(0, &dialog, [&] { dialog.press(qs("ok")); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted) << "the real modal loop";
}

TEST_F(CommonDialogTest, EventsStayInside) {
  Panel panel;
  int taps = 0;
  GV::CEventDeliverer::setTap([&](QWidget*, int, int, int, const QString&) { ++taps; });
  Dialog dialog(&panel);
  dialog.show();
  dialog.press(qs("twin"));
  EXPECT_EQ(dialog.m_pressed.size(), 1u);
  EXPECT_TRUE(panel.m_events.empty()) << "a button of a dialog is none of the panel's";
  EXPECT_EQ(taps, 0) << "nor is it an act in the panel";
  GV::CEventDeliverer::setTap({});
}
