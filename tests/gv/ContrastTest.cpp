// What is painted on what, and whether it can be read there.
#include <QFile>
#include <QRegularExpression>

#include "TableFixture.h"
#include "gv/CUiResource.h"
#include "gv/Helpers.h"

namespace {

/// WCAG 2, level AA, for texts of normal size.
constexpr double READABLE = 4.5;

const QStringList ROWS = {"clr_table_background", "clr_table_background2", "clr_table_root_background",
                          "clr_table_hover", "clr_table_selection"};
const QStringList WINDOWS = {"clr_order_operation_background", "clr_toolbar_background", "clr_popup_background",
                             "clr_input_background"};
const QStringList BUTTONS = {"clr_btn_background", "clr_btn_background_hover", "clr_btn_background_pressed"};
const QStringList FLASHES = {"clr_flash_up", "clr_flash_down"};

/// Each text with the grounds that it is painted on. What is not in here: texts of disabled controls, which WCAG
/// exempts, and "clr_accent", which colours lines and marks alone.
const std::map<QString, QStringList> PAINTED = {
    // cells, also over a flash and over the bar of the progress; sums; windows, menus, tips, inputs
    {"clr_text_default",
     ROWS + WINDOWS + FLASHES + BUTTONS + QStringList{"clr_task_progress_background", "clr_header_background"}},
    // titles of docks, tabs and groups, the status bar, times of messages, forms of inputs, notes in empty tables
    {"clr_text_title", WINDOWS + QStringList{"clr_header_background", "clr_table_background"}},
    {"clr_header_text", {"clr_header_background", "clr_btn_background_hover"}},
    {"clr_btn_s_nonormal_0", BUTTONS + WINDOWS},
    {"clr_text_warning", WINDOWS + QStringList{"clr_table_background", "clr_table_background2"}},
    {"clr_text_caution", WINDOWS + QStringList{"clr_table_background", "clr_table_background2"}},
    {"clr_text_link", WINDOWS},
    {"clr_btn_style_text", {"clr_accent_ground"}},
    {"clr_side_buy", ROWS + WINDOWS},
    {"clr_side_sell", ROWS + WINDOWS},
    {"clr_side_mixed", ROWS + WINDOWS},
};

QColor color(const QString& key) { return *GV::CUiResource::getColor(key); }

void expectReadable(const QColor& text, const QColor& ground, const QString& what) {
  EXPECT_GE(GV::contrast(text, ground), READABLE)
      << qPrintable(what + " in " + GV::CUiResource::theme() + ", " + GV::CUiResource::sidePalette());
}

QColor blended(const QColor& ground, const QColor& over, double share) {
  const auto part = [share](int a, int b) { return qRound(a + (b - a) * share); };
  return {part(ground.red(), over.red()), part(ground.green(), over.green()), part(ground.blue(), over.blue())};
}

class Contrast : public testing::TestWithParam<std::pair<const char*, const char*>> {
 protected:
  void SetUp() override {
    EXPECT_TRUE(GV::CUiResource::setTheme(GetParam().first));
    EXPECT_TRUE(GV::CUiResource::setSidePalette(GetParam().second));
  }
  void TearDown() override {
    GV::CUiResource::setTheme("dark");
    GV::CUiResource::setSidePalette("red-buy");
  }
};

}  // namespace

TEST_P(Contrast, OfEachTextOnEachGroundIsEnough) {
  for (const auto& [text, grounds] : PAINTED) {
    for (const QString& ground : grounds) expectReadable(color(text), color(ground), text + " on " + ground);
  }
  for (const QString& flash : FLASHES) {
    for (const QString& row : ROWS) {
      for (int tenth = 1; tenth < 10; ++tenth) {
        expectReadable(color("clr_text_default"), blended(color(row), color(flash), tenth / 10.0),
                       flash + " over " + row);
      }
    }
  }
  for (int style = 1; style <= 3; ++style) {
    const QColor ground = color(QString("clr_btn_style_%1").arg(style));
    for (const QColor& each : {ground, ground.lighter(115), ground.darker(125)}) {
      expectReadable(color("clr_btn_style_text"), each, QString("button %1").arg(style));
    }
  }
  EXPECT_EQ(GV::readableColor(QColor(200, 0, 0), Qt::white, Qt::black), QColor(200, 0, 0)) << "nothing to be done";
  // What rows answer, and what other hosts' rows might.
  for (const QColor& answered : {QColor(255, 0, 0), QColor(0, 100, 0), QColor(0, 0, 255), QColor(128, 128, 128),
                                 QColor(255, 255, 0), color("clr_text_title"), color("clr_btn_style_3")}) {
    for (const QString& row : ROWS) {
      const QColor shown =
          GV::readableColor(GV::CUiResource::shownColor(answered), color(row), color("clr_text_default"));
      expectReadable(shown, color(row), answered.name() + " on " + row);
    }
  }
}

TEST_P(Contrast, OfTheStyleSheetIsEnough) {
  QFile file(":/gv/themes/style.qss");
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QRegularExpression textOf("[ ;{]color: (@?[#\\w]+);");
  const QRegularExpression groundOf("[ ;{]background: (@\\w+);");
  const QRegularExpression selected("selection-background-color: @(\\w+);.*selection-color: @(\\w+);");
  for (const QString& rule : QString::fromUtf8(file.readAll()).split('\n')) {
    const QString text = textOf.match(rule).captured(1);
    const QString ground = groundOf.match(rule).captured(1);
    if (!text.isEmpty() && !rule.contains(":disabled")) {
      const auto known = PAINTED.find(text.mid(1));
      EXPECT_TRUE(text.startsWith('@') && known != PAINTED.end()) << qPrintable(rule) << ": not in the table above";
      if (ground.isEmpty()) continue;
      expectReadable(color(text.mid(1)), color(ground.mid(1)), rule);
    }
    const auto match = selected.match(rule);
    if (match.hasMatch()) expectReadable(color(match.captured(2)), color(match.captured(1)), rule);
  }
}

INSTANTIATE_TEST_SUITE_P(Themes, Contrast,
                         testing::Values(std::pair("dark", "red-buy"), std::pair("dark", "green-buy"),
                                         std::pair("dark", "colour-blind"), std::pair("light", "red-buy"),
                                         std::pair("light", "green-buy"), std::pair("light", "colour-blind")));

TEST_F(TableTest, PaintsSidesAsThePaletteHasThem) {
  struct Sided : TestRow {
    Sided(const QColor& color, int order) : TestRow(color.name(), 0.0, order), m_color(color) {}
    const QColor* textColor(int column) const override { return column == 1 ? &m_color : nullptr; }
    QColor m_color;
  };
  m_table.updateData(boost::make_shared<Sided>(QColor(255, 0, 0), -2), QString());
  m_table.updateData(boost::make_shared<Sided>(QColor(0, 100, 0), -1), QString());
  m_table.selectAll();
  // Text is antialiased, so no pixel need have its very colour: one channel of it stands out.
  const auto standsOut = [this](int row, auto channel, auto above) {
    const QRect cell = m_table.cellRect(row, 1);
    const QImage image = m_table.viewport()->grab(cell).toImage();
    for (int i = 0; i < image.width() * image.height(); ++i) {
      const QColor pixel(image.pixel(i % image.width(), i / image.width()));
      if ((pixel.*channel)() - (pixel.*above)() > 60) return true;
    }
    return false;
  };
  const auto red = &QColor::red, green = &QColor::green, blue = &QColor::blue;
  EXPECT_TRUE(standsOut(0, red, green) && standsOut(1, green, red));
  ASSERT_TRUE(GV::CUiResource::setSidePalette("green-buy"));
  EXPECT_TRUE(standsOut(0, green, red) && standsOut(1, red, green));
  EXPECT_FALSE(GV::CUiResource::setSidePalette("pink"));
  ASSERT_TRUE(GV::CUiResource::setTheme("light"));
  EXPECT_TRUE(standsOut(0, green, red)) << "a theme keeps the palette";
  ASSERT_TRUE(GV::CUiResource::setTheme("dark"));
  ASSERT_TRUE(GV::CUiResource::setSidePalette("colour-blind"));
  EXPECT_TRUE(standsOut(0, red, blue) && standsOut(1, blue, red));
  GV::CUiResource::setSidePalette("red-buy");
}
