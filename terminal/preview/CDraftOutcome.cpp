// What comes of a draft: amounts, words, what is sent.
#include <algorithm>

#include "CDraft.h"
#include "SentLines.h"
#include "Sentence.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/AlgoParams.h"

namespace preview {
namespace {

constexpr std::size_t MOST_CANDIDATES = 8;

/// Lines that go out, and those of them with a limit of their own.
struct SSentCounts {
  int m_nLines = 0;
  int m_nLimited = 0;
};

SSentCounts countsOf(const std::vector<draft::SLine>& lines, const draft::SDeal& deal) {
  SSentCounts counts;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (deal.m_lines[i].m_parts.empty()) continue;
    ++counts.m_nLines;
    counts.m_nLimited += lines[i].m_dPrice > 0;
  }
  return counts;
}

/// "TWAP 09:30:00 至 14:57:00，3 行的限价不起作用".
QString algoText(const TC::SAlgoParams& algo, int limited) {
  QString text = QStringLiteral("%1 %2 至 %3")
                     .arg(QLatin1String(TC::algorithmName(algo.m_eAlgorithm)),
                          QString::fromStdString(TC::formatSecondOfDay(algo.m_nStart)),
                          QString::fromStdString(TC::formatSecondOfDay(algo.m_nEnd)));
  if (algo.m_dLimit > 0)
    text += QStringLiteral("，限价 %1").arg(QString::fromStdString(TC::formatFixed(algo.m_dLimit)));
  // An algorithm forms the prices of its orders itself.
  return limited > 0 ? text + QStringLiteral("，%1 行的限价不起作用").arg(limited) : text;
}

/// "对手价，让 2 跳"; a market price goes by no offset.
QString typeText(const STradeParams& trade) {
  QString price = ksservice::CEnumsDataHelper::priceTypeToFormatString(trade.m_nPriceType);
  if (trade.m_nOffsetTicks == 0 || ksservice::isRealMarketPrice(trade.m_nPriceType)) return price;
  return QStringLiteral("%1，%2 %3 跳")
      .arg(price, trade.m_nOffsetTicks > 0 ? QStringLiteral("让") : QStringLiteral("挂远"))
      .arg(std::abs(trade.m_nOffsetTicks));
}

QString tradeText(const STradeParams& trade, const SSentCounts& counts) {
  TC::SAlgoParams algo;
  if (!trade.m_strAlgo.empty() && TC::SAlgoParams::parse(trade.m_strAlgo, algo).empty()) {
    return QStringLiteral("；") + algoText(algo, counts.m_nLimited);
  }
  if (counts.m_nLimited == 0) return QStringLiteral("；") + typeText(trade);
  if (counts.m_nLimited == counts.m_nLines) return QStringLiteral("；按各行限价");
  return QStringLiteral("；%1 行按各行限价，其余%2").arg(counts.m_nLimited).arg(typeText(trade));
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
  const std::string& future = m_state.m_hedge.m_strCode;
  if (m_state.m_hedge.m_bEnabled && std::find(m_futures.begin(), m_futures.end(), future) == m_futures.end()) {
    return QStringLiteral("对冲合约“%1”不在可选的合约里：请另选").arg(QString::fromStdString(future));
  }
  if (m_state.m_strName.trimmed().isEmpty()) return QStringLiteral("篮子名称不能为空");
  return {};
}

/// Of a draft that was made where there were other accounts.
QString CDraft::missingText() const {
  const auto isHere = [this](const std::string& key) {
    return std::any_of(m_accounts.begin(), m_accounts.end(),
                       [&key](const draft::SAccountFacts& each) { return each.m_strKey == key; });
  };
  const auto missing = std::count_if(m_state.m_deal.m_ratios.begin(), m_state.m_deal.m_ratios.end(),
                                     [&isHere](const auto& each) { return !isHere(each.first); });
  if (missing == 0) return {};
  return QStringLiteral("；分配里有 %1 个账户不在此终端，它的份额归其余账户").arg(missing);
}

QString CDraft::sentence() const {
  // A schedule takes as long as it says.
  const int perSecond = m_state.m_trade.m_strAlgo.empty() ? m_rates.m_nSecondLimit : 0;
  const std::string text = draft::sentence(m_lines, m_market, m_accounts, m_dealt, m_judgement,
                                           {perSecond, m_rates.m_nDayLimit, m_rates.m_sentToday});
  return QString::fromStdString(text) + tradeText(m_state.m_trade, countsOf(m_lines, m_dealt)) +
         hedgeText(m_state.m_hedge) + missingText();
}

SSentBasket CDraft::toSend() const { return sentBasket(m_state, m_market, m_accounts, m_dealt); }

}  // namespace preview
