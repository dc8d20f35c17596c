#include "DayChoice.h"

#include <QDateTime>
#include <QDir>
#include <QStandardPaths>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>

#include "DayStart.h"
#include "SessionSetup.h"

namespace app {
namespace {

/// Where days are kept of which nobody said where: DATE-NUMBER.db, numbers from 1.
class CDayFolder {
 public:
  CDayFolder()
      : m_folder(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/days")),
        m_strDate(QDateTime::fromSecsSinceEpoch(tradingDayStart(), exchangeTimeZone()).date().toString(Qt::ISODate)) {}

  /// Empty, or why there can be none.
  std::string make() const {
    if (m_folder.mkpath(QStringLiteral("."))) return {};
    return "cannot make the folder " + m_folder.path().toStdString() + "; --day none keeps no day";
  }

  std::string file(int number) const {
    return m_folder.filePath(QStringLiteral("%1-%2.db").arg(m_strDate).arg(number)).toStdString();
  }

  /// Of the trading day's; 0: there is none.
  int newest() const {
    int newest = 0;
    for (const QString& name : m_folder.entryList({m_strDate + QStringLiteral("-*.db")}, QDir::Files)) {
      const QString number = name.mid(m_strDate.size() + 1).chopped(3);
      bool ok = false;
      const int value = number.toInt(&ok);
      if (ok && number == QString::number(value)) newest = std::max(newest, value);
    }
    return newest;
  }

 private:
  const QDir m_folder;
  const QString m_strDate;
};

STakenDay goOn(daylog::SOpenedDay day, const OptionValues& given, SOptions& options) {
  if (!day.m_pLog) return {.m_strFault = day.m_strFault};
  if (day.m_pLog->entries().empty()) return {.m_pLog = std::move(day.m_pLog)};
  const std::string fault = takeStart(*day.m_pLog, given, options);
  if (!fault.empty()) return {.m_strFault = options.m_strDay + ": " + fault};
  return {.m_pLog = std::move(day.m_pLog)};
}

/// Whether another one is to be taken instead. A crash that kept a day's end from being written kept its head, too.
bool isLeft(const daylog::SOpenedDay& day, const std::string& file) {
  if (!day.m_pLog) return false;
  const bool ended = day.m_pLog->isFinished();
  if (!isOver(*day.m_pLog)) return false;
  const std::string fault = ended ? std::string() : writeHead(*day.m_pLog, file);
  if (!fault.empty()) std::cerr << fault << std::endl;
  return true;
}

SDayQuestion questionOf(const std::string& file, const daylog::SOpenedDay& day) {
  SDayQuestion question{.m_strFile = file, .m_strFault = day.m_strFault, .m_bTaken = day.m_bTaken};
  if (day.m_pLog) question.m_nMsec = lastTime(*day.m_pLog);
  return question;
}

STakenDay takeOwn(const OptionValues& given, SOptions& options, const AskDay& ask) {
  const CDayFolder folder;
  if (std::string fault = folder.make(); !fault.empty()) return {.m_strFault = std::move(fault)};
  int number = std::max(folder.newest(), 1);
  for (;;) {
    options.m_strDay = folder.file(number);
    daylog::SOpenedDay day = daylog::openDay(options.m_strDay);
    if (day.m_pLog && day.m_pLog->entries().empty()) return goOn(std::move(day), given, options);
    const bool left = isLeft(day, options.m_strDay);
    const EDayAnswer answer = left ? EDayAnswer::BeginNew : ask(questionOf(options.m_strDay, day));
    if (answer == EDayAnswer::Leave) return {.m_bLeft = true};
    if (answer == EDayAnswer::GoOn) return goOn(std::move(day), given, options);
    // While the user thought, another terminal may have begun one, which he is asked for again.
    number = std::max(number + 1, folder.newest());
  }
}

/// today.db, today-2.db, today-3.db
std::string besides(const std::string& file, int number) {
  std::filesystem::path path = file;
  if (number > 1)
    path.replace_filename(path.stem().string() + '-' + std::to_string(number) + path.extension().string());
  return path.string();
}

STakenDay takeNamed(const OptionValues& given, SOptions& options) {
  const std::string named = options.m_strDay;
  for (int number = 1;; ++number) {
    options.m_strDay = besides(named, number);
    daylog::SOpenedDay day = daylog::openDay(options.m_strDay);
    if (isLeft(day, options.m_strDay)) continue;
    const bool isNew = day.m_pLog && day.m_pLog->entries().empty();
    STakenDay taken = goOn(std::move(day), given, options);
    if (number == 1) return taken;
    taken.m_strNote =
        named + ": this day is over, " + options.m_strDay + (isNew ? " keeps the next one" : " is gone on with");
    return taken;
  }
}

}  // namespace

STakenDay takeDay(const OptionValues& given, SOptions& options, const AskDay& ask) {
  if (!options.keepsDay()) return {};
  return options.m_strDay.empty() ? takeOwn(given, options, ask) : takeNamed(given, options);
}

}  // namespace app
