#include <QLineEdit>
#include <QMenu>
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

struct Recorder : GV::CBaseWidget {
  explicit Recorder(bool handles = true, QWidget* parent = nullptr) : CBaseWidget(parent), m_bHandles(handles) {}
  bool handleEvent(int eventId, int id, int value, QString /*key*/, void* /*data*/) override {
    m_events.push_back({eventId, id, value});
    return m_bHandles;
  }
  bool m_bHandles;
  std::vector<std::vector<int>> m_events;
};

using Events = std::vector<std::vector<int>>;

}  // namespace

TEST(Controls, EventsGoUpToTheFirstThatHandlesThem) {
  Recorder outer;
  Recorder middle(false, &outer);
  QWidget plain(&middle);
  GV::CSmallNoNormalButton button(4, QStringLiteral("全部撤销"), &plain);
  QTest::mouseClick(&button, Qt::LeftButton);
  EXPECT_EQ(middle.m_events, (Events{{5, 4, 0}}));
  EXPECT_EQ(outer.m_events, (Events{{5, 4, 0}}));
  middle.m_bHandles = true;
  QTest::mouseClick(&button, Qt::LeftButton);
  EXPECT_EQ(middle.m_events.size(), 2u);
  EXPECT_EQ(outer.m_events.size(), 1u);
  EXPECT_FALSE(GV::CEventDeliverer::deliverEvent(&outer, 5, 0, 0, QString(), nullptr)) << "nobody above";
}

TEST(Controls, CheckBoxAndComboTellOnlyWhatTheUserDoes) {
  Recorder owner;
  GV::CCheckBox check(8, QStringLiteral("过滤"), &owner);
  check.setChecked(true);
  EXPECT_TRUE(owner.m_events.empty());
  QTest::mouseClick(&check, Qt::LeftButton, Qt::NoModifier, QPoint(8, check.height() / 2));
  EXPECT_EQ(owner.m_events, (Events{{67, 8, 0}}));

  owner.m_events.clear();
  GV::CComboPushButton combo(&owner);
  EXPECT_EQ(combo.currentIndex(), -1);
  for (int item = 0; item < 4; ++item) combo.addItem(item + 10, QString::number(item));
  combo.setCurrentIndex(2);
  combo.setCurrentIndex(9);
  EXPECT_EQ(combo.currentIndex(), 2);
  EXPECT_EQ(combo.text(), QStringLiteral("2"));
  EXPECT_TRUE(owner.m_events.empty());
  combo.menu()->actions()[1]->trigger();
  EXPECT_EQ(owner.m_events, (Events{{5, 11, 0}}));
  EXPECT_EQ(combo.currentIndex(), 1);
}

TEST(Controls, TheFocusShowsOnEachInBothThemes) {
  for (const char* theme : {"light", "dark"}) {
    ASSERT_TRUE(GV::CUiResource::setTheme(QString::fromLatin1(theme)));
    GV::CUiResource::applyToApplication();
    GV::CCommonDialog window;
    auto* layout = new QVBoxLayout(&window);
    auto* plain = new GV::CSmallNoNormalButton(1, QStringLiteral("全选"), &window);
    auto* chosen = new GV::CSmallNoNormalButton(1, QStringLiteral("全选"), &window);
    chosen->setCheckable(true);
    chosen->setChecked(true);
    auto* picture = new GV::CPushButton(2, &window);
    picture->setImageKey(QStringLiteral("tc_img_btn_set_small"));
    auto* combo = new GV::CComboPushButton(&window);
    combo->addItem(3, QStringLiteral("全部任务"));
    auto* check = new GV::CCheckBox(4, QStringLiteral("过滤"), &window);
    auto* field = new QLineEdit(&window);
    auto* wrong = new QLineEdit(&window);
    wrong->setProperty("invalid", true);
    auto* table = new GV::CStandardHpfTable(&window);
    table->setDataModel(new GV::CStandardHpfTableModel({GV::SColumn()}, table));
    auto* bottom = new GV::CDialogButtonRow(&window);
    bottom->addButton(5, QStringLiteral("选中补单"))->setDefault(true);
    const std::vector<QWidget*> stops = {plain, chosen, picture, combo, check, field, wrong, table, bottom};
    for (QWidget* stop : stops) layout->addWidget(stop);
    window.show();
    window.activateWindow();
    QApplication::processEvents();
    for (QWidget* stop : stops) {
      stop->setFocus(Qt::TabFocusReason);
      const QImage with = window.grab(stop->geometry()).toImage();
      stops[stop == stops.front() ? 1 : 0]->setFocus(Qt::TabFocusReason);
      const QImage without = window.grab(stop->geometry()).toImage();
      // More than the caret of a field.
      EXPECT_GT(differingPixels(with, without, with.rect()), 60) << theme << ' ' << stop->metaObject()->className();
    }
  }
  qApp->setStyleSheet(QString());
}

TEST(Resources, ThemesHaveTheSameKeysAndColoursStayPut) {
  const QColor* text = GV::CUiResource::getColor(QStringLiteral("clr_text_default"));
  const QColor dark = *text;
  ASSERT_TRUE(GV::CUiResource::setTheme(QStringLiteral("light")));
  EXPECT_EQ(GV::CUiResource::getColor(QStringLiteral("clr_text_default")), text);
  EXPECT_NE(*text, dark);
  EXPECT_FALSE(GV::CUiResource::styleSheet().contains(QLatin1String("@clr"))) << "a colour of the sheet is missing";
  EXPECT_FALSE(GV::CUiResource::setTheme(QStringLiteral("pink")));
  EXPECT_EQ(GV::CUiResource::theme(), QStringLiteral("light"));
  ASSERT_TRUE(GV::CUiResource::setTheme(QStringLiteral("dark")));
  EXPECT_EQ(*text, dark);
}

TEST(Resources, UnknownKeysCatchTheEye) {
  EXPECT_EQ(*GV::CUiResource::getColor(QStringLiteral("clr_nothing")), QColor(Qt::magenta));
  EXPECT_TRUE(GV::CUiResource::getPixmap(QStringLiteral("tc_img_nothing")).isNull());
  for (const char* key : {"tc_img_combo_btn_small_nonormal", "tc_img_btn_set_small", "tc_img_op_hedge_type_bg"}) {
    EXPECT_FALSE(GV::CUiResource::getPixmap(QString::fromLatin1(key)).isNull()) << key;
  }
  GV::CUiResource::setScale(2.0);
  EXPECT_EQ(GV::CUiResource::getFont(QStringLiteral("fnt_default_normal")).pixelSize(), 24);
  GV::CUiResource::setScale(1.0);
  EXPECT_EQ(GV::CUiResource::getFont(QStringLiteral("fnt_default_normal")).pixelSize(), 12);
}

TEST(Helpers, ColoursAreReadableOnTheirGround) {
  const QColor dark(0x15, 0x18, 0x1d);
  const QColor onDark(0xc9, 0xd1, 0xd9);
  const QColor onLight(0x1f, 0x29, 0x33);
  for (const QColor& strong : {QColor(255, 0, 0), QColor(0, 100, 0), QColor(0, 0, 255)}) {
    EXPECT_EQ(GV::readableColor(strong, Qt::white, onLight), strong);
  }
  EXPECT_EQ(GV::readableColor(QColor(255, 0, 0), dark, onDark), QColor(255, 0, 0));
  const QColor blue = GV::readableColor(QColor(0, 0, 255), dark, onDark);
  EXPECT_GT(blue.green(), 80) << "lighter";
  EXPECT_GT(blue.blue(), blue.green()) << "still blue";
  const QColor green = GV::readableColor(QColor(0, 100, 0), dark, onDark);
  EXPECT_GT(green.green(), 120);
  EXPECT_GT(green.green(), green.blue());
  EXPECT_EQ(GV::readableColor(dark, dark, dark), dark) << "nothing to be done";
}

TEST(Helpers, FormatsNumbersAsTheScreenDoes) {
  const QString invalid = QStringLiteral("非法值");
  const auto format = [&](double value, int precision) {
    return GV::formatDoubleNumber(value, precision, 0, false, invalid).toStdString();
  };
  EXPECT_EQ(format(1234567.125, 2), "1234567.13") << "a tie goes up";
  EXPECT_EQ(format(-0.5, 0), QString::number(-0.5, 'f', 0).toStdString());
  EXPECT_EQ(format(std::nan(""), 2), invalid.toStdString());
  EXPECT_EQ(format(HUGE_VAL, 2), invalid.toStdString());
}
