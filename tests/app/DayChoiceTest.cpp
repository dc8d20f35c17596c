// In which file a session keeps its day.
#include "DayLog.h"
#include "TerminalRun.h"

namespace {

/// The user's data lie in the test's own folder.
class DayChoice : public Terminal {
 protected:
  DayChoice() {
    qputenv("XDG_DATA_HOME", m_folder.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8());
  }
  ~DayChoice() override {
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "QT_QPA_PLATFORM"}) qunsetenv(name);
  }

  static QStringList files() {
    return QDir(QStringLiteral("PanelBasketTasks/days")).entryList({"*.db"}, QDir::Files, QDir::Name);
  }
};

}  // namespace

TEST_F(DayChoice, ASessionWithAWindowKeepsItsDayWithoutBeingTold) {
  const QStringList brief = {"--seconds", "0.5", "--speed", "6000"};
  qputenv("QT_QPA_PLATFORM", "offscreen");
  EXPECT_EQ(runTerminal(brief + QStringList{"--day", "none"}).m_nStatus, 0);
  EXPECT_EQ(runTerminal(brief + QStringList{"--headless"}).m_nStatus, 0);
  EXPECT_EQ(files(), QStringList());

  EXPECT_EQ(runTerminal(brief + QStringList{"--start", "14:59"}).m_nStatus, 0);
  ASSERT_EQ(files(), QStringList({"2026-11-23-1.db"}));
  EXPECT_EQ(daylog::verifyDay("PanelBasketTasks/days/2026-11-23-1.db", ""), std::vector<std::string>());
  const daylog::SOpenedDay day = daylog::readDay("PanelBasketTasks/days/2026-11-23-1.db");
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  EXPECT_TRUE(day.m_pLog->isFinished());

  // What is over is left as it is.
  const QByteArray before = readFile("PanelBasketTasks/days/2026-11-23-1.db");
  EXPECT_EQ(runTerminal(brief).m_nStatus, 0);
  EXPECT_EQ(files(), QStringList({"2026-11-23-1.db", "2026-11-23-2.db"}));
  EXPECT_EQ(readFile("PanelBasketTasks/days/2026-11-23-1.db"), before);

  // Without a place for it a session says so, and how to do without.
  qputenv("XDG_DATA_HOME", "/dev/null");
  const SResult refused = runTerminal(brief);
  EXPECT_EQ(refused.m_nStatus, 2);
  EXPECT_TRUE(refused.m_strErrors.contains("/dev/null/PanelBasketTasks/days; --day none keeps no day"))
      << refused.m_strErrors.toStdString();
}
