#include "LogFile.h"

#include <log4cxx/helpers/loglog.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <log4cxx/rolling/fixedwindowrollingpolicy.h>
#include <log4cxx/rolling/rollingfileappender.h>
#include <log4cxx/rolling/sizebasedtriggeringpolicy.h>
#include <signal.h>
#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <cerrno>
#include <memory>
#include <string>

namespace app {
namespace {

constexpr std::size_t MAX_BYTES = 10 << 20;
constexpr int OLD_PARTS = 3;    ///< of one process, beside the newest
constexpr int ENDED_LOGS = 20;  ///< of processes that have ended

/// "terminal.PID.log", and its older parts "terminal.PID.log.1".
const char* const PREFIX = "terminal.";

bool isRunning(const QFileInfo& log) {
  const pid_t process = log.fileName().section(QLatin1Char('.'), 1, 1).toInt();
  return process > 0 && (::kill(process, 0) == 0 || errno == EPERM);
}

void removeOldLogs(const QDir& folder) {
  int ended = 0;
  for (const QFileInfo& log : folder.entryInfoList({QStringLiteral("terminal.*log*")}, QDir::Files, QDir::Time)) {
    if (!isRunning(log) && ++ended > ENDED_LOGS) QFile::remove(log.filePath());
  }
}

}  // namespace

void openLogFile() {
  using namespace log4cxx;
  const LoggerPtr root = Logger::getRootLogger();
  const QDir folder(QStandardPaths::writableLocation(QStandardPaths::CacheLocation));
  if (!folder.mkpath(QStringLiteral(".")) || ::access(folder.path().toStdString().c_str(), W_OK) != 0) {
    root->setLevel(Level::getOff());
    return;
  }
  removeOldLogs(folder);
  // What it has to say of itself, of a full disk above all, is not for standard error.
  helpers::LogLog::setQuietMode(true);
  const std::string file = folder.path().toStdString() + "/" + PREFIX + std::to_string(::getpid()) + ".log";
  const auto window = std::make_shared<rolling::FixedWindowRollingPolicy>();
  window->setMinIndex(1);
  window->setMaxIndex(OLD_PARTS);
  window->setFileNamePattern(file + ".%i");
  const auto size = std::make_shared<rolling::SizeBasedTriggeringPolicy>();
  size->setMaxFileSize(MAX_BYTES);
  const auto appender = std::make_shared<rolling::RollingFileAppender>();
  appender->setLayout(std::make_shared<PatternLayout>("%d %p %c %m%n"));
  appender->setFile(file);
  appender->setAppend(true);
  appender->setRollingPolicy(window);
  appender->setTriggeringPolicy(size);
  helpers::Pool pool;
  window->activateOptions(pool);
  appender->activateOptions(pool);
  root->addAppender(appender);
  root->setLevel(Level::getInfo());
}

}  // namespace app
