#include <QAbstractButton>
#include <QDockWidget>
#include <QLineEdit>
#include <QMainWindow>
#include <QTest>
#include <QVBoxLayout>
#include <cmath>

#include "TableFixture.h"
#include "gv/CBaseWidget.h"
#include "gv/CCommonDialog.h"
#include "gv/CDialogButtonRow.h"
#include "gv/CStandardHpfTable.h"
#include "gv/Controls.h"
#include "gv/Helpers.h"

namespace {

/// Notes the events that reach it: "event id value".
struct Recorder : GV::CBaseWidget {
  using CBaseWidget::CBaseWidget;
  bool handleEvent(int eventId, int id, int value, QString /*key*/, void* /*data*/) override {
    m_events.append(QString("%1 %2 %3").arg(eventId).arg(id).arg(value));
    return m_bHandles;
  }
  bool m_bHandles = true;
  QStringList m_events;
};

}  // namespace

TEST(Controls, EventsGoUpToTheFirstThatHandlesThem) {
  Recorder outer;
  Recorder middle(&outer);
  QWidget plain(&middle);
  GV::CSmallNoNormalButton button(4, "全部撤销", &plain);
  for (const bool handles : {false, true}) {
    middle.m_bHandles = handles;
    QTest::mouseClick(&button, Qt::LeftButton);
  }
  EXPECT_EQ(middle.m_events, (QStringList{"5 4 0", "5 4 0"}));
  EXPECT_EQ(outer.m_events, QStringList("5 4 0"));
  EXPECT_FALSE(GV::CEventDeliverer::deliverEvent(&outer, 5, 0, 0, QString(), nullptr)) << "nobody above";
}

TEST(Controls, CheckBoxAndComboTellOnlyWhatTheUserDoes) {
  Recorder owner;
  GV::CCheckBox check(8, "过滤", &owner);
  check.setChecked(true);
  EXPECT_EQ(owner.m_events, QStringList());
  QTest::mouseClick(&check, Qt::LeftButton, Qt::NoModifier, QPoint(8, check.height() / 2));
  EXPECT_EQ(owner.m_events, QStringList("67 8 0"));

  GV::CComboPushButton combo(&owner);
  EXPECT_EQ(combo.currentIndex(), -1);
  for (int item = 0; item < 4; ++item) combo.addItem(item + 10, QString::number(item));
  combo.setCurrentIndex(2);
  combo.setCurrentIndex(9);
  EXPECT_EQ(combo.currentIndex(), 2);
  EXPECT_EQ(combo.text(), "2");
  combo.menu()->actions()[1]->trigger();
  EXPECT_EQ(owner.m_events, (QStringList{"67 8 0", "5 11 0"}));
  EXPECT_EQ(combo.currentIndex(), 1);
}

TEST(Controls, TheFocusShowsOnEachInBothThemes) {
  for (const char* theme : {"light", "dark"}) {
    ASSERT_TRUE(GV::CUiResource::setTheme(theme));
    GV::CUiResource::applyToApplication();
    GV::CCommonDialog window;
    auto* plain = new GV::CSmallNoNormalButton(1, "全选");
    auto* chosen = new GV::CSmallNoNormalButton(1, "全选");
    chosen->setCheckable(true);
    chosen->setChecked(true);
    auto* picture = new GV::CPushButton(2);
    picture->setImageKey("tc_img_btn_set_small");
    auto* combo = new GV::CComboPushButton;
    combo->addItem(3, "全部任务");
    auto* check = new GV::CCheckBox(4, "过滤");
    auto* field = new QLineEdit;
    auto* wrong = new QLineEdit;
    wrong->setProperty("invalid", true);
    auto* table = new GV::CStandardHpfTable;
    table->setDataModel(new GV::CStandardHpfTableModel({GV::SColumn()}, table));
    auto* bottom = new GV::CDialogButtonRow(&window);
    bottom->addButton(5, "选中补单")->setDefault(true);
    QWidget* const stops[] = {plain, chosen, picture, combo, check, field, wrong, table, bottom};
    auto* layout = new QVBoxLayout(&window);
    for (QWidget* stop : stops) layout->addWidget(stop);
    window.show();
    window.activateWindow();
    QApplication::processEvents();
    for (QWidget* stop : stops) {
      const auto grab = [&](QWidget* focus) {
        focus->setFocus(Qt::TabFocusReason);
        return window.grab(stop->geometry()).toImage();
      };
      const QImage with = grab(stop);
      const QImage without = grab(stops[stop == plain ? 1 : 0]);
      // More than the caret of a field.
      EXPECT_GT(differingPixels(with, without, with.rect()), 60) << theme << ' ' << stop->metaObject()->className();
    }
  }
  qApp->setStyleSheet(QString());
}

TEST(Controls, ADockCanBeFloatedAndClosedByItsTitleBar) {
  for (const char* theme : {"light", "dark"}) {
    ASSERT_TRUE(GV::CUiResource::setTheme(theme));
    for (const double scale : {1.0, 1.5}) {
      GV::CUiResource::setScale(scale);
      GV::CUiResource::applyToApplication();
      QMainWindow window;
      window.setCentralWidget(new QWidget(&window));
      auto* dock = new QDockWidget("任务", &window);
      dock->setWidget(new QWidget(dock));
      window.addDockWidget(Qt::TopDockWidgetArea, dock);
      window.resize(600, 300);
      window.show();
      QApplication::processEvents();
      auto* close = dock->findChild<QAbstractButton*>("qt_dockwidget_closebutton");
      auto* floating = dock->findChild<QAbstractButton*>("qt_dockwidget_floatbutton");
      ASSERT_TRUE(close && floating);
      EXPECT_FALSE(close->geometry().intersects(floating->geometry())) << theme << ' ' << scale;
      const QImage shown = window.grab().toImage();
      for (const QAbstractButton* button : {close, floating}) {
        const QRect place(button->mapTo(&window, QPoint(0, 0)), button->size());
        ASSERT_TRUE(shown.rect().contains(place)) << theme << ' ' << scale;
        QImage ground = shown;
        ground.fill(*GV::CUiResource::getColor("clr_header_background"));
        EXPECT_GT(differingPixels(shown, ground, place), 10) << theme << ' ' << scale << ": nothing to press is seen";
      }
      QTest::mouseClick(floating, Qt::LeftButton);
      EXPECT_TRUE(dock->isFloating());
      dock->setFloating(false);
      QTest::mouseClick(close, Qt::LeftButton);
      EXPECT_FALSE(dock->isVisible());
    }
  }
  GV::CUiResource::setScale(1);
  qApp->setStyleSheet(QString());
}

TEST(Resources, ThemesHaveTheSameKeysAndColoursStayPut) {
  const QColor* text = GV::CUiResource::getColor("clr_text_default");
  const QColor dark = *text;
  ASSERT_TRUE(GV::CUiResource::setTheme("light"));
  EXPECT_EQ(GV::CUiResource::getColor("clr_text_default"), text);
  EXPECT_NE(*text, dark);
  EXPECT_FALSE(GV::CUiResource::styleSheet().contains("@clr")) << "a colour of the sheet is missing";
  EXPECT_FALSE(GV::CUiResource::setTheme("pink"));
  EXPECT_EQ(GV::CUiResource::theme(), "light");
  ASSERT_TRUE(GV::CUiResource::setTheme("dark"));
  EXPECT_EQ(*text, dark);
}

TEST(Resources, UnknownKeysCatchTheEye) {
  EXPECT_EQ(*GV::CUiResource::getColor("clr_nothing"), QColor(Qt::magenta));
  EXPECT_TRUE(GV::CUiResource::getPixmap("tc_img_nothing").isNull());
  for (const char* key : {"tc_img_combo_btn_small_nonormal", "tc_img_btn_set_small", "tc_img_op_hedge_type_bg"}) {
    EXPECT_FALSE(GV::CUiResource::getPixmap(key).isNull()) << key;
  }
  for (const int scale : {2, 1}) {
    GV::CUiResource::setScale(scale);
    EXPECT_EQ(GV::CUiResource::getFont("fnt_default_normal").pixelSize(), 12 * scale);
  }
}

TEST(Helpers, FormatsNumbersAsTheScreenDoes) {
  const auto format = [](double value, int precision) {
    return GV::formatDoubleNumber(value, precision, 0, false, "非法值");
  };
  EXPECT_EQ(format(1234567.125, 2), "1234567.13") << "a tie goes up";
  EXPECT_EQ(format(-0.5, 0), QString::number(-0.5, 'f', 0));
  for (const double number : {std::nan(""), HUGE_VAL}) EXPECT_EQ(format(number, 2), "非法值");
}
