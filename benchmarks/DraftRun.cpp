#include "DraftRun.h"

#include <cmath>
#include <string>
#include <unordered_map>

#include "Judge.h"
#include "ShareOut.h"

namespace bench {
namespace {

const QString DRAFT = QStringLiteral("draft");
const QString FLOOR = QStringLiteral("floor");

constexpr int LINES = 5000;
constexpr int ACCOUNTS = 50;
constexpr int POSITIONS = 300;  ///< of an account

/// A basket of shares of every board, bought and sold, with odd rests among the sales.
class CDraftRun {
 public:
  CDraftRun() {
    for (int i = 0; i < LINES; ++i) addLine(i);
    for (int i = 0; i < ACCOUNTS; ++i) addAccount(i);
    m_quantities = draft::quantitiesOf(m_lines, m_market.m_facts, {});
    deal();
  }

  void deal() {
    m_deal = draft::dealOut(m_lines, m_quantities, m_market.m_facts, m_accounts, draft::EDealBy::Ratio, m_ratios);
  }

  void judge() {
    m_quantities = draft::quantitiesOf(m_lines, m_market.m_facts, {});
    m_judgement = draft::judge(m_lines, m_market, m_accounts, m_deal, {});
  }

  /// The parts rounded down, and where they go.
  void dealFloor() {
    draft::SDeal deal;
    deal.m_lines.resize(m_lines.size());
    double ratios = 0;
    for (const double ratio : m_ratios) ratios += ratio;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const int step = m_market.m_facts[i].m_rules.m_nBuyStep;
      for (std::size_t j = 0; j < m_accounts.size(); ++j) {
        const int part = static_cast<int>(std::floor(m_quantities[i] * m_ratios[j] / ratios / step)) * step;
        if (part > 0) deal.m_lines[i].m_parts.push_back({static_cast<int>(j), part});
      }
    }
    m_floor = std::move(deal);
  }

  /// Each line looked up, each part with its fees added up.
  void judgeFloor() {
    std::unordered_map<std::string, int> seen;
    std::vector<double> amounts(m_accounts.size());
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const bool buy = m_lines[i].m_side == draft::ESide::Buy;
      ++seen[m_lines[i].m_strCode];
      for (const draft::SDealPart& part : m_deal.m_lines[i].m_parts) {
        const double amount = part.m_nQuantity * m_market.m_facts[i].price();
        const double fees = exchange::feesOf(m_market.m_fees, exchange::EKind::Share, buy, amount);
        amounts[static_cast<std::size_t>(part.m_nAccount)] += amount + fees;
      }
    }
    if (seen.size() != m_lines.size()) qFatal("the lines of the draft are not all different");
    m_amounts = amounts;
  }

  /// What was dealt out must be all of it, or its time would mean nothing.
  void check() const {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      int rest = m_quantities[i];
      for (const draft::SDealPart& part : m_deal.m_lines[i].m_parts) rest -= part.m_nQuantity;
      if (rest != 0) qFatal("line %d of the draft is not dealt out whole", static_cast<int>(i));
    }
    if (m_judgement.m_totals.m_nOrders < LINES) qFatal("the draft was not judged");
  }

 private:
  void addLine(int index) {
    constexpr int CODES = 1000;
    static const std::vector<std::pair<const char*, const char*>> BOARDS{
        {"SH", "600"}, {"SZ", "000"}, {"SH", "688"}, {"SZ", "300"}, {"BJ", "920"}};
    const auto& [market, prefix] = BOARDS[static_cast<std::size_t>(index / CODES)];
    const bool buy = index % 2 == 0;
    exchange::SInstrument listed;
    listed.m_strMarket = market;
    listed.m_strCode = prefix + std::to_string(CODES + index % CODES).substr(1);
    listed.m_strName = "证券" + listed.m_strCode;
    listed.m_dPrevClose = 3 + index % 199 * 0.7;
    draft::SLine line;
    line.m_strMarket = listed.m_strMarket;
    line.m_strCode = listed.m_strCode;
    line.m_strName = listed.m_strName;
    line.m_side = buy ? draft::ESide::Buy : draft::ESide::Sell;
    line.m_dQuantity = 12000 + index % 97 * 100 + (index % 10 == 1 ? 50 : 0);
    m_lines.push_back(line);
    draft::SMarketFacts facts;
    facts.m_bListed = true;
    facts.m_strName = listed.m_strName;
    facts.m_rules = exchange::rulesOf(listed);
    facts.m_dLast = listed.m_dPrevClose;
    facts.m_dUsualVolume = 1e7;
    m_market.m_facts.push_back(facts);
  }

  void addAccount(int index) {
    constexpr int STEP = 7;
    draft::SAccountFacts account;
    account.m_strKey = account.m_strText = std::to_string(index);
    account.m_dCash = 1e9;
    for (int i = 0; i < POSITIONS; ++i) {
      const draft::SLine& line = m_lines[static_cast<std::size_t>((index + i * STEP) % LINES)];
      account.m_sellable[line.m_strMarket + "." + line.m_strCode] = 30000;
    }
    m_accounts.push_back(account);
    m_ratios.push_back(1 + index % STEP * 0.37);
  }

  std::vector<draft::SLine> m_lines;
  draft::SMarketView m_market;
  std::vector<draft::SAccountFacts> m_accounts;
  std::vector<double> m_ratios;
  std::vector<int> m_quantities;
  draft::SDeal m_deal;
  draft::SDeal m_floor;
  draft::SJudgement m_judgement;
  std::vector<double> m_amounts;
};

}  // namespace

void runDraft(int runs, CReport& report) {
  CDraftRun run;
  CLimit limit;
  const auto add = [&](const QString& name, const QString& subject, const std::function<void()>& work) {
    report.add(name, subject,
               measure(
                   runs, limit, [] {}, work));
  };
  add(work::SHARED_OUT, DRAFT, [&] { run.deal(); });
  add(work::SHARED_OUT, FLOOR, [&] { run.dealFloor(); });
  add(work::PREVIEW, DRAFT, [&] { run.judge(); });
  add(work::PREVIEW, FLOOR, [&] { run.judgeFloor(); });
  run.check();
}

}  // namespace bench
