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
  bool handleEvent(int, int, int, QString, void*) override { return ++m_nEvents > 0; }
  int m_nEvents = 0;
};

/// Two buttons of one text, a hidden one and a disabled one.
struct Dialog : GV::CCommonDialog {
  explicit Dialog(QWidget* parent = nullptr) : CCommonDialog(parent) {
    auto* layout = new QVBoxLayout(this);
    auto* inner = new QHBoxLayout;
    layout->addWidget(new QLabel("first", this));
    layout->addLayout(inner);
    for (const char* text : {"twin", "twin", "hidden", "disabled", "ok"}) {
      inner->addWidget(new GV::CSmallNoNormalButton(inner->count(), text, this));
    }
    layout->addWidget(new QLabel("last", this));
    for (const int hidden : {0, 2}) inner->itemAt(hidden)->widget()->hide();
    inner->itemAt(3)->widget()->setEnabled(false);
  }
  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override {
    m_pressed.push_back(id);
    if (id == 4) accept();
    return CCommonDialog::handleEvent(eventId, id, value, key, payload);
  }
  std::vector<int> m_pressed;
};

}  // namespace

TEST(CommonDialog, AScriptPressesWhatTheUserCouldPress) {
  Dialog dialog;
  dialog.setWindowTitle("T");
  dialog.show();
  EXPECT_EQ(dialog.press("twin"), QString());
  EXPECT_EQ(dialog.m_pressed, std::vector<int>{1}) << "the one that shows";
  EXPECT_EQ(dialog.press("hidden"), "button \"hidden\" of dialog \"T\" is hidden");
  EXPECT_EQ(dialog.press("disabled"), "button \"disabled\" of dialog \"T\" is disabled");
  EXPECT_EQ(dialog.press("none"), "dialog \"T\" has no button \"none\"");
  EXPECT_EQ(dialog.check("r", true), "dialog \"T\" has no check box for row \"r\"");
  EXPECT_EQ(dialog.edit("r", QString()), "dialog \"T\" has no editor for row \"r\"");
  EXPECT_EQ(dialog.m_pressed.size(), 1u);
  EXPECT_EQ(dialog.state().labels, (QStringList{"first", "last"}));
  EXPECT_EQ(dialog.state().buttons.size(), 5u);
}

TEST(CommonDialog, AHookRunsTheDialogInTheUsersPlace) {
  Dialog dialog;
  int runs = 0;
  GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& open) {
    EXPECT_TRUE(open.isOpen());
    if (++runs == 1) open.press("ok");
  });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_EQ(dialog.exec(), QDialog::Rejected) << "left open by the hook";
  EXPECT_FALSE(dialog.isOpen());
  auto* doomed = new Dialog;
  GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& open) { delete &open; });
  EXPECT_EQ(doomed->exec(), QDialog::Rejected) << "gone while it ran";
  GV::CCommonDialog::setExecHook({});
  QTimer::singleShot(0, &dialog, [&] { dialog.press("ok"); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted) << "the real modal loop";
}

TEST(CommonDialog, EventsStayInside) {
  Panel panel;
  GV::CEventDeliverer::setTap(
      [](QWidget*, int, int, int, const QString&) { ADD_FAILURE() << "a button of a dialog is no act in the panel"; });
  Dialog dialog(&panel);
  dialog.show();
  dialog.press("twin");
  EXPECT_EQ(dialog.m_pressed.size(), 1u);
  EXPECT_EQ(panel.m_nEvents, 0) << "nor an event of it";
  GV::CEventDeliverer::setTap({});
}
