#include "docks/Exceptions.h"

#include <algorithm>
#include <utility>

namespace app {

QString exceptionKindText(EExceptionKind kind) {
  static const QString texts[] = {QStringLiteral("废单"),     QStringLiteral("停牌"),     QStringLiteral("涨跌停"),
                                  QStringLiteral("久未成交"), QStringLiteral("对冲偏差"), QStringLiteral("报单限速"),
                                  QStringLiteral("报单上限"), QStringLiteral("行情停滞")};
  return texts[static_cast<int>(kind)];
}

void CExceptions::begin(int now) {
  m_nNow = now;
  ++m_nRound;
}

void CExceptions::report(const std::string& key, SException exception) {
  const auto [found, isNew] = m_kept.try_emplace(key);
  SException& known = found->second.m_exception;
  found->second.m_nRound = m_nRound;
  const bool same = !isNew && known.m_strState == exception.m_strState && known.m_nSize >= exception.m_nSize;
  if (same) exception.m_nSize = known.m_nSize;
  if (same && known.m_strText == exception.m_strText) return;
  exception.m_nTime = same ? known.m_nTime : m_nNow;
  exception.m_bPutAway = same && known.m_bPutAway;
  known = std::move(exception);
  ++m_nVersion;
}

void CExceptions::end() {
  m_nCount = 0;
  for (auto each = m_kept.begin(); each != m_kept.end();) {
    if (each->second.m_nRound != m_nRound) {
      each = m_kept.erase(each);
      ++m_nVersion;
      continue;
    }
    if (!each->second.m_exception.m_bPutAway) ++m_nCount;
    ++each;
  }
}

void CExceptions::clear() {
  m_kept.clear();
  m_nCount = 0;
  ++m_nVersion;
}

void CExceptions::putAway(const std::string& key) {
  const auto found = m_kept.find(key);
  if (found == m_kept.end() || std::exchange(found->second.m_exception.m_bPutAway, true)) return;
  --m_nCount;
  ++m_nVersion;
}

std::vector<std::pair<std::string, SException>> CExceptions::all() const {
  std::vector<std::pair<std::string, SException>> all;
  for (const auto& [key, kept] : m_kept) {
    if (!kept.m_exception.m_bPutAway) all.emplace_back(key, kept.m_exception);
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const auto& a, const auto& b) { return a.second.m_nTime > b.second.m_nTime; });
  return all;
}

}  // namespace app
