#include "DayChoice.h"

#include <QDateTime>
#include <QDir>
#include <QStandardPaths>
#include <algorithm>
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
  QDir m_folder;
  QString m_strDate;
};

STakenDay goOn(daylog::SOpenedDay day, const OptionValues& given, SOptions& options) {
  if (!day.m_pLog) return {nullptr, day.m_strFault};
  if (day.m_pLog->isFinished()) return {nullptr, options.m_strDay + ": this day is over"};
  if (day.m_pLog->entries().empty()) return {std::move(day.m_pLog), {}};
  const std::string fault = takeStart(*day.m_pLog, given, options);
  if (!fault.empty()) return {nullptr, options.m_strDay + ": " + fault};
  return {std::move(day.m_pLog), {}};
}

STakenDay takeOwn(const OptionValues& given, SOptions& options) {
  const CDayFolder folder;
  if (std::string fault = folder.make(); !fault.empty()) return {nullptr, std::move(fault)};
  for (int number = std::max(folder.newest(), 1);; ++number) {
    options.m_strDay = folder.file(number);
    daylog::SOpenedDay day = daylog::openDay(options.m_strDay);
    if (!day.m_pLog || !day.m_pLog->isFinished()) return goOn(std::move(day), given, options);
  }
}

}  // namespace

STakenDay takeDay(const OptionValues& given, SOptions& options) {
  if (!options.keepsDay()) return {};
  if (options.m_strDay.empty()) return takeOwn(given, options);
  return goOn(daylog::openDay(options.m_strDay), given, options);
}

}  // namespace app
