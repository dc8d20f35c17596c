// In which file a session keeps its day.
#include "DayChoice.h"

#include <QCoreApplication>

#include "DayLog.h"
#include "DayStart.h"
#include "TerminalRun.h"

namespace {

using app::EDayAnswer;

/// The user's data lie in the test's own folder.
class DayChoice : public Terminal {
 public:
  ~DayChoice() override {
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "QT_QPA_PLATFORM"}) qunsetenv(name);
  }

 protected:
  DayChoice() {
    QCoreApplication::setApplicationName(QStringLiteral("PanelBasketTasks"));
    qputenv("XDG_DATA_HOME", m_folder.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", m_folder.path().toUtf8());
  }

  static QStringList files() {
    return QDir(QStringLiteral("PanelBasketTasks/days")).entryList({"*.db"}, QDir::Files, QDir::Name);
  }

  /// Takes a day over as a session does, with one answer to whatever is asked.
  app::STakenDay take(const char* file, EDayAnswer answer, const app::OptionValues& given = {}) {
    app::SOptions options;
    options.m_strDay = file;
    m_questions.clear();
    app::STakenDay taken = app::takeDay(given, options, [&](const app::SDayQuestion& question) {
      m_questions.push_back(question);
      return answer;
    });
    m_strFile = QFileInfo(QString::fromStdString(options.m_strDay)).fileName();
    EXPECT_EQ(app::beginDay(taken.m_pLog.get(), given, options), "");
    return taken;
  }

  std::vector<app::SDayQuestion> m_questions;
  QString m_strFile;  ///< of the day that was taken
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

  // A named one is gone on with, and shown when it has been run again.
  for (const char* seconds : {"1.5", "1.6"}) {
    EXPECT_EQ(
        runTerminal({"--seconds", seconds, "--speed", "6000", "--day", "day.db", "--screenshot", "a.png"}).m_nStatus,
        0);
    EXPECT_TRUE(QFile::remove("a.png"));
  }

  // Without a place for it a session says so, and how to do without.
  qputenv("XDG_DATA_HOME", "/dev/null");
  const SResult refused = runTerminal(brief);
  EXPECT_EQ(refused.m_nStatus, 2);
  EXPECT_TRUE(refused.m_strErrors.contains("/dev/null/PanelBasketTasks/days; --day none keeps no day"))
      << refused.m_strErrors.toStdString();
}

TEST_F(DayChoice, AnUnfinishedDayIsAskedForAndWhatIsOverIsNot) {
  const auto leave = EDayAnswer::Leave;
  app::STakenDay day = take("", leave, {{"seed", {"7"}}});
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  EXPECT_TRUE(m_questions.empty()) << "of a new one";
  EXPECT_EQ(day.m_pLog->append({}, {{38823000, 1}}), "");

  // One that another terminal has is left to it.
  EXPECT_TRUE(take("", leave).m_bLeft);
  ASSERT_EQ(m_questions.size(), 1u);
  EXPECT_TRUE(m_questions[0].m_bTaken);
  EXPECT_NE(m_questions[0].m_strFault.find("another terminal goes on with this day"), std::string::npos);
  {
    const app::STakenDay second = take("", EDayAnswer::BeginNew);
    EXPECT_TRUE(second.m_pLog) << second.m_strFault;
    EXPECT_EQ(m_strFile.toStdString(), "2026-11-23-2.db");
  }
  ASSERT_TRUE(QFile::remove("PanelBasketTasks/days/2026-11-23-2.db"));
  day.m_pLog.reset();

  EXPECT_TRUE(take("", leave).m_bLeft);
  ASSERT_EQ(m_questions.size(), 1u);
  EXPECT_EQ(m_questions[0].m_nMsec, 38823000);
  EXPECT_EQ(m_questions[0].m_strFault, "");
  EXPECT_EQ(take("", EDayAnswer::GoOn, {{"seed", {"8"}}}).m_strFault,
            m_questions[0].m_strFile + ": option --seed is 8, but the day began with 7");
  day = take("", EDayAnswer::GoOn);
  EXPECT_EQ(m_strFile.toStdString(), "2026-11-23-1.db");
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  EXPECT_EQ(day.m_pLog->marks().size(), 1u);
  day.m_pLog.reset();

  // Other options matter to one that is gone on with alone.
  EXPECT_TRUE(take("", EDayAnswer::BeginNew, {{"seed", {"8"}}}).m_pLog);
  EXPECT_EQ(m_strFile.toStdString(), "2026-11-23-2.db");
  day = take("", EDayAnswer::GoOn);
  EXPECT_EQ(m_strFile.toStdString(), "2026-11-23-2.db") << "the newest one";
  EXPECT_EQ(day.m_pLog->finish(54000000), "");
  day.m_pLog.reset();
  EXPECT_TRUE(take("", leave).m_pLog);
  EXPECT_TRUE(m_questions.empty());
  EXPECT_EQ(files(), QStringList({"2026-11-23-1.db", "2026-11-23-2.db", "2026-11-23-3.db"}));
}

TEST_F(DayChoice, BesideANamedDayThatIsOverTheNextOneIsBegun) {
  const auto finish = [this](app::STakenDay day) {
    ASSERT_TRUE(day.m_pLog) << day.m_strFault;
    EXPECT_EQ(day.m_pLog->finish(54000000), "");
  };
  const auto leave = EDayAnswer::Leave;
  // A crash long after the close has kept the word of it out of the file.
  app::STakenDay late = take("late.db", leave);
  ASSERT_TRUE(late.m_pLog) << late.m_strFault;
  EXPECT_EQ(late.m_pLog->append({{0, 33900000, "day", R"({"options":{},"files":[],"futuresAccount":false})"}},
                                {{54000000, 1}}),
            "");
  late.m_pLog.reset();
  late = take("late.db", leave);
  EXPECT_EQ(m_strFile.toStdString(), "late.db") << "within a minute of the close something may still be told";
  EXPECT_EQ(late.m_pLog->append({}, {{54061000, 1}}), "");
  late.m_pLog.reset();
  EXPECT_TRUE(take("late.db", leave).m_pLog);
  EXPECT_EQ(m_strFile.toStdString(), "late-2.db");
  const auto ended = daylog::readDay("late.db").m_pLog;
  EXPECT_TRUE(ended->isFinished());
  EXPECT_EQ(readFile("late.db.head").trimmed().toStdString(), ended->head());

  finish(take("to.day.db", leave));
  app::STakenDay day = take("to.day.db", leave);
  EXPECT_EQ(m_strFile.toStdString(), "to.day-2.db");
  EXPECT_EQ(day.m_strNote, "to.day.db: this day is over, to.day-2.db keeps the next one");
  EXPECT_EQ(take("to.day.db", leave).m_strFault, "to.day-2.db: another terminal goes on with this day");
  day.m_pLog.reset();
  day = take("to.day.db", leave);
  EXPECT_EQ(day.m_strNote, "to.day.db: this day is over, to.day-2.db is gone on with");
  finish(std::move(day));
  EXPECT_TRUE(take("to.day.db", leave).m_pLog);
  EXPECT_EQ(m_strFile.toStdString(), "to.day-3.db");
  EXPECT_TRUE(m_questions.empty()) << "who names his file is not asked";
}
