// Real runs of the program, without a display.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <fstream>
#include <nlohmann/json.hpp>

constexpr int PATIENCE_MSEC = 120000;

struct SResult {
  int m_nStatus = -1;
  QString m_strOut;
  QString m_strErrors;
};

inline void startTerminal(QProcess& process, const QStringList& arguments) {
  process.start(QStringLiteral(PBT_TERMINAL), arguments);
  process.waitForStarted();
}

#ifdef PBT_DISK_FAULTS
/// What befalls the disk on which day.db lies.
struct SDiskFaults {
  int m_nSlowMsec = 0;   ///< each sync takes so long
  int m_nPermille = 0;   ///< so many of its writes and syncs fail
  int m_nKill = 0;       ///< the program dies at the write or sync with this number; 0: it does not
  unsigned m_nSeed = 1;  ///< chooses which fail and how it dies
};

inline void startTerminalOn(const SDiskFaults& faults, QProcess& process, const QStringList& arguments) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("LD_PRELOAD", PBT_DISK_FAULTS);
  environment.insert("DISK_FAULTS_FILE", "day.db");
  environment.insert("DISK_FAULTS_MSEC", QString::number(faults.m_nSlowMsec));
  environment.insert("DISK_FAULTS_PERMILLE", QString::number(faults.m_nPermille));
  environment.insert("DISK_FAULTS_KILL", QString::number(faults.m_nKill));
  environment.insert("DISK_FAULTS_SEED", QString::number(faults.m_nSeed));
  process.setProcessEnvironment(environment);
  startTerminal(process, arguments);
}
#endif

/// The end of a program that was started; a status of -1 when it does not end, of -2 when it was killed.
inline SResult resultOf(QProcess& process) {
  // Of one that has ended already there is nothing to wait for.
  if (process.state() != QProcess::NotRunning && !process.waitForFinished(PATIENCE_MSEC)) {
    process.kill();
    process.waitForFinished();
    return {};
  }
  return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2,
          QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

inline SResult runTerminal(const QStringList& arguments) {
  QProcess process;
  startTerminal(process, arguments);
  return resultOf(process);
}

inline void writeFile(const QString& file, const char* text) {
  QFile out(file);
  ASSERT_TRUE(out.open(QIODevice::WriteOnly));
  out.write(text);
}

inline QByteArray readFile(const QString& file) {
  QFile in(file);
  return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

/// Whether the condition comes to hold, looked at again and again.
template <typename Condition>
bool waitFor(const Condition& holds) {
  for (int i = 0; i < PATIENCE_MSEC / 50; ++i) {
    if (holds()) return true;
    QThread::msleep(50);
  }
  return false;
}

/// The last dump of an output, null when there is none.
inline nlohmann::json lastDump(const char* file) {
  std::ifstream in(file);
  nlohmann::json dump;
  for (std::string line; std::getline(in, line);) {
    nlohmann::json parsed = nlohmann::json::parse(line);
    if (parsed.contains("dump")) dump = std::move(parsed);
  }
  return dump;
}

/// Test and program work in a folder of their own, where the program's logs are too.
class Terminal : public testing::Test {
 protected:
  Terminal() {
    QDir::setCurrent(m_folder.path());
    qputenv("XDG_CACHE_HOME", m_folder.path().toUtf8());
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) qunsetenv(name);
    // A run in a hundred ends with the leak check itself dying ("Tracer caught signal 11") while a thread of the system
    // goes. Leaks of a session are looked for where it runs inside a test.
    qputenv("ASAN_OPTIONS", "detect_leaks=0");
  }
  /// The one line by which a run has to refuse what it was asked for.
  static QString refusalOf(const QStringList& arguments) {
    const SResult result = runTerminal(arguments);
    EXPECT_EQ(result.m_nStatus, 2) << arguments.join(' ').toStdString();
    EXPECT_EQ(result.m_strErrors.count('\n'), 1) << result.m_strErrors.toStdString();
    return result.m_strErrors;
  }
  /// How a run that has to end well ends on the screen.
  static nlohmann::json endOf(const QStringList& arguments) {
    const SResult result = runTerminal(arguments + QStringList{"--headless", "--out", "end.jsonl"});
    EXPECT_EQ(result.m_nStatus, 0) << arguments.join(' ').toStdString();
    EXPECT_EQ(result.m_strErrors.toStdString(), "") << arguments.join(' ').toStdString();
    return lastDump("end.jsonl");
  }

  QTemporaryDir m_folder;
};
