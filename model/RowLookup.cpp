#include "RowLookup.h"

#include "TaskKeys.h"
#include "ksservice/Helpers.h"

namespace TC {

SFoundRow findRow(const AccountRows& rows, const std::string& market, const std::string& code, int operation) {
  const QString own = rowKey(market, code, operation);
  QString instrument = own;
  ksservice::replaceMarketToHK(instrument);
  if (CBasketTaskItem* row = rows.value(instrument)) return {row, true};
  if (CBasketTaskItem* row = rows.value(own)) return {row, false};
  for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
    QString key = row.key();
    ksservice::replaceMarketToHK(key);
    if (key == instrument) return {*row, false};
  }
  return {};
}

}  // namespace TC
