#include "docks/CQuotesDock.h"

#include <QVBoxLayout>
#include <map>

#include "docks/OrderRows.h"
#include "ksservice/Enumerations.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace app {
namespace {

using Row = SQuoteRow;
constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;

QString percent(double part) { return QStringLiteral("%1%").arg(part * 100, 0, 'f', 2); }

const QColor* changeColour(const Row& row) {
  if (row.change() == 0) return nullptr;
  return sideColour(row.change() > 0 ? ksservice::EOT_Buy : ksservice::EOT_Sell);
}

QString stateText(const Row& row) {
  if (row.m_bSuspended) return QStringLiteral("停牌");
  const exchange::SQuote& quote = row.m_quote;
  if (!row.m_bKnown || quote.m_dLast <= 0) return {};
  if (quote.m_dLast >= quote.m_dLimitUp) return QStringLiteral("涨停");
  return quote.m_dLast <= quote.m_dLimitDown ? QStringLiteral("跌停") : QString();
}

const std::vector<SRowColumn<Row>>& quoteColumns() {
  static const std::vector<SRowColumn<Row>> columns = {
      {"证券", LEFT, 68, [](const Row& row) { return QString::fromStdString(row.m_strCode); }},
      {"名称", LEFT, 80, [](const Row& row) { return row.m_strName; }},
      {"最新", RIGHT, 72, [](const Row& row) { return priceText(row.m_quote.m_dLast, row.m_strMarket); },
       [](const Row& row) { return row.m_quote.m_dLast; }, changeColour},
      {"涨跌幅", RIGHT, 64, [](const Row& row) { return row.m_bKnown ? percent(row.change()) : QStringLiteral("--"); },
       [](const Row& row) { return row.change(); }, changeColour},
      {"状态", LEFT, 48, stateText},
      {"涨停价", RIGHT, 72, [](const Row& row) { return priceText(row.m_quote.m_dLimitUp, row.m_strMarket); },
       [](const Row& row) { return row.m_quote.m_dLimitUp; }},
      {"跌停价", RIGHT, 72, [](const Row& row) { return priceText(row.m_quote.m_dLimitDown, row.m_strMarket); },
       [](const Row& row) { return row.m_quote.m_dLimitDown; }},
      {"成交量", RIGHT, 92, [](const Row& row) { return QString::number(row.m_quote.m_nVolume); },
       [](const Row& row) { return double(row.m_quote.m_nVolume); }},
      {"本任务成交", RIGHT, 84, [](const Row& row) { return QString::number(row.m_nTraded); },
       [](const Row& row) { return double(row.m_nTraded); }},
      {"占比", RIGHT, 60, [](const Row& row) { return percent(row.share()); },
       [](const Row& row) { return row.share(); }},
  };
  return columns;
}

}  // namespace

double SQuoteRow::change() const {
  return m_bKnown && m_quote.m_dPrevClose > 0 ? m_quote.m_dLast / m_quote.m_dPrevClose - 1 : 0;
}

double SQuoteRow::share() const {
  return m_quote.m_nVolume > 0 ? static_cast<double>(m_nTraded) / static_cast<double>(m_quote.m_nVolume) : 0;
}

CQuotesDock::CQuotesDock(QWidget* parent)
    : CDockContent(parent),
      m_pModel(new CRowsModel<SQuoteRow>(quoteColumns(), false, this)),
      m_pTable(new CRowsTable(m_pModel, this)) {
  m_pTable->setEmptyText(QStringLiteral("在组合任务中选择一行"));
  m_pTable->offer();
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_pTable);
}

void CQuotesDock::attach(const SDockSources& sources) { m_sources = sources; }

void CQuotesDock::choose(const SChosenRow& row) {
  if (m_nTaskId == row.m_nTaskId) return;
  m_nTaskId = row.m_nTaskId;
  clear();
}

void CQuotesDock::clear() {
  m_nListed = -1;
  m_pAnswer.reset();
  m_pModel->begin();
  m_pModel->clear();
  m_pModel->end();
}

/// One row a security, whatever its sides.
void CQuotesDock::list(const STaskCourse& course) {
  std::map<std::string, std::size_t> rows;
  std::vector<SQuoteRow> listed;
  for (const SCourseLine& line : course.m_lines) {
    const std::string key = utils::mavStockKey(line.m_strMarket, line.m_strCode);
    const auto [known, isNew] = rows.try_emplace(key, listed.size());
    if (isNew) {
      const auto info = TC::getExchangeClient().getCodeInfo(line.m_strMarket, line.m_strCode);
      listed.push_back({line.m_strMarket, line.m_strCode, info ? QString::fromStdString(info->m_strName) : QString(),
                        m_sources.m_suspended.contains(key)});
    }
    listed[known->second].m_nTraded += line.m_nTraded;
  }
  const bool same = m_nListed == m_nTaskId && listed.size() == m_pModel->size();
  const auto answer = m_pAnswer ? m_pAnswer->take() : std::nullopt;
  if (answer) m_pAnswer.reset();
  m_pModel->begin();
  if (!same) m_pModel->clear();
  for (std::size_t i = 0; i < listed.size(); ++i) {
    if (!same) {
      m_pModel->add(listed[i]);
      continue;
    }
    const bool answered = answer && answer->size() == listed.size();
    listed[i].m_bKnown = answered || m_pModel->row(i).m_bKnown;
    listed[i].m_quote = answered ? (*answer)[i] : m_pModel->row(i).m_quote;
    m_pModel->set(i, listed[i]);
  }
  m_pModel->end();
  m_nListed = m_nTaskId;
}

void CQuotesDock::ask() {
  if (!m_sources.m_askMarket || m_pAnswer) return;
  InstrumentNames names;
  for (std::size_t i = 0; i < m_pModel->size(); ++i) {
    names.emplace_back(m_pModel->row(i).m_strMarket, m_pModel->row(i).m_strCode);
  }
  m_pAnswer = std::make_shared<CMarketAnswer>();
  m_sources.m_askMarket(names, m_pAnswer);
}

void CQuotesDock::refresh() {
  const auto course = m_nTaskId < 0 ? nullptr : m_sources.m_pBlotter->course(m_nTaskId);
  if (!course) {
    // Tasks of another day are gone.
    if (m_nListed >= 0) clear();
    return;
  }
  list(*course);
  ask();
}

}  // namespace app
