// What comes of a draft: amounts, words, what is sent.
#include <algorithm>

#include "CDraft.h"
#include "SentLines.h"
#include "Sentence.h"
#include "ksservice/Operations.h"
#include "tc/AlgoParams.h"

namespace preview {
namespace {

constexpr std::size_t MOST_CANDIDATES = 8;

/// "；对手价，让 2 跳", "；TWAP 09:30:00 至 14:57:00".
QString tradeText(const STradeParams& trade) {
  TC::SAlgoParams algo;
  if (!trade.m_strAlgo.empty() && TC::SAlgoParams::parse(trade.m_strAlgo, algo).empty()) {
    return QStringLiteral("；%1 %2 至 %3")
        .arg(QLatin1String(TC::algorithmName(algo.m_eAlgorithm)),
             QString::fromStdString(TC::formatSecondOfDay(algo.m_nStart)),
             QString::fromStdString(TC::formatSecondOfDay(algo.m_nEnd)));
  }
  const QString price = ksservice::CEnumsDataHelper::priceTypeToFormatString(trade.m_nPriceType);
  if (trade.m_nOffsetTicks == 0) return QStringLiteral("；") + price;
  return QStringLiteral("；%1，%2 %3 跳")
      .arg(price, trade.m_nOffsetTicks > 0 ? QStringLiteral("让") : QStringLiteral("挂远"))
      .arg(std::abs(trade.m_nOffsetTicks));
}

QString hedgeText(const SHedgeChoice& hedge) {
  if (!hedge.m_bEnabled) return {};
  return QStringLiteral("；用 %1 对冲，比例 %2").arg(QString::fromStdString(hedge.m_strCode)).arg(hedge.m_dRatio);
}

}  // namespace

double CDraft::amountOf(int line) const {
  const auto at = static_cast<std::size_t>(line);
  return m_dealt.m_lines[at].m_nQuantity * m_market.m_facts[at].price() * m_market.m_facts[at].m_nMultiplier;
}

int CDraft::sentToday(const std::string& account) const {
  const auto sent = m_rates.m_sentToday.find(account);
  return sent == m_rates.m_sentToday.end() ? 0 : sent->second;
}

const std::vector<int>& CDraft::candidates(int line) const {
  static const std::vector<int> none;
  const draft::SLine& own = m_state.m_lines[static_cast<std::size_t>(line)].m_line;
  if (securityOf(line) >= 0 || (own.m_strCode.empty() && own.m_strName.empty())) return none;
  const auto [found, added] = m_candidates.try_emplace(own.m_strCode + '\n' + own.m_strName);
  if (added) found->second = m_host.securities().nearest(own.m_strCode, own.m_strName, MOST_CANDIDATES);
  return found->second;
}

QString CDraft::securityText(int security) const {
  const basket::SSecurity& listed = m_host.securities()[security];
  return QString::fromStdString(listed.m_strMarket + '.' + listed.m_strCode + ' ' + listed.m_strName);
}

bool CDraft::hasWeights() const {
  return std::any_of(m_lines.begin(), m_lines.end(),
                     [](const draft::SLine& line) { return line.m_measure == basket::EMeasure::Weight; });
}

QString CDraft::refusal() const {
  const draft::STotals& totals = m_judgement.m_totals;
  if (totals.m_nErrors > 0) return QStringLiteral("%1 行有错误：改正或取消勾选后才能发送").arg(totals.m_nErrors);
  for (const draft::SFinding& finding : m_judgement.m_ofBasket) {
    if (finding.m_level == draft::ELevel::Error) return QString::fromStdString(finding.m_strText);
  }
  // Lines that come to no order are no basket.
  if (totals.m_nOrders == 0) return QStringLiteral("没有可发送的行");
  if (m_state.m_strName.trimmed().isEmpty()) return QStringLiteral("篮子名称不能为空");
  return {};
}

QString CDraft::sentence() const {
  const std::string text = draft::sentence(m_lines, m_market, m_accounts, m_dealt, m_judgement,
                                           {m_rates.m_nSecondLimit, m_rates.m_nDayLimit, m_rates.m_sentToday});
  return QString::fromStdString(text) + tradeText(m_state.m_trade) + hedgeText(m_state.m_hedge);
}

SSentBasket CDraft::toSend() const { return sentBasket(m_state, m_market, m_accounts, m_dealt); }

}  // namespace preview
