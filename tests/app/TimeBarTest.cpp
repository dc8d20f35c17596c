// The bar over a kept day: what its keys, its buttons and its marks ask for and tell.
#include <gtest/gtest.h>

#include <QHelpEvent>
#include <QToolButton>
#include <QToolTip>
#include <QtTest>

#include "past/CTimeBar.h"

namespace app {
namespace {

constexpr std::int64_t NINE = 32400000;
constexpr std::int64_t TEN = 36000000;
constexpr std::int64_t FIFTEEN = 54000000;

class TimeBar : public testing::Test {
 protected:
  TimeBar() {
    m_bar.resize(1600, 48);
    m_bar.show();
    m_bar.setDay(NINE, FIFTEEN, false,
                 {{TEN, EDayMark::Start, "开始篮子 一"},
                  {TEN, EDayMark::Refusal, "拒单：停牌"},
                  {TEN + 7200000, EDayMark::Stop, "暂停 任务 1"}},
                 {{NINE, "交易日开始"}, {TEN, "开始篮子 一"}, {TEN, "设置对冲"}, {TEN + 7200000, "暂停 任务 1"}});
    // Who shows moments says so.
    QObject::connect(&m_bar, &CTimeBar::sigMoved, &m_bar, [this](qint64 msec) {
      m_nAsked = msec;
      m_bar.setNow(msec);
    });
    m_bar.setNow(TEN - 500);
  }
  qint64 press(Qt::Key key) {
    QTest::keyClick(track(), key);
    return m_nAsked;
  }
  QWidget* track() { return m_bar.findChild<QWidget*>("dayTrack"); }
  QString entry() { return m_bar.findChild<QWidget*>("timeBarEntry")->toolTip(); }
  QToolButton* button(const char* text) {
    for (auto* each : m_bar.findChildren<QToolButton*>()) {
      if (each->text() == text) return each;
    }
    return nullptr;
  }

  CTimeBar m_bar{nullptr};
  qint64 m_nAsked = -1;
};

TEST_F(TimeBar, KeysMoveByASecondAMinuteAMarkAndToTheEnds) {
  EXPECT_EQ(press(Qt::Key_Left), TEN - 1500);
  EXPECT_EQ(press(Qt::Key_Right), TEN - 500);
  EXPECT_EQ(press(Qt::Key_PageUp), TEN - 60500);
  EXPECT_EQ(press(Qt::Key_PageDown), TEN - 500);
  EXPECT_EQ(press(Qt::Key_Down), TEN);
  EXPECT_EQ(press(Qt::Key_Down), TEN + 7200000) << "marks of one moment are one";
  EXPECT_EQ(press(Qt::Key_Up), TEN);
  EXPECT_EQ(press(Qt::Key_Home), NINE);
  EXPECT_EQ(press(Qt::Key_Left), NINE) << "not before the day";
  EXPECT_EQ(press(Qt::Key_End), FIFTEEN);
  EXPECT_EQ(press(Qt::Key_PageDown), FIFTEEN) << "not behind it";
}

TEST_F(TimeBar, StepsFromEntryToEntryAndSaysWhichWasLast) {
  EXPECT_EQ(entry(), "09:00:00 交易日开始");
  button("下一步")->click();
  EXPECT_EQ(m_nAsked, TEN) << "those of one moment are one step";
  EXPECT_EQ(entry(), "10:00:00 设置对冲");
  button("下一步")->click();
  EXPECT_EQ(m_nAsked, TEN + 7200000);
  EXPECT_FALSE(button("下一步")->isEnabled());
  button("上一步")->click();
  EXPECT_EQ(m_nAsked, TEN);
  button("上一步")->click();
  EXPECT_EQ(m_nAsked, NINE);
  EXPECT_FALSE(button("上一步")->isEnabled());
  m_bar.setNotice("正在读取");
  EXPECT_EQ(entry(), "正在读取");
}

TEST_F(TimeBar, TellsTheMarksUnderTheHandAndTheMomentToAReader) {
  const auto tipAt = [this](int x) {
    QHelpEvent help(QEvent::ToolTip, {x, 5}, track()->mapToGlobal(QPoint(x, 5)));
    QApplication::sendEvent(track(), &help);
    return QToolTip::text();
  };
  int marked = 0;
  for (int x = 0; x < track()->width(); ++x) {
    const QString tip = tipAt(x);
    if (!tip.contains('\n')) continue;
    ++marked;
    const QString text = tip.section('\n', 1);
    EXPECT_TRUE(text == "10:00:00  开始篮子 一\n10:00:00  拒单：停牌" || text == "12:00:00  暂停 任务 1")
        << text.toStdString();
  }
  EXPECT_GT(marked, 10) << "two marks, each with room for a hand";
  EXPECT_LT(marked, 30);
  m_bar.setNow(TEN);
  EXPECT_EQ(track()->accessibleDescription(), "10:00:00\n10:00:00  开始篮子 一\n10:00:00  拒单：停牌");
  // A pixel is many seconds: a reader is told the moment itself.
  for (int second = 0; second < 100; ++second) {
    m_bar.setNow(NINE + std::int64_t{1000} * second);
    EXPECT_EQ(track()->accessibleDescription(),
              QStringLiteral("09:0%1:%2").arg(second / 60).arg(second % 60, 2, 10, QLatin1Char('0')));
  }
}

TEST_F(TimeBar, PlaysUntilTheEndOfADayThatIsOver) {
  m_bar.setNow(FIFTEEN - 20000);
  button("播放")->click();
  EXPECT_TRUE(m_bar.isPlaying());
  EXPECT_TRUE(QTest::qWaitFor([this] { return !m_bar.isPlaying(); }, 20000)) << "at 60 times the speed";
  EXPECT_EQ(m_nAsked, FIFTEEN);
  EXPECT_NE(button("播放"), nullptr);
}

}  // namespace
}  // namespace app
