#include "TaskKeys.h"

#include <algorithm>

#include "InstrumentTexts.h"
#include "ksservice/Helpers.h"

namespace TC {
namespace {

constexpr int TYPE_DIGITS = 2;
constexpr int ID_DIGITS = 8;
constexpr int MAX_ID_DIGITS = 10;  // of an int; a row's tree key is longer than any display id

}  // namespace

QString taskDisplayId(int traderType, int taskId) {
  return QStringLiteral("%1%2")
      .arg(traderType, TYPE_DIGITS, 10, QLatin1Char('0'))
      .arg(taskId, ID_DIGITS, 10, QLatin1Char('0'));
}

int taskIdOfDisplayId(const QString& displayId) {
  const int digits = displayId.size();
  if (digits < TYPE_DIGITS + ID_DIGITS || digits > TYPE_DIGITS + MAX_ID_DIGITS) return -1;
  const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
  if (!std::all_of(displayId.begin(), displayId.end(), isDigit)) return -1;
  bool ok = false;
  const int id = displayId.mid(TYPE_DIGITS).toInt(&ok);
  return ok ? id : -1;
}

QString rowKey(const std::string& market, const std::string& code, int operation) {
  return instrumentTexts(market, code, operation).rowKey;
}

QString orderRowKey(const std::string& market, const std::string& code, int operation) {
  QString key = rowKey(market, code, operation);
  ksservice::replaceMarketToHK(key);
  return key;
}

QString joined(const QString& before, const QString& after) {
  QString text(before.size() + after.size(), Qt::Uninitialized);
  std::copy(after.cbegin(), after.cend(), std::copy(before.cbegin(), before.cend(), text.begin()));
  return text;
}

QString sideName(ETaskSide side) {
  return side == ETaskSide::Futures ? QStringLiteral("期货") : QStringLiteral("证券");
}

}  // namespace TC
