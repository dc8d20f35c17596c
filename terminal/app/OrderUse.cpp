#include "OrderUse.h"

#include <algorithm>

namespace app {
namespace {

constexpr std::size_t TIP_LINES = 25;

QString usedText(const engine::SOrderUse& use, const engine::SOrderLimits& limits) {
  QString text = QStringLiteral("每秒 %1/%2 今日 %3/%4")
                     .arg(use.m_nSecond)
                     .arg(limits.m_nPerSecond)
                     .arg(use.m_nDay)
                     .arg(limits.m_nPerDay);
  if (use.m_nDay >= limits.m_nPerDay) text += QStringLiteral(" 已达上限");
  return text;
}

QString columnText(const std::vector<SAccountUse>& accounts, std::size_t from, const engine::SOrderLimits& limits) {
  QString column;
  for (std::size_t i = from; i < std::min(from + TIP_LINES, accounts.size()); ++i) {
    if (i > from) column += QStringLiteral("<br>");
    column +=
        QStringLiteral("%1: %2").arg(accounts[i].m_strDisplayId.toHtmlEscaped(), usedText(accounts[i].m_use, limits));
  }
  return QStringLiteral("<td style='white-space: pre; padding-right: 12px'>%1</td>").arg(column);
}

}  // namespace

void addUse(std::vector<engine::SOrderUse>& since, std::vector<engine::SOrderUse> taken) {
  for (std::size_t i = 0; i < std::min(since.size(), taken.size()); ++i) {
    taken[i].m_nSecond = std::max(taken[i].m_nSecond, since[i].m_nSecond);
  }
  since.swap(taken);
}

QString orderUseText(const std::vector<SAccountUse>& accounts, const engine::SOrderLimits& limits) {
  const auto busiest =
      std::max_element(accounts.begin(), accounts.end(),
                       [](const SAccountUse& a, const SAccountUse& b) { return a.m_use.m_nDay < b.m_use.m_nDay; });
  if (busiest == accounts.end()) return {};
  const QString rest = accounts.size() > 1 ? QStringLiteral(" (共 %1 户)").arg(accounts.size()) : QString();
  return QStringLiteral("报撤 %1: %2%3").arg(busiest->m_strDisplayId, usedText(busiest->m_use, limits), rest);
}

QString orderUseTip(const std::vector<SAccountUse>& accounts, const engine::SOrderLimits& limits) {
  QString columns;
  for (std::size_t from = 0; from < accounts.size(); from += TIP_LINES) columns += columnText(accounts, from, limits);
  return QStringLiteral(
             "<p style='white-space: pre'>各账户的委托与撤单笔数 / 上限 (每秒: 上次显示以来最多的一秒)</p>"
             "<table><tr>%1</tr></table>")
      .arg(columns);
}

}  // namespace app
