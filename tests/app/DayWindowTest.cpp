// What a user is asked about the day that is kept, and how he ends it.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <algorithm>

#include "CBasketTasksPanel.h"
#include "CDayProgress.h"
#include "CLiveSession.h"
#include "DayQuestion.h"
#include "DayStart.h"
#include "TableDump.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CHpfTreeTable.h"

namespace {

TC::ITradeDockableWidget* createPanel(int id, QWidget* parent) { return new TC::CBasketTasksPanel(id, parent); }

/// Works the question that opens next. Gives its text and buttons, the default one first.
class CAnswer {
 public:
  explicit CAnswer(const std::function<void(QMessageBox&)>& answer) {
    m_timer.setInterval(10);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, answer] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      m_timer.stop();
      m_strText = box->text();
      m_strDefault = box->defaultButton() ? box->defaultButton()->text() : QString();
      for (const QAbstractButton* button : box->buttons()) m_buttons << button->text();
      m_buttons.sort();
      answer(*box);
    });
    m_timer.start();
  }

  static CAnswer key(int key) {
    return CAnswer([key](QMessageBox& box) { QTest::keyClick(&box, static_cast<Qt::Key>(key)); });
  }
  static CAnswer button(const QString& text) {
    return CAnswer([text](QMessageBox& box) {
      for (QAbstractButton* button : box.buttons()) {
        if (button->text() == text) return button->click();
      }
      ADD_FAILURE() << "no button " << text.toStdString();
      box.reject();
    });
  }

  QString m_strText;
  QString m_strDefault;
  QStringList m_buttons;

 private:
  QTimer m_timer;
};

/// A day in a file.
class KeptDay : public testing::Test {
 protected:
  void begin(const QStringList& arguments) {
    const app::SParsedOptions parsed = app::parseOptions(
        arguments + QStringList{"--start", "09:31", "--day", m_folder.filePath(QStringLiteral("day.db"))});
    ASSERT_EQ(parsed.m_strError, QString());
    m_options = parsed.m_options;
    m_inputs = app::readInputs(m_options, app::tradingDayStart());
    m_day = daylog::openDay(m_options.m_strDay);
    ASSERT_TRUE(m_day.m_pLog) << m_day.m_strFault;
    ASSERT_EQ(app::beginDay(m_day.m_pLog.get(), parsed.m_ofDay, m_options), "");
  }
  app::CLiveSession::SKeeps keeps() const { return {nullptr, nullptr, nullptr, m_day.m_pLog.get()}; }

  const QTemporaryDir m_folder;
  app::SOptions m_options;
  app::SInputs m_inputs;
  daylog::SOpenedDay m_day;
};

bool waitFor(const std::function<bool()>& holds) { return QTest::qWaitFor(holds, 30000); }

}  // namespace

TEST(DayQuestion, EnterGoesOnAndEscapeLeaves) {
  app::SDayQuestion question{"days/2026-11-23-1.db", 38823000, "", false};
  CAnswer enter = CAnswer::key(Qt::Key_Return);
  EXPECT_EQ(app::askOfDay(question), app::EDayAnswer::GoOn);
  EXPECT_EQ(enter.m_strText, QStringLiteral("交易日 2026-11-23-1 没有结束，已进行到 10:47:03。"));
  EXPECT_EQ(enter.m_strDefault, QStringLiteral("继续"));
  EXPECT_EQ(enter.m_buttons,
            QStringList({QStringLiteral("开始新的一天"), QStringLiteral("继续"), QStringLiteral("退出")}));
  const CAnswer escape = CAnswer::key(Qt::Key_Escape);
  EXPECT_EQ(app::askOfDay(question), app::EDayAnswer::Leave);
  const CAnswer begin = CAnswer::button(QStringLiteral("开始新的一天"));
  EXPECT_EQ(app::askOfDay(question), app::EDayAnswer::BeginNew);

  // What cannot be gone on with is not offered, and nothing is begun by Enter alone.
  question.m_strFault = "days/2026-11-23-1.db: is damaged: entry 3 was changed";
  const CAnswer damaged = CAnswer::key(Qt::Key_Return);
  EXPECT_EQ(app::askOfDay(question), app::EDayAnswer::Leave);
  EXPECT_TRUE(damaged.m_strText.contains("entry 3 was changed"));
  EXPECT_EQ(damaged.m_buttons, QStringList({QStringLiteral("开始新的一天"), QStringLiteral("退出")}));
  question.m_bTaken = true;
  const CAnswer taken = CAnswer::button(QStringLiteral("开始新的一天"));
  EXPECT_EQ(app::askOfDay(question), app::EDayAnswer::BeginNew);
  EXPECT_EQ(taken.m_strText, QStringLiteral("另一个终端正在继续交易日 2026-11-23-1.db。"));
}

TEST_F(KeptDay, EndsByItsUserWhoLooksAtWhatIsThere) {
  begin({"--speed", "60", "--basket", QStringLiteral(PBT_SOURCE_DIR "/data/baskets/basket50.csv")});
  app::CMainWindow window;
  app::CLiveSession session(m_options, m_inputs, keeps(), window, createPanel);
  int ends = 0;
  QObject::connect(&session, &app::CLiveSession::sigEnded, [&ends] { ++ends; });
  window.show();
  session.start();
  GV::CHpfTreeTable& table = *journal::tableOf(*window.findChild<TC::ITradeDockableWidget*>());
  ASSERT_TRUE(waitFor([&] { return table.rowByPath(QStringLiteral("1")) != nullptr; }));

  QMenu& menu = *window.menuBar()->actions().first()->menu();
  QAction& entry = *menu.actions().first();
  EXPECT_EQ(entry.text(), QStringLiteral("结束交易日…"));
  const CAnswer enter = CAnswer::key(Qt::Key_Return);
  entry.trigger();
  EXPECT_EQ(enter.m_strDefault, QStringLiteral("取消"));
  EXPECT_FALSE(m_day.m_pLog->isFinished());
  const CAnswer end = CAnswer::button(QStringLiteral("结束"));
  entry.trigger();
  EXPECT_TRUE(m_day.m_pLog->isFinished());
  EXPECT_FALSE(entry.isEnabled());
  const std::size_t kept = m_day.m_pLog->entries().size();
  EXPECT_EQ(ends, 0) << "the program stays";

  // No basket can be sent, and what is asked of the engine is refused in words.
  for (const QAction* other : window.menuBar()->actions()) EXPECT_FALSE(other->text().contains(QStringLiteral("篮子")));
  auto* buttons = journal::buttonsOf(table);
  const QString key = table.rowByPath(QStringLiteral("1"))->key();
  for (const GV::STableButton& button : buttons->itemButtons(key)) {
    if (button.text == QStringLiteral("撤销")) buttons->clickButton(key, button.id);
  }
  const auto* log = window.log().findChild<QPlainTextEdit*>();
  EXPECT_TRUE(waitFor([&] { return log->toPlainText().contains(QStringLiteral("交易日已结束，操作未执行")); }));
  EXPECT_EQ(m_day.m_pLog->entries().size(), kept);
  session.finish();
  EXPECT_EQ(ends, 1);
}

/// A disk that fails at one kind of entry.
class CFailing : public daylog::IDayLog {
 public:
  CFailing(daylog::IDayLog& log, std::string kind) : m_log(log), m_strKind(std::move(kind)) {}

  std::string append(const std::vector<daylog::SEntry>& entries, const std::vector<daylog::SMark>& marks) override {
    const auto fails = [this](const daylog::SEntry& entry) { return entry.m_strKind == m_strKind; };
    return std::any_of(entries.begin(), entries.end(), fails) ? "the disk failed" : m_log.append(entries, marks);
  }
  std::string appendFromReserve(const std::vector<daylog::SEntry>& entries) override { return append(entries, {}); }
  const std::vector<daylog::SEntry>& entries() const override { return m_log.entries(); }
  const std::vector<daylog::SMark>& marks() const override { return m_log.marks(); }
  std::string follow() override { return m_log.follow(); }
  std::string finish(std::int64_t msec) override { return m_log.finish(msec); }
  std::string head() const override { return m_log.head(); }

 private:
  daylog::IDayLog& m_log;
  const std::string m_strKind;
};

TEST_F(KeptDay, OfWhichTheFirstBasketCouldNotBeKeptIsGoneOnWith) {
  begin({"--speed", "600", "--basket", QStringLiteral(PBT_SOURCE_DIR "/data/baskets/basket50.csv")});
  const auto live = [this](daylog::IDayLog& log) {
    const std::size_t before = log.marks().size();
    app::CMainWindow window;
    app::CLiveSession session(m_options, m_inputs, {nullptr, nullptr, nullptr, &log}, window, createPanel);
    EXPECT_EQ(session.fault(), "");
    session.start();
    EXPECT_TRUE(waitFor([&] { return log.marks().size() > before; }));
    session.finish();
    return window.log().findChild<QPlainTextEdit*>()->toPlainText();
  };
  CFailing failing(*m_day.m_pLog, "basket");
  EXPECT_TRUE(live(failing).contains(QStringLiteral("日志无法写入")));
  // Nobody expects its orders any more, and no second comes twice.
  EXPECT_TRUE(live(*m_day.m_pLog).contains(QStringLiteral("请重新发送")));
  live(*m_day.m_pLog);
  EXPECT_EQ(m_day.m_pLog->entries().size(), 1u);
  const std::vector<daylog::SMark>& marks = m_day.m_pLog->marks();
  for (std::size_t i = 1; i < marks.size(); ++i) ASSERT_EQ(marks[i].m_nMsec, marks[i - 1].m_nMsec + 1000);
}

TEST_F(KeptDay, ShowsHowFarItIsRunAgainUntilTheUserGivesUp) {
  begin({"--speed", "600", "--algo", "twap"});
  {
    app::CMainWindow window;
    app::CLiveSession session(m_options, m_inputs, keeps(), window, createPanel);
    session.start();
    ASSERT_TRUE(waitFor([this] { return !m_day.m_pLog->marks().empty(); }));
    session.finish();
  }
  // Long enough to be seen; the state is not looked at before its end.
  ASSERT_EQ(m_day.m_pLog->append({}, {{53999000, 1}}), "");
  const std::string head = m_day.m_pLog->head();

  app::CDayProgress progress(m_options.m_strDay, {34260000, app::lastTime(*m_day.m_pLog)}, false);
  QTimer look;
  int looked = 0;
  QString text;
  int percent = 0;
  QObject::connect(&look, &QTimer::timeout, [&] {
    for (QWidget* each : QApplication::topLevelWidgets()) {
      const auto* bar = each->findChild<QProgressBar*>();
      if (!bar || !each->isVisible() || ++looked < 3) continue;
      text = each->findChild<QLabel*>()->text();
      percent = bar->value();
      each->findChild<QPushButton*>()->click();
    }
  });
  look.start(0);
  app::CLiveSession::SKeeps again = keeps();
  std::int64_t reached = 0;
  again.m_progress = [&](std::int64_t msec) { return progress.advance(reached = msec); };
  app::CMainWindow window;
  const app::CLiveSession session(m_options, m_inputs, again, window, createPanel);
  EXPECT_NE(session.fault(), "");
  EXPECT_TRUE(progress.isGivenUp());
  EXPECT_LT(reached, 53999000) << "it is given up at once";
  EXPECT_EQ(text, QStringLiteral("正在恢复交易日 ") + app::timeOfDayText(reached));
  EXPECT_EQ(percent, 100 * (reached - 34260000) / (53999000 - 34260000));
  EXPECT_EQ(m_day.m_pLog->head(), head);
}
