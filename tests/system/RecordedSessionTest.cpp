// A live session in which a user cancels a basket and patches it by a real dialog, recorded and replayed. With
// RECORDED_SESSION_SEED in the environment another one, in which he acts at other times; see scripts/recorded-sessions.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <iostream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "CBasketTasksPanel.h"
#include "CLiveSession.h"
#include "CPlayer.h"
#include "TableDump.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CCommonDialog.h"
#include "gv/CHpfTreeTable.h"
#include "past/PatchProofs.h"

namespace {

using nlohmann::json;

constexpr int SECURITIES = 6;
constexpr int OPTIONS_COLUMN = 12;

/// When the user acts.
struct SHabits {
  SHabits() {
    const int seed = qEnvironmentVariableIntValue("RECORDED_SESSION_SEED");
    if (seed == 0) return;
    std::mt19937 random(static_cast<std::uint32_t>(seed));
    const auto between = [&random](int least, int most) {
      return least + static_cast<int>(random() % static_cast<unsigned>(most - least + 1));
    };
    beatMSec = between(30, 60);
    cancel = between(20, 60);
    patch = cancel + between(5, 25);
    look = between(5, 35);
    stop = between(1, 80);
    quantity = 100 * between(1, 900) + between(0, 99);
  }

  int beatMSec = 50;
  int cancel = 40;  ///< beats until he cancels the basket
  int patch = 60;   ///< ... and begins to patch it
  int look = 30;    ///< ... that he looks at a dialog, so that the feed and refreshes go on behind it
  int stop = 60;    ///< ... after the patch until he cancels that
  int quantity = 70050;
};

TC::ITradeDockableWidget* createPanel(int id, QWidget* parent) { return new TC::CBasketTasksPanel(id, parent); }

app::SInputs makeInputs() {
  app::SInputs inputs;
  app::SNamedBasket& named = inputs.m_baskets.emplace_back();
  named.m_strName = "large";
  for (int i = 0; i < SECURITIES; ++i) {
    exchange::SInstrument instrument;
    instrument.m_strMarket = i % 2 ? "SZ" : "SH";
    instrument.m_strCode = std::to_string(i % 2 ? 1000 + i : 600000 + i);
    instrument.m_strName = "S" + std::to_string(i);
    instrument.m_dPrevClose = 10;
    instrument.m_dVolume = 1e7;
    inputs.m_instruments.push_back(instrument);
    basket::SBasketLine& line = named.m_lines.emplace_back();
    line.m_strMarket = instrument.m_strMarket;
    line.m_strCode = instrument.m_strCode;
    line.m_bBuy = i % 3 > 0;
    line.m_nQuantity = 3000000;
  }
  return inputs;
}

/// Cancels the basket, patches it, works the dialog when it opens, and cancels the patch.
class CUser : public QObject {
 public:
  explicit CUser(QWidget& window) : m_window(window) {
    m_timer.setInterval(m_habits.beatMSec);
    // Queued: a timer does not go off while its own call has a dialog open.
    connect(
        &m_timer, &QTimer::timeout, this, [this] { beat(); }, Qt::QueuedConnection);
    m_timer.start();
  }

  bool hasPatched() const { return m_bPatched; }

 private:
  void beat() {
    if (auto* dialog = qobject_cast<GV::CCommonDialog*>(QApplication::activeModalWidget())) {
      if (++m_nLooked % m_habits.look == 0) work(*dialog);
      return;
    }
    ++m_nBeats;
    // Until the row is there.
    if (m_nBeats >= m_habits.cancel && !m_bCancelled) m_bCancelled = click(QStringLiteral("撤销"));
    if (m_bCancelled && m_nBeats > m_habits.patch && !m_bPatched) click(QStringLiteral("补单"));
    if (m_bPatched && ++m_nAfter == m_habits.stop) click(QStringLiteral("撤销"));
  }

  /// With the mouse, as a user does, so that the click goes the way of all input.
  bool click(const QString& text) {
    auto* panel = m_window.findChild<TC::ITradeDockableWidget*>();
    GV::CHpfTreeTable& table = *journal::tableOf(*panel);
    const auto* buttons = journal::buttonsOf(table);
    const auto row = table.rowByPath(QStringLiteral("1"));
    if (!row) return false;
    const QRect cell = table.cellRect(0, OPTIONS_COLUMN);
    for (const GV::STableButton& button : buttons->itemButtons(row->key())) {
      const QRect rect = buttons->buttonRect(row->key(), button.id, cell);
      if (button.text != text || rect.isEmpty()) continue;
      const QPoint point = table.viewport()->mapTo(&m_window, rect.center());
      QTest::mouseClick(m_window.windowHandle(), Qt::LeftButton, {}, point);
      return true;
    }
    return false;
  }

  static void press(GV::CCommonDialog& dialog, const QString& text) {
    for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
      if (button->text() != text) continue;
      const QPoint point = button->mapTo(&dialog, button->rect().center());
      QTest::mouseClick(dialog.windowHandle(), Qt::LeftButton, {}, point);
      return;
    }
    ADD_FAILURE() << "no button " << text.toStdString();
  }

  /// One thing at a time: an entry, a row that is left out, the trade parameters in a dialog of their own, the end.
  void work(GV::CCommonDialog& dialog) {
    const GV::SDialogState state = dialog.state();
    if (state.rows.empty() || state.rows.front().cells.isEmpty()) {
      press(dialog, QStringLiteral("保存"));
      return;
    }
    switch (++m_nStep) {
      case 1:
        EXPECT_EQ(dialog.edit(state.rows[0].key, QString::number(m_habits.quantity)), QString());
        EXPECT_EQ(dialog.check(state.rows[1].key, false), QString());
        return;
      case 2:
        press(dialog, state.buttons[2].text);  // the order type's
        return;
      default:
        m_bPatched = true;
        press(dialog, QStringLiteral("选中补单"));
    }
  }

  const SHabits m_habits;
  QWidget& m_window;
  QTimer m_timer;
  int m_nBeats = 0;
  int m_nLooked = 0;
  int m_nStep = 0;
  int m_nAfter = 0;
  bool m_bCancelled = false;
  bool m_bPatched = false;
};

/// What a session or a replay put out, without log lines, in order; the last dump apart.
struct SPutOut {
  explicit SPutOut(const std::string& text) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      json each = json::parse(line);
      if (each.contains("dump")) {
        m_dump = std::move(each);
      } else if (!each.contains("log") && !each.contains("signal")) {
        m_acts.push_back(std::move(each));
      }
    }
  }
  json m_dump;
  std::vector<json> m_acts;  ///< calls and dialogs
};

TEST(MainWindow, ShowsTheTimeOfTheNextDayBehindMidnight) {
  app::CMainWindow window;
  app::SClockState state;
  state.m_nMsec = 24 * 3600000LL + 5 * 60000LL;
  state.m_date = QDate(2026, 11, 30);
  window.showClock(state);
  EXPECT_EQ(window.findChild<QLabel*>("clock")->text(), "2026-12-01  00:05:00");
}

TEST(MainWindow, TellsThatTheClockIsLateAndThatNothingIsKept) {
  app::CMainWindow window;
  const auto shown = [&](double lag, const char* unkept) {
    app::SClockState state;
    state.m_dLag = lag;
    state.m_strUnkept = QString::fromUtf8(unkept);
    window.showClock(state);
    return window.findChild<QLabel*>("lag")->text() + "|" + window.findChild<QLabel*>("unkept")->text() + "|" +
           window.findChild<QLabel*>("unkept")->toolTip();
  };
  EXPECT_EQ(shown(2, ""), "||");
  EXPECT_EQ(shown(3.9, "disk is full"), "时钟落后 3 秒|日志无法写入|disk is full");
  EXPECT_EQ(shown(0, ""), "||") << "it goes away";
}

/// The patch was kept with the figures on which the user confirmed it, and they are those of the day.
void expectProof(const std::string& file) {
  const daylog::SOpenedDay kept = daylog::readDay(file);
  ASSERT_TRUE(kept.m_pLog) << kept.m_strFault;
  app::CPastDay day;
  day.read(*kept.m_pLog, kept.m_pLog->marks().size());
  std::vector<daylog::SEntry> entries = kept.m_pLog->entries();
  const app::SProofs proofs = app::checkProofs(entries, day);
  EXPECT_EQ(proofs.m_nProofs, 1u);
  EXPECT_EQ(proofs.m_faults, std::vector<std::string>());
  const auto create = std::find_if(entries.begin(), entries.end(),
                                   [](const daylog::SEntry& entry) { return entry.m_strKind == "create"; });
  ASSERT_NE(create, entries.end());
  const json body = json::parse(create->m_strBody);
  const json proof = json::parse(body.at("proof").get<std::string>());
  ASSERT_EQ(proof.at("lines").size(), body.at("params").size());
  for (const char* field : {"target", "done", "open", "offered", "chosen", "remainder"}) {
    json wrong = proof;
    wrong["lines"][0][field] = wrong["lines"][0][field].get<std::int64_t>() + 100;
    json changed = body;
    changed["proof"] = wrong.dump();
    create->m_strBody = changed.dump();
    EXPECT_FALSE(app::checkProofs(entries, day).m_faults.empty()) << field;
  }
}

class RecordedSession : public testing::TestWithParam<const char*> {};

/// Shows what was recorded when the test has failed.
struct SRecord {
  ~SRecord() {
    if (testing::Test::HasFailure() && qEnvironmentVariableIsSet("RECORDED_SESSION_SEED")) std::cout << text.str();
  }
  std::ostringstream text;
};

TEST_P(RecordedSession, ReplayedGivesTheSameTableAndAsksTheSameOfTheHost) {
  app::SParsedOptions parsed = app::parseOptions(
      QStringList{"--seconds", qEnvironmentVariableIsSet("RECORDED_SESSION_SEED") ? "25" : "16", "--start", "09:31"} +
      QString::fromLatin1(GetParam()).split(' ', Qt::SkipEmptyParts));
  ASSERT_EQ(parsed.m_strError, QString());
  std::ostringstream out;
  SRecord record;
  bool patched = false;
  const QTemporaryDir folder;
  const std::string file = folder.filePath("day.db").toStdString();
  {
    const daylog::SOpenedDay day = daylog::openDay(file);
    ASSERT_EQ(day.m_pLog->append({{0, 34260000, "day", "{}"}}, {}), "");
    app::CMainWindow window;
    app::CLiveSession session(parsed.m_options, makeInputs(), {&out, &record.text, nullptr, day.m_pLog.get()}, window,
                              createPanel);
    CUser user(window);
    QEventLoop loop;
    QObject::connect(&session, &app::CLiveSession::sigEnded, &loop, &QEventLoop::quit);
    window.show();
    session.start();
    loop.exec();
    patched = user.hasPatched();
  }
  ASSERT_TRUE(patched);
  expectProof(file);
  const SPutOut live(out.str());
  ASSERT_GT(live.m_dump["rows"].size(), SECURITIES / 2u);

  std::ostringstream replayed;
  std::ostringstream errors;
  {
    desk::CDesk desk;
    desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
    services.install();
    journal::COutput output(replayed);
    journal::CPlayer player(
        desk, services, [] { return createPanel(1, nullptr); }, output, errors);
    std::istringstream in(record.text.str());
    ASSERT_EQ(player.play(in, "session"), journal::CPlayer::ExitPlayed) << errors.str();
  }
  const SPutOut again(replayed.str());
  EXPECT_EQ(again.m_acts, live.m_acts);
  ASSERT_EQ(again.m_dump["rows"].size(), live.m_dump["rows"].size());
  for (std::size_t row = 0; row < live.m_dump["rows"].size(); ++row) {
    EXPECT_EQ(again.m_dump["rows"][row], live.m_dump["rows"][row]);
  }
  const auto count = [&](const char* call) {
    return std::count_if(live.m_acts.begin(), live.m_acts.end(),
                         [call](const json& act) { return act.value("call", "") == call; });
  };
  EXPECT_EQ(count("createTask"), 1);
  EXPECT_EQ(count("queryOrderProcess"), std::string(GetParam()).empty() ? 0 : 1);
  EXPECT_NE(record.text.str().find("{\"play\":"), std::string::npos) << "nothing came while the dialog was open";
}

INSTANTIATE_TEST_SUITE_P(Baskets, RecordedSession, testing::Values("", "--algo twap"));

}  // namespace
