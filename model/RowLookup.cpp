#include "RowLookup.h"

#include <algorithm>

#include "CBasketTaskItem.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"

namespace TC {
namespace {

using ksservice::CCodeOrderParam;

std::string accountKey(const CCodeOrderParam& param) {
  return param.m_pAccount ? param.m_pAccount->getKey() : std::string();
}

/// The row of the Hong Kong instrument where the market is a connect market, else that of the market itself, else the
/// first row of the same instrument through another market.
SFoundRow findRow(const AccountRows& rows, const std::string& market, const std::string& code, int operation) {
  const QString own = rowKey(market, code, operation);
  QString instrument = own;
  ksservice::replaceMarketToHK(instrument);
  if (CBasketTaskItem* row = rows.value(instrument)) return {row, true, {}};
  if (CBasketTaskItem* row = rows.value(own)) return {row, false, {}};
  for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
    QString key = row.key();
    ksservice::replaceMarketToHK(key);
    if (key == instrument) return {*row, false, {}};
  }
  return {};
}

}  // namespace

CRowFinder::CRowFinder(const SideRows& rows, const std::vector<CCodeOrderParam>& params, ELineAccount account)
    : m_rows(rows), m_params(params), m_account(account) {
  if (params.empty()) return;
  m_strPlaces = accountKey(params.front());
  if (account == ELineAccount::First) return;
  m_bAccounts = std::any_of(params.begin(), params.end(), [&params](const CCodeOrderParam& param) {
    return param.m_pAccount != params.front().m_pAccount && accountKey(param) != accountKey(params.front());
  });
  if (!m_bAccounts) return;
  // Which account an order is of hangs on every line.
  for (const CCodeOrderParam& param : params) {
    for (const std::string& part :
         {accountKey(param), param.m_stock.m_strMarket, param.m_stock.m_strCode, std::to_string(param.m_nOperation)}) {
      m_strPlaces += '\n' + part;
    }
  }
}

SFoundRow CRowFinder::find(const QString& account, const std::string& market, const std::string& code,
                           int operation) const {
  SFoundRow found = findRow(m_rows.value(account), market, code, operation);
  found.account = account;
  return found;
}

SFoundRow CRowFinder::ofLine(const CCodeOrderParam& param) {
  const CCodeOrderParam& owner = m_account == ELineAccount::First ? m_params.front() : param;
  const QString account = QString::fromStdString(accountKey(owner));
  const auto& [market, code, name] = param.m_stock;
  if (m_account == ELineAccount::Each) return find(account, market, code, param.m_nOperation);
  CBasketTaskItem* row = m_rows.value(account).value(rowKey(market, code, param.m_nOperation));
  return {row, row != nullptr, account};
}

SFoundRow CRowFinder::ofOrder(const std::string& market, const std::string& code, int operation,
                              const std::string& mapKey) {
  if (!m_lines) m_lines.emplace(m_params, m_account);
  const std::string account = m_lines->of(orderRowKey(market, code, operation), mapKey).front();
  return find(QString::fromStdString(account), market, code, operation);
}

}  // namespace TC
