#include "DrillRules.h"

#include <QCryptographicHash>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "SessionSetup.h"
#include "TableDump.h"
#include "gv/CHpfTreeTable.h"
#include "utils/Keys.h"

namespace drill {
namespace {

using Json = nlohmann::json;

constexpr double MONEY_SLACK = 0.02;  ///< CNY, of an order or a row: what is shown or kept is rounded

std::string keyOf(const exchange::SInstrument& listed) { return listed.m_strMarket + "." + listed.m_strCode; }

bool isFuture(const std::string& market) { return exchange::kindOf(market) == exchange::EKind::IndexFuture; }

int columnOf(const GV::CHpfTreeTable& table, const QString& title) {
  const auto* model = table.dataModel();
  for (int column = 0; column < model->columnCount(); ++column) {
    if (model->headerData(column, Qt::Horizontal).toString().trimmed() == title) return column;
  }
  return 0;
}

}  // namespace

std::string instrumentOf(const QString& row) {
  QString name = row.section('/', -1);
  while (!name.isEmpty() && name.back().unicode() > 127) name.chop(1);
  return name.toStdString();
}

std::string orderFault(const SDrillPlan& plan, CDrillEngine& engine) {
  exchange::CExchange& market = engine.simulation().market();
  std::map<std::pair<int, bool>, long long> targets;
  for (const app::SNamedBasket& basket : plan.m_inputs.m_baskets) {
    for (const basket::SBasketLine& line : basket.m_lines) {
      targets[{market.findInstrument(line.m_strMarket, line.m_strCode), line.m_bBuy}] += line.m_nQuantity;
    }
  }
  for (const auto& [side, truth] : engine.line().truth()) {
    const exchange::SInstrument& listed = market.instruments()[static_cast<std::size_t>(side.first)];
    if (listed.m_kind == exchange::EKind::IndexFuture) continue;
    const long long claimed = truth.m_nTraded + truth.m_nOpen;
    if (claimed <= targets[side]) continue;
    return keyOf(listed) + (side.second ? " bought: " : " sold: ") + std::to_string(truth.m_nTraded) + " traded and " +
           std::to_string(truth.m_nOpen) + " in the market, of " + std::to_string(targets[side]);
  }
  return {};
}

std::string accountFault(const SDrillPlan& plan, CDrillEngine& engine) {
  for (const app::SAccountName& name : app::accountNames(plan.m_options)) {
    const auto held = engine.simulation().engine().router().ledger().holdings(name.m_strKey);
    if (!held) continue;
    if (held->m_dCash < 0 || held->m_dFrozen < 0 || held->m_dMargin < 0) return name.m_strKey + " has money below zero";
    for (const auto& [key, position] : held->m_positions) {
      if (position.m_nTotal < 0 || position.m_nFrozen < 0 || position.m_nSellable < 0) {
        return name.m_strKey + " holds less than nothing of " + key;
      }
    }
  }
  return {};
}

SBooks booksOf(CDrillEngine& engine) {
  SBooks books;
  for (const desk::SAccount& account : engine.desk().accounts()) {
    const auto held = engine.simulation().engine().router().ledger().holdings(account.m_pInfo->getKey());
    if (!held || account.m_pInfo->m_nType != 0) continue;
    books.m_dMoney += held->m_dCash + held->m_dFrozen;
    books.m_dFees += held->m_dFees;
    books.m_bFrozen = books.m_bFrozen || held->m_dFrozen != 0;
    for (const auto& entry : held->m_positions) {
      const desk::SPosition& position = entry.second;
      books.m_shares[position.m_strMarket + "." + position.m_strCode] += position.m_nTotal;
      books.m_bFrozen = books.m_bFrozen || position.m_nFrozen != 0;
    }
  }
  return books;
}

std::string booksFault(const SDrillPlan& plan, CDrillEngine& engine, const SBooks& atStart) {
  const SBooks books = booksOf(engine);
  const exchange::CExchange& market = engine.simulation().market();
  SBooks expected = atStart;
  bool open = false;
  for (const auto& [side, truth] : engine.line().truth()) {
    open = open || truth.m_nOpen > 0;
    const exchange::SInstrument& listed = market.instruments()[static_cast<std::size_t>(side.first)];
    if (listed.m_kind == exchange::EKind::IndexFuture) continue;
    const int sign = side.second ? 1 : -1;
    expected.m_shares[keyOf(listed)] += sign * truth.m_nTraded;
    expected.m_dMoney -= sign * truth.m_dAmount + truth.m_dFees;
    expected.m_dFees += truth.m_dFees;
  }
  for (const auto& [key, count] : expected.m_shares) {
    const auto known = books.m_shares.find(key);
    const long long has = known == books.m_shares.end() ? 0 : known->second;
    if (has != count) return "accounts hold " + std::to_string(has) + " of " + key + ", not " + std::to_string(count);
  }
  if (!open && books.m_bFrozen) return "accounts have something frozen, and no order is in the market";
  // A sale that does not bring its fees takes no more than there is.
  if (plan.m_options.m_dCash) return {};
  const double slack = MONEY_SLACK * static_cast<double>(1 + engine.line().orderCount());
  if (std::abs(books.m_dMoney - expected.m_dMoney) > slack || std::abs(books.m_dFees - expected.m_dFees) > slack) {
    return "accounts have " + std::to_string(books.m_dMoney) + " CNY and paid " + std::to_string(books.m_dFees) +
           ", not " + std::to_string(expected.m_dMoney) + " and " + std::to_string(expected.m_dFees);
  }
  return {};
}

// The table

CShownTable::CShownTable(const TC::ITradeDockableWidget& panel, EPlant plant) {
  const GV::CHpfTreeTable& table = *journal::tableOf(panel);
  m_nProgress = columnOf(table, QStringLiteral("进度"));
  m_nAmount = columnOf(table, QStringLiteral("金额"));
  m_nStatus = columnOf(table, QStringLiteral("状态"));
  m_nStart = columnOf(table, QStringLiteral("开始时间"));
  m_nEnd = columnOf(table, QStringLiteral("结束时间"));
  m_nButtons = columnOf(table, QStringLiteral("操作"));
  m_unordered = {columnOf(table, QStringLiteral("账号")), columnOf(table, QStringLiteral("交易类型"))};
  const auto dump = journal::tableDump(panel, "drill");
  m_strDump = dump.dump();
  std::size_t root = 0;
  for (const auto& each : dump["rows"]) {
    SRow row;
    row.m_strPath = each["row"].get<std::string>();
    row.m_nDepth = each["depth"].get<int>();
    row.m_cells = each["cells"].get<std::vector<std::string>>();
    row.m_bHedge = row.m_strPath.find(exchange::FUTURES_MARKET) != std::string::npos;
    if (!m_rows.empty() && row.m_nDepth > m_rows.back().m_nDepth) m_rows.back().m_bLeaf = false;
    if (row.m_nDepth == 0) root = m_rows.size();
    m_rows.push_back(std::move(row));
    if (m_rows.back().m_bHedge) m_rows[root].m_bHedge = true;
  }
  if (plant == EP_TornRow || plant == EP_FalseRow) change(plant == EP_FalseRow);
}

/// The first line shows 100 more as traded; above: so do the nodes that it is in.
void CShownTable::change(bool above) {
  const auto isLine = [](const SRow& row) { return row.m_bLeaf && !row.m_bHedge; };
  const auto line = std::find_if(m_rows.begin(), m_rows.end(), isLine);
  if (line == m_rows.end()) return;
  int depth = line->m_nDepth + 1;
  for (auto row = std::make_reverse_iterator(line + 1); row != m_rows.rend() && depth > 0; ++row) {
    if (row->m_nDepth >= depth) continue;
    depth = row->m_nDepth;
    row->setTraded(m_nProgress, row->progress(m_nProgress).first + 100);
    if (!above) return;
  }
}

std::pair<long long, long long> CShownTable::SRow::progress(int column) const {
  const QStringList parts =
      QString::fromStdString(m_cells[static_cast<std::size_t>(column)]).split(QStringLiteral(" / "));
  return {parts.value(0).toLongLong(), parts.value(1).toLongLong()};
}

void CShownTable::SRow::setTraded(int column, long long traded) {
  std::string& cell = m_cells[static_cast<std::size_t>(column)];
  cell = std::to_string(traded) + " / " + std::to_string(progress(column).second);
}

std::string CShownTable::sumsFault() const {
  for (std::size_t at = 0; at < m_rows.size(); ++at) {
    const SRow& node = m_rows[at];
    if (node.m_bLeaf) continue;
    long long traded = 0;
    long long target = 0;
    double amount = 0;
    int leaves = 0;
    for (std::size_t below = at + 1; below < m_rows.size() && m_rows[below].m_nDepth > node.m_nDepth; ++below) {
      const SRow& row = m_rows[below];
      if (!row.m_bLeaf) continue;
      traded += row.progress(m_nProgress).first;
      target += row.progress(m_nProgress).second;
      // Of the task's amount the hedge's is no part.
      if (node.m_nDepth > 0 || !row.m_bHedge) amount += std::stod(row.m_cells[static_cast<std::size_t>(m_nAmount)]);
      ++leaves;
    }
    const double shown = std::stod(node.m_cells[static_cast<std::size_t>(m_nAmount)]);
    const auto progress = node.progress(m_nProgress);
    if (progress == std::pair(traded, target) && std::abs(shown - amount) <= MONEY_SLACK * (1 + leaves)) continue;
    return node.m_strPath + " shows " + node.m_cells[static_cast<std::size_t>(m_nProgress)] + " and " +
           std::to_string(shown) + " CNY, its rows " + std::to_string(traded) + " / " + std::to_string(target) +
           " and " + std::to_string(amount);
  }
  return {};
}

std::string CShownTable::screenFault(TC::ITradeDockableWidget& panel) const {
  std::multiset<std::string> shown;
  std::multiset<std::string> said;
  for (const SRow& row : m_rows) {
    if (row.m_nDepth == 0) {
      const QByteArray text = panel.explain(std::stoi(row.m_strPath), QString());
      const Json explained = Json::parse(text.toStdString(), nullptr, false);
      if (!explained.is_object()) return "task " + row.m_strPath + " cannot be explained";
      for (const Json& line : explained["lines"]) {
        said.insert(line["market"].get<std::string>() + "." + line["code"].get<std::string>() + " " +
                    std::to_string(line["done"].get<long long>()) + " / " +
                    std::to_string(line["target"].get<long long>()));
      }
    }
    if (!row.m_bLeaf || row.m_bHedge) continue;
    const std::string name = instrumentOf(QString::fromStdString(row.m_strPath));
    const auto [traded, target] = row.progress(m_nProgress);
    shown.insert(name + " " + std::to_string(traded) + " / " + std::to_string(target));
  }
  std::vector<std::string> wrong;
  std::set_symmetric_difference(shown.begin(), shown.end(), said.begin(), said.end(), std::back_inserter(wrong));
  return wrong.empty() ? std::string() : "only one of table and model says " + wrong.front();
}

std::string CShownTable::truthFault(CDrillEngine& engine) const {
  struct SSum {
    long long m_nTraded = 0;
    double m_dAmount = 0;
    int m_nRows = 0;
  };
  std::map<std::string, SSum> shown;
  for (const SRow& row : m_rows) {
    if (!row.m_bLeaf) continue;
    const std::string name = instrumentOf(QString::fromStdString(row.m_strPath));
    SSum& sum = shown[name];
    sum.m_nTraded += row.progress(m_nProgress).first;
    sum.m_dAmount += std::stod(row.m_cells[static_cast<std::size_t>(m_nAmount)]);
    ++sum.m_nRows;
  }
  const exchange::CExchange& market = engine.simulation().market();
  for (const auto& [side, truth] : engine.line().truth()) {
    const exchange::SInstrument& listed = market.instruments()[static_cast<std::size_t>(side.first)];
    if (isFuture(listed.m_strMarket) || truth.m_nTraded == 0) continue;
    const SSum& sum = shown[keyOf(listed)];
    const bool same = sum.m_nTraded == truth.m_nTraded &&
                      std::abs(sum.m_dAmount - truth.m_dAmount) <= MONEY_SLACK * (1 + sum.m_nRows);
    if (same) continue;
    return keyOf(listed) + " shows " + std::to_string(sum.m_nTraded) + " and " + std::to_string(sum.m_dAmount) +
           " CNY, the market traded " + std::to_string(truth.m_nTraded) + " and " + std::to_string(truth.m_dAmount);
  }
  return {};
}

std::string CShownTable::differenceTo(const CShownTable& other) const {
  static const std::set<std::string> PLAIN = {"执行中", "已完成", "已暂停", "已撤销", ""};
  const auto column = [](int number) { return static_cast<std::size_t>(number); };
  const auto told = [&](const SRow& row, const SRow& beside) {
    std::vector<std::string> cells = row.m_cells;
    // Who was there knows the start that was written first, the buttons, and remarks.
    cells[column(m_nStart)].clear();
    cells[column(m_nButtons)].clear();
    const bool plain =
        PLAIN.contains(row.m_cells[column(m_nStatus)]) && PLAIN.contains(beside.m_cells[column(m_nStatus)]);
    // How a hedge stands after an operation, the panel alone knows that saw it, and its root goes by it.
    if (!plain || row.m_bHedge) cells[column(m_nStatus)].clear();
    if (row.m_bHedge) cells[column(m_nEnd)].clear();
    for (const int unordered : m_unordered) {
      QStringList parts = QString::fromStdString(cells[column(unordered)]).split('/');
      parts.sort();
      cells[column(unordered)] = parts.join('/').toStdString();
    }
    return cells;
  };
  std::map<std::string, const SRow*> rows;
  for (const SRow& row : other.m_rows) rows[row.m_strPath] = &row;
  if (rows.size() != m_rows.size()) {
    return std::to_string(m_rows.size()) + " rows, a fresh panel has " + std::to_string(rows.size());
  }
  for (const SRow& row : m_rows) {
    const auto found = rows.find(row.m_strPath);
    if (found == rows.end()) return "a fresh panel has no row " + row.m_strPath;
    const auto mine = told(row, *found->second);
    const auto its = told(*found->second, row);
    if (mine == its) continue;
    const auto at = std::mismatch(mine.begin(), mine.end(), its.begin());
    return row.m_strPath + " shows '" + *at.first + "', a fresh panel '" + *at.second + "'";
  }
  return {};
}

std::string CShownTable::emptyFault() const {
  return m_rows.empty() ? std::string() : std::to_string(m_rows.size()) + " rows of the day before show";
}

std::string CShownTable::hash() const {
  return QCryptographicHash::hash(QByteArray::fromStdString(m_strDump), QCryptographicHash::Sha256)
      .toHex()
      .left(16)
      .toStdString();
}

}  // namespace drill
