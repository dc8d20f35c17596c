#include "LogFile.h"

#include <fcntl.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

namespace app {
namespace {

using namespace log4cxx;

constexpr off_t MAX_BYTES = 10 << 20;
constexpr int OLD_PARTS = 3;    ///< of one process, beside the newest
constexpr int ENDED_LOGS = 20;  ///< files of processes that have ended

/// A log file that is rolled by its size, "terminal.PID.log" and its older parts "terminal.PID.log.1". What cannot be
/// written is lost: log4cxx's own would end the program on a full disk. Its base lets one thread in at a time.
class CLogFile : public AppenderSkeleton {
 public:
  DECLARE_LOG4CXX_OBJECT(CLogFile)
  BEGIN_LOG4CXX_CAST_MAP()
  LOG4CXX_CAST_ENTRY(CLogFile)
  LOG4CXX_CAST_ENTRY_CHAIN(AppenderSkeleton)
  END_LOG4CXX_CAST_MAP()

  CLogFile() = default;
  explicit CLogFile(std::string file) : m_strFile(std::move(file)) {
    setLayout(std::make_shared<PatternLayout>("%d %p %c %m%n"));
    open();
  }
  CLogFile(const CLogFile&) = delete;
  CLogFile& operator=(const CLogFile&) = delete;
  ~CLogFile() override { shut(); }

  void close() override {}
  bool requiresLayout() const override { return true; }

 protected:
  void append(const spi::LoggingEventPtr& event, helpers::Pool& pool) override {
    LogString text;
    getLayout()->format(text, event, pool);
    LOG4CXX_ENCODE_CHAR(line, text);
    if (m_nBytes > 0 && m_nBytes + static_cast<off_t>(line.size()) > MAX_BYTES) roll();
    const ssize_t written = m_nFile < 0 ? 0 : ::write(m_nFile, line.data(), line.size());
    if (written > 0) m_nBytes += written;
  }

 private:
  void open() {
    m_nFile = ::open(m_strFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    struct stat state {};
    m_nBytes = m_nFile >= 0 && ::fstat(m_nFile, &state) == 0 ? state.st_size : 0;
  }
  void shut() {
    if (m_nFile >= 0) ::close(std::exchange(m_nFile, -1));
  }
  void roll() {
    shut();
    for (int part = OLD_PARTS; part > 0; --part) {
      const std::string newer = part > 1 ? m_strFile + "." + std::to_string(part - 1) : m_strFile;
      std::rename(newer.c_str(), (m_strFile + "." + std::to_string(part)).c_str());
    }
    open();
  }

  std::string m_strFile;
  int m_nFile = -1;
  off_t m_nBytes = 0;
};

IMPLEMENT_LOG4CXX_OBJECT(CLogFile)

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
  const LoggerPtr root = Logger::getRootLogger();
  const QDir folder(QStandardPaths::writableLocation(QStandardPaths::CacheLocation));
  if (!folder.mkpath(QStringLiteral("."))) {
    root->setLevel(Level::getOff());
    return;
  }
  removeOldLogs(folder);
  const std::string name = "terminal." + std::to_string(::getpid()) + ".log";
  root->addAppender(std::make_shared<CLogFile>(folder.filePath(QString::fromStdString(name)).toStdString()));
  root->setLevel(Level::getInfo());
}

}  // namespace app
