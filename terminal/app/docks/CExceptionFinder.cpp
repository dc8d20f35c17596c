#include "docks/CExceptionFinder.h"

#include <QStringList>
#include <algorithm>
#include <cstdlib>

#include "docks/RowScope.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace app {
namespace {

/// In which every instrument is looked at once: the desk gets no quotes more often.
constexpr std::size_t QUOTE_ROUNDS = 3;
/// Lines of new tasks that are learnt in one look, so that none takes long.
constexpr std::size_t LINES_AT_ONCE = 30000;
/// A rate that was reached is told for so long, or it would flicker.
constexpr qint64 RATE_SECONDS = 10;

/// A refusal's figures, which differ from order to order, stand behind its reason.
std::string reasonOf(const std::string& message) {
  const std::string reason = message.substr(0, message.find("："));
  return reason.empty() ? "未说明原因" : reason;
}

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

bool isLockedAgainst(int locked, bool buy) { return buy ? locked > 0 : locked < 0; }

/// What a message says beyond its reason: "，需 10.00，可用 5.00"; empty for nothing.
QString figuresOf(const std::string& message, const std::string& reason) {
  if (!message.starts_with(reason)) return {};
  const QString figures = QString::fromStdString(message.substr(reason.size()));
  return figures.startsWith(QStringLiteral("：")) ? QStringLiteral("，") + figures.mid(1) : figures;
}

}  // namespace

QString SExceptionLimits::toText() const {
  return QStringLiteral("%1*%2*%3").arg(m_nWaitMinutes).arg(m_dHedgeOff, 0, 'f', 0).arg(m_nFeedSeconds);
}

void SExceptionLimits::take(const QString& text) {
  const QStringList parts = text.split(QLatin1Char('*'));
  if (parts.size() < 3) return;
  if (parts[0].toInt() > 0) m_nWaitMinutes = parts[0].toInt();
  if (parts[1].toDouble() > 0) m_dHedgeOff = parts[1].toDouble();
  if (parts[2].toInt() > 0) m_nFeedSeconds = parts[2].toInt();
}

void CExceptionFinder::look(qint64 real) {
  const int now = static_cast<int>(m_sources.m_pDesk->now());
  m_exceptions.begin(m_sources.m_bMoments ? 0 : now);
  findOrders(now);
  learnLines();
  findLines();
  findHedges();
  findRates(real);
  findFeed(real);
  m_exceptions.end();
}

/// A moment stands still: nobody looks at it again.
void CExceptionFinder::setLimits(const SExceptionLimits& limits) {
  m_limits = limits;
  if (m_sources.m_bMoments) look(0);
}

QString CExceptionFinder::nameOf(const std::string& market, const std::string& code) const {
  const auto info = m_sources.m_pDesk->codeInfo(market, code);
  return text(code) + (info ? QLatin1Char(' ') + text(info->m_strName) : QString());
}

void CExceptionFinder::findOrders(int now) {
  const SBlotterTroubles troubles = m_sources.m_pBlotter->troubles(now - m_limits.m_nWaitMinutes * 60);
  if (troubles.m_bAnew) {
    m_refused.clear();
    m_learnt.clear();
    m_places.clear();
    m_instruments.clear();
    m_nDetails = 0;
  }
  for (const SBlotterOrder& order : troubles.m_refused) {
    const std::string reason = reasonOf(order.m_pInfo->m_strMessage);
    SGroup& group =
        m_refused[std::to_string(order.m_pDetail->m_nTaskId) + "/" + order.m_pDetail->m_strAccount + "/" + reason];
    group.m_newest = order;
    group.m_strReason = reason;
    ++group.m_nCount;
  }
  for (const auto& [key, group] : m_refused) {
    const ksservice::COrderInfo& info = *group.m_newest.m_pInfo;
    const SBlotterDetail& detail = *group.m_newest.m_pDetail;
    m_exceptions.report("refused/" + key, {EExceptionKind::Refused,
                                           detail.m_nTaskId,
                                           orderRowKey(detail, info),
                                           text(detail.m_strDisplayId),
                                           QStringLiteral("%1：%2 笔，最近 %3")
                                               .arg(text(group.m_strReason))
                                               .arg(group.m_nCount)
                                               .arg(nameOf(info.m_strMarket, info.m_strCode) +
                                                    figuresOf(info.m_strMessage, group.m_strReason)),
                                           {},
                                           group.m_nCount});
  }
  for (const SWaitingOrders& waiting : troubles.m_waiting) {
    const ksservice::COrderInfo& info = *waiting.m_oldest.m_pInfo;
    const SBlotterDetail& detail = *waiting.m_oldest.m_pDetail;
    m_exceptions.report("waiting/" + detail.m_strKey, {EExceptionKind::Waiting,
                                                       detail.m_nTaskId,
                                                       orderRowKey(detail, info),
                                                       text(detail.m_strDisplayId),
                                                       QStringLiteral("%1 笔委托超过 %2 分钟没有成交，最早 %3")
                                                           .arg(waiting.m_nCount)
                                                           .arg(m_limits.m_nWaitMinutes)
                                                           .arg(nameOf(info.m_strMarket, info.m_strCode)),
                                                       {},
                                                       waiting.m_nNewest});
  }
}

void CExceptionFinder::learnLines() {
  const std::vector<ksservice::CTaskDetailPtr> details = m_sources.m_pDesk->taskDetails();
  if (details.size() == m_nDetails) return;
  std::size_t lines = 0;
  for (const ksservice::CTaskDetailPtr& detail : details) {
    if (lines > LINES_AT_ONCE) return;
    if (!detail->m_pCommand || detail->m_pCommand->m_nBasketType == ksservice::ECBT_Hedge) continue;
    if (!m_learnt.insert(detail->getKey()).second) continue;
    auto facts = std::make_shared<SBlotterDetail>();
    facts->m_nTaskId = detail->m_pCommand->m_nTaskId;
    for (const ksservice::CCodeOrderParam& param : detail->m_params) {
      ++lines;
      if (facts->m_strAccount.empty() && param.m_pAccount) facts->m_strAccount = param.m_pAccount->getKey();
      const auto& [market, code, name] = param.m_stock;
      const auto [place, isNew] = m_places.try_emplace(utils::mavStockKey(market, code), m_instruments.size());
      if (isNew) m_instruments.push_back({market, code, {}, m_sources.m_suspended.contains(place->first)});
      // A task's accounts are looked at together.
      std::vector<SLine>& known = m_instruments[place->second].m_lines;
      const bool buy = ksservice::DataHelper::isBuy(param.m_nOperation);
      const auto same = [&](const SLine& line) {
        return line.m_pDetail->m_nTaskId == facts->m_nTaskId && buy == ksservice::DataHelper::isBuy(line.m_nOperation);
      };
      if (std::none_of(known.begin(), known.end(), same)) known.push_back({facts, param.m_nOperation});
    }
  }
  m_nDetails = details.size();
}

void CExceptionFinder::findLines() {
  const std::size_t rounds = m_sources.m_bMoments ? 1 : QUOTE_ROUNDS;
  const std::size_t share = (m_instruments.size() + rounds - 1) / rounds;
  for (std::size_t i = 0; i < share; ++i) {
    SInstrument& each = m_instruments[m_nNextQuote++ % m_instruments.size()];
    TC::CQuote quote;
    each.m_nLocked = 0;
    if (!m_sources.m_pDesk->quote(each.m_strMarket, each.m_strCode, quote)) continue;
    if (quote.m_dLimitUp > 0 && quote.m_dLast >= quote.m_dLimitUp && quote.m_dAsk <= 0) each.m_nLocked = 1;
    if (quote.m_dLimitDown > 0 && quote.m_dLast <= quote.m_dLimitDown && quote.m_dBid <= 0) each.m_nLocked = -1;
  }
  for (const SInstrument& each : m_instruments) {
    if (each.m_bSuspended || each.m_nLocked != 0) tellLines(each);
  }
}

void CExceptionFinder::tellLines(const SInstrument& instrument) {
  for (const SLine& line : instrument.m_lines) {
    const bool buy = ksservice::DataHelper::isBuy(line.m_nOperation);
    if (!instrument.m_bSuspended && !isLockedAgainst(instrument.m_nLocked, buy)) continue;
    const int task = line.m_pDetail->m_nTaskId;
    const std::string& code = instrument.m_strCode;
    const std::int64_t left = m_sources.m_pBlotter->left(task, instrument.m_strMarket, code, buy);
    if (left <= 0) continue;
    ksservice::COrderInfo order;
    order.m_strMarket = instrument.m_strMarket;
    order.m_strCode = code;
    order.m_nOperation = line.m_nOperation;
    const QString what = instrument.m_bSuspended    ? QStringLiteral("停牌")
                         : instrument.m_nLocked > 0 ? QStringLiteral("封死涨停")
                                                    : QStringLiteral("封死跌停");
    m_exceptions.report(
        "line/" + std::to_string(task) + "/" + lineKey(instrument.m_strMarket, code, buy),
        {instrument.m_bSuspended ? EExceptionKind::Suspended : EExceptionKind::LimitLocked, task,
         orderRowKey(*line.m_pDetail, order), nameOf(instrument.m_strMarket, code),
         QStringLiteral("%1，%2 还剩 %3").arg(what, buy ? QStringLiteral("买入") : QStringLiteral("卖出")).arg(left),
         std::to_string(instrument.m_nLocked)});
  }
}

/// A hedge that buys stands below zero. It moves with each fill of its basket: what was put away comes back when it is
/// off by the limit once more, or the other way.
void CExceptionFinder::findHedges() {
  for (const SHedgeLots& lots : m_sources.m_pBlotter->hedges()) {
    const int off = lots.m_nTarget - std::abs(lots.m_nHedged);
    if (off == 0) continue;
    const auto detail = m_sources.m_pBlotter->hedgeInstrument(lots.m_nTaskId);
    TC::CQuote quote;
    if (!m_sources.m_pDesk->quote(detail.first, detail.second, quote)) continue;
    const auto info = m_sources.m_pDesk->codeInfo(detail.first, detail.second);
    const double amount = std::abs(off) * quote.m_dLast * (info ? info->m_dMultiplier : 1);
    if (amount <= m_limits.m_dHedgeOff) continue;
    m_exceptions.report("hedge/" + std::to_string(lots.m_nTaskId),
                        {EExceptionKind::Hedge, lots.m_nTaskId, QString(), nameOf(detail.first, detail.second),
                         QStringLiteral("目标 %1 手，已对冲 %2 手，相差约 %3 万元")
                             .arg(lots.m_nTarget)
                             .arg(std::abs(lots.m_nHedged))
                             .arg(amount / 10000, 0, 'f', 0),
                         off > 0 ? "+" : "-", static_cast<std::int64_t>(amount / m_limits.m_dHedgeOff)});
  }
}

void CExceptionFinder::findRates(qint64 real) {
  if (!m_sources.m_orderUse) return;
  const engine::SOrderLimits& limits = m_sources.m_orderLimits;
  for (const engine::SOrderUse& use : m_sources.m_orderUse()) {
    desk::SAccount account;
    m_sources.m_pDesk->findAccount(use.m_strAccount, account);
    const QString whom = text(account.m_pInfo ? account.m_pInfo->m_strDisplayId : use.m_strAccount);
    if (use.m_nDay >= limits.m_nPerDay) {
      QString words =
          QStringLiteral("今日报撤 %1 笔，已达上限 %2：不再委托，撤单照常").arg(use.m_nDay).arg(limits.m_nPerDay);
      if (use.m_nBeyond > 0) words += QStringLiteral("，其中超出上限的撤单 %1 笔").arg(use.m_nBeyond);
      m_exceptions.report("day/" + use.m_strAccount,
                          {EExceptionKind::DayOver, -1, QString(), whom, words, {}, use.m_nBeyond});
      continue;
    }
    if (use.m_nSecond >= limits.m_nPerSecond) m_held[use.m_strAccount] = real;
    const auto held = m_held.find(use.m_strAccount);
    if (held == m_held.end() || real - held->second > RATE_SECONDS) continue;
    m_exceptions.report("rate/" + use.m_strAccount,
                        {EExceptionKind::Rate,
                         -1,
                         QString(),
                         whom,
                         QStringLiteral("报撤达到每秒 %1 笔的上限，其余委托等待发送").arg(limits.m_nPerSecond),
                         {}});
  }
}

void CExceptionFinder::findFeed(qint64 real) {
  if (!m_sources.m_feedTick) return;
  const std::int64_t tick = m_sources.m_feedTick();
  if (tick != m_nTick) m_nTickMoved = real;
  m_nTick = tick;
  const qint64 still = real - m_nTickMoved;
  if (tick < 0 || still <= m_limits.m_nFeedSeconds) return;
  m_exceptions.report("feed", {EExceptionKind::Feed,
                               -1,
                               QString(),
                               QString(),
                               QStringLiteral("行情推送已停滞 %1 秒，价格可能不是最新").arg(still),
                               {}});
}

}  // namespace app
