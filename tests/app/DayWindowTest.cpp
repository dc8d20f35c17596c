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

#include "CBasketTasksPanel.h"
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

TEST(DayEnd, TheUserEndsItAndLooksAtWhatIsThere) {
  const QTemporaryDir folder;
  app::SParsedOptions parsed = app::parseOptions({"--start", "09:31", "--speed", "60", "--basket",
                                                  QStringLiteral(PBT_SOURCE_DIR "/data/baskets/basket50.csv"), "--day",
                                                  folder.filePath("day.db")});
  ASSERT_EQ(parsed.m_strError, QString());
  const app::SOptions& options = parsed.m_options;
  daylog::SOpenedDay day = daylog::openDay(options.m_strDay);
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  ASSERT_EQ(app::beginDay(day.m_pLog.get(), parsed.m_ofDay, options), "");
  app::CMainWindow window;
  const app::SInputs inputs = app::readInputs(options, app::tradingDayStart());
  app::CLiveSession session(options, inputs, {nullptr, nullptr, nullptr, day.m_pLog.get()}, window, createPanel);
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
  EXPECT_FALSE(day.m_pLog->isFinished());
  const CAnswer end = CAnswer::button(QStringLiteral("结束"));
  entry.trigger();
  EXPECT_TRUE(day.m_pLog->isFinished());
  EXPECT_FALSE(entry.isEnabled());
  const std::size_t kept = day.m_pLog->entries().size();
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
  EXPECT_EQ(day.m_pLog->entries().size(), kept);
  session.finish();
  EXPECT_EQ(ends, 1);
}
