#include "CDraft.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Changes.h"
#include "KeptEdits.h"
#include "tc/AlgoParams.h"

namespace preview {
namespace {

constexpr int PRICE_MSEC = 1000;

SDraftLine lineOf(const basket::SReadLine& read) {
  SDraftLine line;
  line.m_strRead = read.m_strText;
  line.m_nOperation = read.m_nOperation;
  line.m_line.m_strMarket = read.m_strMarket;
  line.m_line.m_strCode = read.m_strCode;
  line.m_line.m_strName = read.m_strName;
  if (read.m_bBuy) line.m_line.m_side = *read.m_bBuy ? draft::ESide::Buy : draft::ESide::Sell;
  line.m_line.m_measure = read.m_measure;
  line.m_line.m_dQuantity = read.m_dQuantity;
  line.m_line.m_dPrice = read.m_bPriceUnread ? draft::UNREAD_PRICE : read.m_dPrice.value_or(0);
  line.m_line.m_strFault = read.m_strFault;
  line.m_line.m_nSourceLine = read.m_nLine;
  line.m_original = line.m_line;
  return line;
}

std::vector<draft::SLine> plainLines(const std::vector<SDraftLine>& lines) {
  std::vector<draft::SLine> plain;
  plain.reserve(lines.size());
  for (const SDraftLine& line : lines) plain.push_back(line.m_line);
  return plain;
}

int largestSheet(const basket::SSource& source) {
  const auto smaller = [](const basket::SSheet& a, const basket::SSheet& b) {
    return a.m_rows.size() < b.m_rows.size();
  };
  const auto largest = std::max_element(source.m_sheets.begin(), source.m_sheets.end(), smaller);
  return static_cast<int>(largest - source.m_sheets.begin());
}

/// Participation follows the market's volume: into how many orders nobody knows.
int slicesOf(const STradeParams& trade) {
  TC::SAlgoParams algo;
  const bool known = !trade.m_strAlgo.empty() && TC::SAlgoParams::parse(trade.m_strAlgo, algo).empty();
  return known && algo.m_eAlgorithm != TC::EAlgorithm::POV ? std::max(1, algo.m_nSlices) : 1;
}

/// A column beyond those of the other layout counts for nothing.
void takeRoles(basket::SLayout& layout, const basket::SLayout& other) {
  for (std::size_t i = 0; i < layout.m_columns.size(); ++i) {
    const bool known = i < other.m_columns.size();
    layout.m_columns[i].m_role = known ? other.m_columns[i].m_role : basket::ERole::None;
    if (known) layout.m_columns[i].m_unit = other.m_columns[i].m_unit;
  }
}

}  // namespace

CDraft::CDraft(IDraftHost& host, QObject* parent) : QObject(parent), m_host(host), m_futures(host.hedgeFutures()) {
  m_priceTimer.setInterval(PRICE_MSEC);
  connect(&m_priceTimer, &QTimer::timeout, this, [this] {
    // The answer has everything judged anew, cash and positions, too.
    askPrices();
  });
  m_accounts = m_host.accounts();
  if (!m_accounts.empty()) m_state.m_deal.m_ratios[m_accounts.front().m_strKey] = 1;
  judgeAll();
}

void CDraft::restore(const SDraftState& state) {
  m_state = state;
  // What stands there is another draft's.
  m_source = {};
  m_otherSheets.clear();
  m_leftOut.clear();
  changed(true);
  Q_EMIT sigSourceChanged();
}

void CDraft::setSource(basket::SSource source, bool again) {
  if (source.m_sheets.empty()) return;
  const int sheets = static_cast<int>(source.m_sheets.size());
  m_source = std::move(source);
  if (!again || m_state.m_nSheet >= sheets) m_state.m_nSheet = largestSheet(m_source);
  const basket::SLayout before = std::exchange(m_state.m_layout, layoutOf(sheet()));
  if (again && before.key() == m_state.m_layout.key()) takeRoles(m_state.m_layout, before);
  if (!again) m_otherSheets.clear();
  const std::vector<SDraftLine> lines = m_state.m_lines;
  readAgain(again ? &lines : nullptr);
}

/// Where its titles stand is the sheet's own; what the user chose for such titles goes before the guess.
basket::SLayout CDraft::layoutOf(const basket::SSheet& sheet) const {
  basket::SLayout layout = basket::guessLayout(sheet, m_host.securities());
  const auto chosen = m_chosenLayout ? m_chosenLayout(layout.key()) : std::nullopt;
  if (chosen) takeRoles(layout, *chosen);
  return layout;
}

void CDraft::readAgain(const std::vector<SDraftLine>* before) {
  basket::SReadBasket read = basket::readLines(sheet(), m_state.m_layout, m_host.securities());
  m_leftOut = std::move(read.m_leftOut);
  std::vector<SDraftLine> lines;
  lines.reserve(read.m_lines.size());
  for (const basket::SReadLine& line : read.m_lines) lines.push_back(lineOf(line));
  m_nGone = 0;
  if (before) {
    keepEdits(*before, lines);
    const draft::SChanges changes = draft::changesOf(plainLines(*before), plainLines(lines));
    m_nGone = static_cast<int>(changes.m_gone.size());
    for (std::size_t i = 0; i < lines.size(); ++i) lines[i].m_strChange = QString::fromStdString(changes.m_marks[i]);
  }
  m_state.m_lines = std::move(lines);
  changed(true);
  Q_EMIT sigSourceChanged();
}

std::vector<basket::SLeftOut> CDraft::append(const basket::SSource& source) {
  std::vector<basket::SLeftOut> leftOut;
  for (const basket::SSheet& added : source.m_sheets) {
    const basket::SReadBasket read = basket::readLines(added, layoutOf(added), m_host.securities());
    leftOut.insert(leftOut.end(), read.m_leftOut.begin(), read.m_leftOut.end());
    for (const basket::SReadLine& line : read.m_lines) {
      m_state.m_lines.push_back(lineOf(line));
      // Of another source than the one that can be read again.
      m_state.m_lines.back().m_strRead.clear();
      m_state.m_lines.back().m_bEdited = true;
      m_state.m_lines.back().m_line.m_nSourceLine = 0;
    }
  }
  changed(true);
  return leftOut;
}

void CDraft::setSheet(int sheetIndex) {
  if (!hasSource() || sheetIndex == m_state.m_nSheet) return;
  m_otherSheets[m_state.m_nSheet] = m_state.m_lines;
  m_state.m_nSheet = sheetIndex;
  m_state.m_layout = layoutOf(sheet());
  const auto known = m_otherSheets.find(sheetIndex);
  readAgain(known == m_otherSheets.end() ? nullptr : &known->second);
}

void CDraft::setRole(int column, basket::ERole role) {
  if (!hasSource() || column < 0 || column >= static_cast<int>(m_state.m_layout.m_columns.size())) return;
  std::vector<basket::SColumn>& columns = m_state.m_layout.m_columns;
  for (basket::SColumn& each : columns) {
    // Of each but what counts for nothing there is one.
    if (each.m_role == role) each.m_role = basket::ERole::None;
  }
  columns[static_cast<std::size_t>(column)].m_role = role;
  const std::vector<SDraftLine> before = m_state.m_lines;
  readAgain(&before);
}

void CDraft::useRolesOf(const basket::SLayout& layout) {
  if (!hasSource()) return;
  takeRoles(m_state.m_layout, layout);
  const std::vector<SDraftLine> before = m_state.m_lines;
  readAgain(&before);
}

void CDraft::setName(const QString& name) {
  if (std::exchange(m_state.m_strName, name) != name) changed(false);
}

void CDraft::setLine(int index, const draft::SLine& line) {
  SDraftLine& own = m_state.m_lines[static_cast<std::size_t>(index)];
  const bool otherSide = own.m_line.m_side != line.m_side;
  own.m_line = line;
  own.m_line.m_strFault.clear();
  own.m_bEdited = true;
  if (otherSide) own.m_nOperation = ksservice::EOT_None;
  findSecurity(index);
  changed(false);
}

void CDraft::setChecked(const std::vector<int>& indices, bool checked) {
  for (const int index : indices) m_state.m_lines[static_cast<std::size_t>(index)].m_line.m_bChecked = checked;
  changed(false);
}

int CDraft::addLine() {
  SDraftLine line;
  line.m_bEdited = true;
  line.m_line.m_side = draft::ESide::Buy;
  m_state.m_lines.push_back(line);
  changed(true);
  return static_cast<int>(m_state.m_lines.size()) - 1;
}

void CDraft::removeLines(const std::vector<int>& indices) {
  const std::set<int> gone(indices.begin(), indices.end());
  std::vector<SDraftLine> kept;
  for (std::size_t i = 0; i < m_state.m_lines.size(); ++i) {
    if (!gone.contains(static_cast<int>(i))) kept.push_back(std::move(m_state.m_lines[i]));
  }
  m_state.m_lines = std::move(kept);
  changed(true);
}

void CDraft::mergeTwice() {
  m_state.m_lines = mergedLines(m_state.m_lines);
  changed(true);
}

void CDraft::uncheckErrors() {
  std::vector<int> wrong;
  for (std::size_t i = 0; i < m_judgement.m_findings.size(); ++i) {
    const auto& findings = m_judgement.m_findings[i];
    if (!findings.empty() && findings.front().m_level == draft::ELevel::Error) wrong.push_back(static_cast<int>(i));
  }
  setChecked(wrong, false);
}

void CDraft::setCode(int index, const QString& text) {
  draft::SLine line = m_state.m_lines[static_cast<std::size_t>(index)].m_line;
  basket::SSheet typed;
  typed.m_rows.resize(1);
  typed.m_rows.front().m_nLine = 1;
  typed.m_rows.front().m_cells = {text.trimmed().toStdString()};
  const basket::SLayout layout{-1, {{std::string(), basket::ERole::Code, basket::EUnit::One, {}}}};
  const basket::SReadBasket read = basket::readLines(typed, layout, m_host.securities());
  line.m_strMarket = read.m_lines.empty() ? std::string() : read.m_lines.front().m_strMarket;
  line.m_strCode = read.m_lines.empty() ? typed.m_rows.front().m_cells.front() : read.m_lines.front().m_strCode;
  // It was the name of what stood there before.
  line.m_strName.clear();
  setLine(index, line);
}

void CDraft::chooseSecurity(int index, int security) {
  draft::SLine line = m_state.m_lines[static_cast<std::size_t>(index)].m_line;
  const basket::SSecurity& listed = m_host.securities()[security];
  line.m_strMarket = listed.m_strMarket;
  line.m_strCode = listed.m_strCode;
  line.m_strName = listed.m_strName;
  setLine(index, line);
}

void CDraft::setSizing(const draft::SSizing& sizing) {
  m_state.m_sizing = sizing;
  changed(false);
}

void CDraft::setDeal(const SDealChoice& deal) {
  m_state.m_deal = deal;
  changed(false);
}

void CDraft::setTrade(const STradeParams& trade) {
  if (m_state.m_trade == trade) return;
  m_state.m_trade = trade;
  changed(false);
}

void CDraft::setHedge(const SHedgeChoice& hedge) {
  if (m_state.m_hedge == hedge) return;
  m_state.m_hedge = hedge;
  changed(false);
}

void CDraft::setLimits(const draft::SLimits& limits) {
  m_state.m_limits = limits;
  changed(false);
}

/// The lines may have been edited meanwhile.
void CDraft::changed(bool reset) {
  if (reset) {
    findSecurities();
    askPrices();
  }
  judgeAll();
  if (reset) Q_EMIT sigLinesReset();
  Q_EMIT sigEdited();
}

void CDraft::findSecurities() {
  m_securities.assign(m_state.m_lines.size(), -1);
  m_market.m_facts.assign(m_state.m_lines.size(), {});
  for (std::size_t i = 0; i < m_state.m_lines.size(); ++i) findSecurity(static_cast<int>(i));
}

void CDraft::findSecurity(int index) {
  const auto at = static_cast<std::size_t>(index);
  SDraftLine& line = m_state.m_lines[at];
  const int security = m_host.securities().find(line.m_line.m_strMarket, line.m_line.m_strCode);
  m_securities[at] = security;
  draft::SMarketFacts& facts = m_market.m_facts[at];
  facts = security < 0 ? draft::SMarketFacts() : m_host.listed(security);
  const auto known = m_prices.find(security);
  if (known == m_prices.end()) return;
  // Without one the previous close stays: a line without a price would cost nothing.
  if (known->second.m_dLast > 0) facts.m_dLast = known->second.m_dLast;
  facts.m_dBid = known->second.m_dBid;
  facts.m_dAsk = known->second.m_dAsk;
}

std::vector<double> CDraft::ratios() const {
  std::vector<double> ratios;
  for (const draft::SAccountFacts& account : m_accounts) {
    const auto found = m_state.m_deal.m_ratios.find(account.m_strKey);
    ratios.push_back(found == m_state.m_deal.m_ratios.end() ? 0 : found->second);
  }
  return ratios;
}

void CDraft::judgeAll() {
  m_accounts = m_host.accounts();
  m_rates = m_host.rates();
  m_market.m_fees = m_host.fees();
  m_market.m_nSlices = slicesOf(m_state.m_trade);
  m_lines = plainLines(m_state.m_lines);
  for (std::size_t i = 0; i < m_lines.size(); ++i) {
    draft::SMarketFacts& facts = m_market.m_facts[i];
    facts.m_dFrozenAt = facts.m_bListed ? m_host.frozenAt(m_lines[i], facts, m_state.m_trade) : 0;
  }
  double missed = 0;
  const std::vector<int> quantities = draft::quantitiesOf(m_lines, m_market.m_facts, m_state.m_sizing, &missed);
  const std::vector<double> given = ratios();
  // Nobody who was chosen means nobody, also where accounts would tell their shares themselves.
  const bool nobody = std::all_of(given.begin(), given.end(), [](double ratio) { return ratio <= 0; });
  const draft::EDealBy by = nobody ? draft::EDealBy::Ratio : m_state.m_deal.m_by;
  m_dealt = draft::dealOut(m_lines, quantities, m_market.m_facts, m_accounts, by, given);
  m_dealt.m_dMissed = missed;
  m_judgement = draft::judge(m_lines, m_market, m_accounts, m_dealt, m_state.m_limits);
  m_accountAmounts.assign(m_accounts.size(), 0);
  for (std::size_t i = 0; i < m_dealt.m_lines.size(); ++i) {
    const double price = m_market.m_facts[i].price() * m_market.m_facts[i].m_nMultiplier;
    for (const draft::SDealPart& part : m_dealt.m_lines[i].m_parts) {
      m_accountAmounts[static_cast<std::size_t>(part.m_nAccount)] += part.m_nQuantity * price;
    }
  }
  Q_EMIT sigJudged();
}

void CDraft::setWatched(bool watched) {
  if (!watched) return m_priceTimer.stop();
  m_priceTimer.start();
  askPrices();
}

/// One question at a time: a slow answer must not make them pile up.
void CDraft::askPrices() {
  std::set<int> wanted(m_securities.begin(), m_securities.end());
  wanted.erase(-1);
  if (m_bAsked || wanted.empty()) return;
  m_bAsked = true;
  std::vector<int> securities(wanted.begin(), wanted.end());
  m_host.askPrices(securities, [self = QPointer<CDraft>(this), securities](const std::vector<SPrices>& prices) {
    if (self) self->takePrices(securities, prices);
  });
}

void CDraft::takePrices(const std::vector<int>& securities, const std::vector<SPrices>& prices) {
  m_bAsked = false;
  for (std::size_t i = 0; i < securities.size() && i < prices.size(); ++i) m_prices[securities[i]] = prices[i];
  for (std::size_t i = 0; i < m_securities.size(); ++i) findSecurity(static_cast<int>(i));
  judgeAll();
}

}  // namespace preview
