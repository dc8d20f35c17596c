// Real runs of the program, without a display.
#pragma once

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
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

/// Where its display is taken away, and its log is in the folder `home`, where one is named.
inline QProcessEnvironment environmentOf(const QString& home) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(QLatin1String(name));
  // A run in a hundred ends with the leak check itself dying ("Tracer caught signal 11") while a thread of the system
  // goes. Leaks of a session are looked for where it runs inside a test.
  environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
  if (!home.isEmpty()) environment.insert(QStringLiteral("XDG_CACHE_HOME"), home);
  return environment;
}

inline void startTerminal(QProcess& process, const QStringList& arguments, const QString& folder = QString(),
                          const QString& home = QString()) {
  process.setProcessEnvironment(environmentOf(home));
  if (!folder.isEmpty()) process.setWorkingDirectory(folder);
  process.start(QStringLiteral(PBT_TERMINAL), arguments);
  process.waitForStarted();
}

/// The end of a program that was started; a status of -1 when it does not end, of -2 when it was killed.
inline SResult resultOf(QProcess& process) {
  SResult result;
  if (!process.waitForFinished(PATIENCE_MSEC)) {
    process.kill();
    process.waitForFinished();
    return result;
  }
  result.m_nStatus = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
  result.m_strOut = QString::fromUtf8(process.readAllStandardOutput());
  result.m_strErrors = QString::fromUtf8(process.readAllStandardError());
  return result;
}

inline SResult runTerminal(const QStringList& arguments, const QString& folder = QString(),
                           const QString& home = QString()) {
  QProcess process;
  startTerminal(process, arguments, folder, home);
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
inline nlohmann::json lastDump(const QString& file) {
  std::ifstream in(file.toStdString());
  nlohmann::json dump;
  for (std::string line; std::getline(in, line);) {
    nlohmann::json parsed = nlohmann::json::parse(line);
    if (parsed.contains("dump")) dump = std::move(parsed);
  }
  return dump;
}

class Terminal : public testing::Test {
 protected:
  QString path(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }
  /// The one line by which a run in the test's folder has to refuse what it was asked for.
  QString refusalOf(const QStringList& arguments) const {
    const SResult result = runTerminal(arguments, m_folder.path());
    EXPECT_EQ(result.m_nStatus, 2) << arguments.join(' ').toStdString();
    EXPECT_EQ(result.m_strErrors.count('\n'), 1) << result.m_strErrors.toStdString();
    return result.m_strErrors;
  }
  /// How a run that has to end well ends on the screen.
  nlohmann::json endOf(const QStringList& arguments) const {
    const SResult result = runTerminal(arguments + QStringList{"--headless", "--out", path("end.jsonl")});
    EXPECT_EQ(result.m_nStatus, 0) << arguments.join(' ').toStdString();
    EXPECT_EQ(result.m_strErrors.toStdString(), "") << arguments.join(' ').toStdString();
    return lastDump(path("end.jsonl"));
  }

  QTemporaryDir m_folder;
};
