// The confirmation of a patch under the user's hands: mouse, keys and the order in which an observer is told.
#include <QAccessible>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "CTradeParamDialog.h"
#include "PatchFixture.h"
#include "gv/CStandardHpfTable.h"
#include "ksservice/Enumerations.h"
#include "tc/CGlobalOrderParamTable.h"

using namespace ksservice;

namespace {

/// Writes down what it is told.
struct Witness : GV::IDialogObserver {
  Witness() { GV::CCommonDialog::setObserver(this); }
  ~Witness() override { GV::CCommonDialog::setObserver(nullptr); }
  void note(GV::CCommonDialog& dialog, const QString& what) { m_told.append(dialog.windowTitle() + ' ' + what); }
  void dialogOpens(GV::CCommonDialog& dialog) override { note(dialog, "opens"); }
  void buttonPressed(GV::CCommonDialog& dialog, const QString& text) override { note(dialog, "press " + text); }
  void rowChecked(GV::CCommonDialog& dialog, const QString& key, bool on) override {
    note(dialog, "check " + key + (on ? " on" : " off"));
  }
  void rowEdited(GV::CCommonDialog& dialog, const QString& key, const QString& text) override {
    note(dialog, "edit " + key + ' ' + text);
  }
  void dialogClosed(GV::CCommonDialog& dialog) override { note(dialog, "closed"); }
  void dialogEnded(GV::CCommonDialog& dialog, bool accepted) override {
    note(dialog, accepted ? "accepted" : "rejected");
  }
  QStringList m_told;
};

}  // namespace

class PatchHandsTest : public PatchTest {
 protected:
  PatchHandsTest() {
    instrument("SH", "600000", 100);
    instrument("SH", "600001", 100);
    m_params = {param("SH", "600000", EOT_Buy, 3000), param("SH", "600001", EOT_Buy, 3000)};
  }

  GV::CStandardHpfTable& table() { return *m_dialog.findChild<GV::CStandardHpfTable*>(); }
  QLineEdit& editor() { return *table().viewport()->findChild<QLineEdit*>(); }
  void click(int row, int column) {
    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::NoModifier, table().cellRect(row, column).center());
  }
  void clickButton(const char* text) {
    for (QPushButton* button : m_dialog.findChildren<QPushButton*>()) {
      if (button->text() == text) QTest::mouseClick(button, Qt::LeftButton);
    }
  }
  QString shown(int row) { return table().itemText(row, 7); }
  /// Keys where the focus is, as the window system brings them.
  template <typename... Keys>
  static void type(Keys... keys) {
    for (const int key : {static_cast<int>(keys)...}) {
      const bool back = key == Qt::Key_Backtab;
      QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key),
                      back ? Qt::ShiftModifier : Qt::NoModifier);
    }
  }
  /// The text of the button that has the focus, else the class of what has it.
  static QString focus() {
    const QWidget* widget = QApplication::focusWidget();
    const auto* button = qobject_cast<const QPushButton*>(widget);
    if (button != nullptr) return button->text();
    return widget == nullptr ? QString() : QString::fromLatin1(widget->metaObject()->className());
  }
  static void activate(QWidget& window) {
    window.activateWindow();
    QApplication::processEvents();
  }

  Params m_params;
};

/// Clicks and keys that are under way when a dialog ends still come to its window.
TEST_F(PatchHandsTest, AButtonCommitsTheOpenEditorFirstAndWhatComesBehindTheEndChangesNothing) {
  Witness witness;
  run(m_params, [&](GV::CCommonDialog& dialog) {
    click(1, 7);
    QTest::keyClicks(&editor(), "1250");
    EXPECT_EQ(shown(1), "3000") << "not committed yet";
    clickButton("选中补单");
    ASSERT_FALSE(dialog.isOpen());
    clickButton("新建篮子补单");
    click(1, 0);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  ASSERT_EQ(take().size(), 2u);
  EXPECT_EQ(take()[1].m_nVolume, 1200);
  EXPECT_EQ(witness.m_told,
            (QStringList{"补单 opens", "补单 edit A1/SH.600001买入 1250", "补单 press 选中补单", "补单 accepted"}));
  run(m_params, [&](auto&) { clickButton("新建篮子补单"); });
  EXPECT_EQ(basket().lines.size(), 2) << "opened again";
}

TEST_F(PatchHandsTest, EditorsOpenAndCommitByKeyboard) {
  Witness witness;
  run(m_params, [&](GV::CCommonDialog& dialog) {
    activate(dialog);
    type(Qt::Key_Down, Qt::Key_Return);
    EXPECT_EQ(table().editedKey(), "A1/SH.600001买入");
    EXPECT_EQ(editor().selectedText(), "3000");
    type('7', '0', '0', Qt::Key_Return);
    EXPECT_TRUE(dialog.isOpen()) << "an Enter in an editor presses no button";
    EXPECT_EQ(shown(1), "700");
    EXPECT_EQ(table().editedKey(), QString());

    type('8', '0', '0', Qt::Key_Up);  // typing opens it too, in place of the text
    EXPECT_EQ(shown(1), "800");
    EXPECT_EQ(table().currentKey(), "A1/SH.600000买入");

    type(Qt::Key_F2, '5', Qt::Key_Escape);
    EXPECT_TRUE(dialog.isOpen()) << "Esc gives up the edit, not the dialog";
    EXPECT_EQ(shown(0), "3000");
    type(Qt::Key_Space);
    EXPECT_FALSE(dialog.state().rows[0].checked);
    type(Qt::Key_Escape);
    EXPECT_FALSE(dialog.isOpen());
  });
  EXPECT_EQ(witness.m_told,
            (QStringList{"补单 opens", "补单 edit A1/SH.600001买入 700", "补单 edit A1/SH.600001买入 800",
                         "补单 check A1/SH.600000买入 off", "补单 closed", "补单 rejected"}));
}

TEST_F(PatchHandsTest, EnterOrdersOnlyBesideEverythingElse) {
  run(m_params, [&](GV::CCommonDialog& dialog) {
    activate(dialog);
    for (const int enter : {Qt::Key_Return, Qt::Key_Enter}) {
      type('7', '0', '0', Qt::Key_Tab);
      EXPECT_EQ(table().editedKey(), "A1/SH.600001买入") << "Tab goes to the next field";
      type(enter);
      EXPECT_EQ(focus(), "GV::CStandardHpfTable");
      type(enter);
      QKeyEvent held(QEvent::KeyPress, enter, Qt::NoModifier, QString(), true);
      QApplication::sendEvent(&editor(), &held);
      EXPECT_EQ(table().editedKey(), "A1/SH.600001买入") << "a key that is held down opens it and no more";
      type(Qt::Key_Tab);
      EXPECT_EQ(focus(), "GV::CStandardHpfTable") << "behind the last field the edit just ends";
      type(Qt::Key_F2, Qt::Key_Backtab);
      EXPECT_EQ(table().editedKey(), "A1/SH.600000买入");
      type(Qt::Key_Backtab);
      EXPECT_EQ(shown(0), "700");

      type(Qt::Key_Tab, Qt::Key_Tab);
      EXPECT_EQ(focus(), "反选");
      type(enter);
      EXPECT_FALSE(dialog.state().rows[1].checked);
      type(Qt::Key_Backtab, enter);
      EXPECT_TRUE(dialog.state().rows[1].checked) << "Enter presses 全选";
      type(Qt::Key_Tab);
      QApplication::sendEvent(QApplication::focusWidget(), &held);
      EXPECT_TRUE(dialog.state().rows[1].checked) << "nor does it press again";
      int opened = 0;
      m_tradeWork = [&](GV::CCommonDialog&) { ++opened; };
      type(Qt::Key_Tab, enter);
      EXPECT_EQ(opened, 1);
      ASSERT_TRUE(dialog.isOpen());
      activate(dialog);
      table().setFocus();
    }
    type(Qt::Key_Backtab);
    EXPECT_EQ(focus(), "GV::CDialogButtonRow") << "before the first stop is the last";
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(QApplication::focusWidget(), &held);
    ASSERT_TRUE(dialog.isOpen());
    type(Qt::Key_Return);
    EXPECT_FALSE(dialog.isOpen());
  });
  EXPECT_EQ(take()[0].m_nVolume, 700);
}

TEST_F(PatchHandsTest, ArrowsInTheLastRowReachItsOtherButtons) {
  const auto framed = [] { return QApplication::focusWidget()->accessibleName(); };
  run(m_params, [&](GV::CCommonDialog& dialog) {
    activate(dialog);
    table().setFocus();
    type(Qt::Key_Backtab, Qt::Key_Right, Qt::Key_Right);
    EXPECT_EQ(framed(), "取消");
    type(Qt::Key_Backtab, Qt::Key_Tab);
    EXPECT_EQ(framed(), "选中补单") << "anew the default button";
    type(Qt::Key_Left, Qt::Key_Left);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(QApplication::focusWidget(), &held);
    ASSERT_TRUE(dialog.isOpen());
    EXPECT_EQ(framed(), "新建篮子补单");
    type(Qt::Key_Space);
    EXPECT_FALSE(dialog.isOpen());
  });
  EXPECT_EQ(basket().lines.size(), 2);
}

TEST_F(PatchHandsTest, AnEditorCommitsWhenItLosesTheFocusAndOnlyWhatChanged) {
  Witness witness;
  run(m_params, [&](GV::CCommonDialog& dialog) {
    activate(dialog);
    click(0, 7);
    ASSERT_TRUE(editor().hasFocus());
    QTest::keyClicks(&editor(), "900");
    click(1, 7);
    EXPECT_EQ(shown(0), "900");
    EXPECT_EQ(table().editedKey(), "A1/SH.600001买入");
    table().setFocus();
    EXPECT_EQ(table().editedKey(), QString());
    click(1, 7);
    QTest::keyClicks(&editor(), "5000");
    QTest::mouseClick(table().header()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 5));
    EXPECT_EQ(shown(1), "3000") << "the cell shows what was accepted";
    click(0, 0);
    EXPECT_FALSE(dialog.state().rows[0].checked);
  });
  EXPECT_EQ(witness.m_told,
            (QStringList{"补单 opens", "补单 edit A1/SH.600000买入 900", "补单 edit A1/SH.600001买入 5000",
                         "补单 check A1/SH.600000买入 off", "补单 rejected"}));
}

TEST_F(PatchHandsTest, KeysInTheTradeParametersStayInTheirField) {
  TC::CTradeParamDialog dialog(CCodeOrderParam(), "", nullptr);
  dialog.show();
  activate(dialog);
  EXPECT_EQ(focus(), "GV::CDialogButtonRow");
  type(Qt::Key_Tab, Qt::Key_Tab);
  EXPECT_EQ(focus(), "智能算法");
  type(Qt::Key_Return);
  EXPECT_EQ(dialog.table().orderType(), EORT_Algo);
  type(Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab);
  auto* start = qobject_cast<QLineEdit*>(QApplication::focusWidget());
  ASSERT_NE(start, nullptr);
  start->selectAll();
  QTest::keyClicks(start, "10:00:00");
  type(Qt::Key_Return);
  EXPECT_TRUE(dialog.isOpen()) << "Enter ends the edit";
  EXPECT_EQ(dialog.table().getAlgParamsStr(), "algo=TWAP;start=10:00:00;end=14:57:00;slices=10");
  start->selectAll();
  QTest::keyClicks(start, "15:00:00");
  type(Qt::Key_Enter);
  EXPECT_NE(dialog.table().inputError(), QString());
  type(Qt::Key_Escape);
  EXPECT_TRUE(dialog.isOpen()) << "Esc ends the edit first";
  EXPECT_EQ(start->text(), "10:00:00");
  EXPECT_EQ(dialog.table().inputError(), QString());
  type(Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Tab);
  EXPECT_EQ(focus(), "GV::CDialogButtonRow");
  type(Qt::Key_Return);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  dialog.show();
  start->setFocus();
  type(Qt::Key_Escape);
  EXPECT_FALSE(dialog.isOpen());
}

TEST_F(PatchHandsTest, AScreenReaderReadsAndWorksTheRows) {
  run(m_params, [&](GV::CCommonDialog& dialog) {
    auto* reader = QAccessible::queryAccessibleInterface(&table());
    QAccessibleInterface* box = reader->tableInterface()->cellAt(1, 0);
    EXPECT_EQ(box->role(), QAccessible::CheckBox);
    EXPECT_EQ(box->text(QAccessible::Name), "选择");
    EXPECT_TRUE(box->state().checked);
    box->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(box->state().checked);
    EXPECT_FALSE(dialog.state().rows[1].checked);
    EXPECT_EQ(reader->tableInterface()->cellAt(1, 4)->text(QAccessible::Name), "N600001");

    QAccessibleInterface* quantity = reader->tableInterface()->cellAt(1, 7);
    EXPECT_EQ(quantity->role(), QAccessible::EditableText);
    EXPECT_EQ(quantity->text(QAccessible::Description), "补单数量");
    EXPECT_FALSE(quantity->state().readOnly);
    quantity->setText(QAccessible::Value, "1250");
    EXPECT_EQ(quantity->text(QAccessible::Value), "1200");
    quantity->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(table().editedKey(), "A1/SH.600001买入");
  });
}

TEST_F(PatchHandsTest, ALongListScrollsUnderItsEditor) {
  Params params;
  for (int i = 0; i < 40; ++i) params.push_back(param("SH", std::to_string(600100 + i).c_str(), EOT_Sell, 100));
  run(params, [&](GV::CCommonDialog& dialog) {
    EXPECT_EQ(dialog.edit("A1/SH.600139卖出", "40"), QString());
    EXPECT_EQ(shown(39), "40");
    ASSERT_TRUE(table().openEditor("A1/SH.600139卖出"));
    const int before = editor().y();
    table().scrollToRow(0);
    EXPECT_GT(editor().y(), before) << "the editor stays with its row";
    QTest::keyClicks(&editor(), "50");
    table().sortByColumn(3, Qt::DescendingOrder);
    EXPECT_EQ(shown(0), "40") << "an editor whose row moves away by itself is given up";
    dialog.press("选中补单");
  });
  EXPECT_EQ(take().back().m_stock.m_strCode, "600139") << "taken in the order in which they were given";
}
