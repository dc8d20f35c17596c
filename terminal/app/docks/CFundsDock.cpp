#include "docks/CFundsDock.h"

#include <QComboBox>
#include <QSplitter>
#include <QVBoxLayout>
#include <set>

#include "docks/OrderRows.h"
#include "gv/Scaling.h"
#include "ksservice/Enumerations.h"
#include "tc/TaskEvents.h"

namespace app {
namespace {

constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;
constexpr int CONTROL_HEIGHT = 22;  // pixels at scale 1
constexpr int SCOPE_CHOSEN = 1;
/// Separates the parts of the parameter text; a table's part holds none.
constexpr QLatin1Char SEPARATOR('*');

QString money(double cny) { return QString::number(cny, 'f', 2); }

const QColor* resultColour(double result) {
  if (result == 0) return nullptr;
  return sideColour(result > 0 ? ksservice::EOT_Buy : ksservice::EOT_Sell);
}

const std::vector<SRowColumn<SFundsRow>>& fundsColumns() {
  using Row = SFundsRow;
  static const std::vector<SRowColumn<Row>> columns = {
      {"账号", LEFT, 80, [](const Row& row) { return row.m_strDisplayId; }},
      {"可用资金", RIGHT, 116, [](const Row& row) { return money(row.m_pHoldings->m_dCash); },
       [](const Row& row) { return row.m_pHoldings->m_dCash; }},
      {"冻结", RIGHT, 108, [](const Row& row) { return money(row.m_pHoldings->m_dFrozen); },
       [](const Row& row) { return row.m_pHoldings->m_dFrozen; }},
      {"市值", RIGHT, 116, [](const Row& row) { return money(row.m_dValue); },
       [](const Row& row) { return row.m_dValue; }},
      {"手续费", RIGHT, 92, [](const Row& row) { return money(row.m_pHoldings->m_dFees); },
       [](const Row& row) { return row.m_pHoldings->m_dFees; }},
      {"保证金", RIGHT, 108, [](const Row& row) { return money(row.m_pHoldings->m_dMargin); },
       [](const Row& row) { return row.m_pHoldings->m_dMargin; }},
      {"平仓盈亏", RIGHT, 100, [](const Row& row) { return money(row.m_pHoldings->m_dRealised); },
       [](const Row& row) { return row.m_pHoldings->m_dRealised; },
       [](const Row& row) { return resultColour(row.m_pHoldings->m_dRealised); }},
      {"待买所需", RIGHT, 116, [](const Row& row) { return money(row.m_need.m_dBuys); },
       [](const Row& row) { return row.m_need.m_dBuys; },
       [](const Row& row) {
         return row.m_need.m_dBuys > row.m_pHoldings->m_dCash
                    ? GV::CUiResource::getColor(QStringLiteral("clr_btn_style_3"))
                    : nullptr;
       }},
      {"待卖市值", RIGHT, 116, [](const Row& row) { return money(row.m_need.m_dSells); },
       [](const Row& row) { return row.m_need.m_dSells; }},
  };
  return columns;
}

const std::vector<SRowColumn<SPositionRow>>& positionColumns() {
  using Row = SPositionRow;
  static const std::vector<SRowColumn<Row>> columns = {
      {"账号", LEFT, 80, [](const Row& row) { return row.m_strDisplayId; }},
      {"证券", LEFT, 68, [](const Row& row) { return QString::fromStdString(row.m_position.m_strCode); }},
      {"名称", LEFT, 80, [](const Row& row) { return row.m_strName; }},
      {"方向", LEFT, 44,
       [](const Row& row) { return row.m_position.m_bShort ? QStringLiteral("空") : QStringLiteral("多"); }},
      {"持仓", RIGHT, 76, [](const Row& row) { return QString::number(row.m_position.m_nTotal); },
       [](const Row& row) { return double(row.m_position.m_nTotal); }},
      {"今买", RIGHT, 76, [](const Row& row) { return QString::number(row.m_position.m_nBoughtToday); },
       [](const Row& row) { return double(row.m_position.m_nBoughtToday); }},
      {"可卖", RIGHT, 76, [](const Row& row) { return QString::number(row.m_position.m_nSellable); },
       [](const Row& row) { return double(row.m_position.m_nSellable); }},
      {"冻结", RIGHT, 76, [](const Row& row) { return QString::number(row.m_position.m_nFrozen); },
       [](const Row& row) { return double(row.m_position.m_nFrozen); }},
      {"成本", RIGHT, 108, [](const Row& row) { return money(row.m_position.m_dCost); },
       [](const Row& row) { return row.m_position.m_dCost; }},
      {"最新", RIGHT, 72, [](const Row& row) { return priceText(row.m_dLast, row.m_position.m_strMarket); },
       [](const Row& row) { return row.m_dLast; }},
      {"盈亏", RIGHT, 100, [](const Row& row) { return row.m_dLast > 0 ? money(row.result()) : QStringLiteral("--"); },
       [](const Row& row) { return row.result(); }, [](const Row& row) { return resultColour(row.result()); }},
  };
  return columns;
}

}  // namespace

double SPositionRow::result() const {
  if (m_dLast <= 0) return 0;
  return m_position.m_bShort ? m_position.m_dCost - value() : value() - m_position.m_dCost;
}

CFundsDock::CFundsDock(QWidget* parent)
    : CDockContent(parent),
      m_pFunds(new CRowsModel<SFundsRow>(fundsColumns(), false, this)),
      m_pPositions(new CRowsModel<SPositionRow>(positionColumns(), false, this)),
      m_pFundsTable(new CRowsTable(m_pFunds, this)),
      m_pPositionTable(new CRowsTable(m_pPositions, this)),
      m_pScope(new QComboBox(this)) {
  m_pFundsTable->setEmptyText(QStringLiteral("没有账户的资金"));
  m_pPositionTable->setEmptyText(QStringLiteral("没有持仓"));
  m_pScope->addItems({QStringLiteral("全部账户"), QStringLiteral("所选行的账户")});
  GV::setScaledFixedHeight(*m_pScope, CONTROL_HEIGHT);
  auto* splitter = new QSplitter(Qt::Vertical, this);
  splitter->setChildrenCollapsible(false);
  for (CRowsTable* table : {m_pFundsTable, m_pPositionTable}) {
    table->offer();
    splitter->addWidget(table);
  }
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({1, 2});
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(m_pScope, 0, Qt::AlignLeft);
  layout->addWidget(splitter, 1);
  connect(m_pScope, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { applyScope(); });
}

void CFundsDock::attach(const SDockSources& sources) {
  m_sources = sources;
  m_needs = {};
  if (m_sources.m_pDesk) return;
  m_pFunds->replace({});
  m_pPositions->replace({});
}

void CFundsDock::choose(const SChosenRow& row) {
  m_chosen = row;
  applyScope();
}

/// A row names its account among the levels of its key; one that names none stands for all of its task.
void CFundsDock::applyScope() {
  std::set<QString> ids;
  if (m_pScope->currentIndex() == SCOPE_CHOSEN && m_chosen.m_nTaskId >= 0 && m_sources.m_pDesk) {
    const QStringList levels = m_chosen.m_strNode.mid(TC::taskKey(m_chosen.m_nTaskId).size()).split(QLatin1Char('-'));
    std::set<QString> all;
    for (const ksservice::CTaskDetailPtr& detail : m_sources.m_pDesk->taskDetails()) {
      if (!detail->m_pCommand || detail->m_pCommand->m_nTaskId != m_chosen.m_nTaskId || detail->m_params.empty())
        continue;
      const auto& account = detail->m_params[0].m_pAccount;
      if (!account) continue;
      const QString id = QString::fromStdString(account->m_strDisplayId);
      all.insert(id);
      if (levels.contains(id) || levels.contains(id + QLatin1Char('@') + QString::fromStdString(account->getKey()))) {
        ids.insert(id);
      }
    }
    if (ids.empty()) ids = all;
  }
  m_pFunds->setFilter([ids](const SFundsRow& row) { return ids.empty() || ids.contains(row.m_strDisplayId); });
  m_pPositions->setFilter([ids](const SPositionRow& row) { return ids.empty() || ids.contains(row.m_strDisplayId); });
}

CFundsDock::SFound CFundsDock::find() {
  const desk::CDesk& desk = *m_sources.m_pDesk;
  const auto needs = m_needs.of(desk, *m_sources.m_pBlotter, m_sources.m_fees);
  SFound found;
  for (const desk::SAccount& account : desk.accounts()) {
    const std::string& key = account.m_pInfo->getKey();
    const auto holdings = desk.holdings(key);
    if (!holdings) continue;
    const QString id = QString::fromStdString(account.m_pInfo->m_strDisplayId);
    const auto need = needs.find(key);
    SFundsRow funds{key, id, holdings, 0, need == needs.end() ? SBasketNeed() : need->second};
    for (const auto& [name, position] : holdings->m_positions) {
      SPositionRow row{id, {}, position};
      TC::CQuote quote;
      if (desk.quote(position.m_strMarket, position.m_strCode, quote)) row.m_dLast = quote.m_dLast;
      if (const auto info = desk.codeInfo(position.m_strMarket, position.m_strCode)) {
        row.m_strName = QString::fromStdString(info->m_strName);
        row.m_dMultiplier = info->m_dMultiplier > 0 ? info->m_dMultiplier : 1;
      }
      // What a future is worth is not in the account, its margin is.
      if (exchange::kindOf(position.m_strMarket) == exchange::EKind::Share) funds.m_dValue += row.value();
      found.m_positions.emplace_back(std::string(key).append("/").append(name), std::move(row));
    }
    found.m_funds.emplace_back(key, std::move(funds));
  }
  return found;
}

void CFundsDock::refresh() {
  SFound found = find();
  m_pFundsTable->holding([&] { m_pFunds->replace(std::move(found.m_funds)); });
  m_pPositionTable->holding([&] { m_pPositions->replace(std::move(found.m_positions)); });
}

QString CFundsDock::param() const {
  return QStringList({m_pFundsTable->saveConfigStr(), m_pPositionTable->saveConfigStr(),
                      QString::number(m_pScope->currentIndex())})
      .join(SEPARATOR);
}

void CFundsDock::setParam(const QString& text) {
  const QStringList parts = text.split(SEPARATOR);
  if (parts.size() < 3) return;
  m_pFundsTable->restoreConfigStr(parts[0]);
  m_pPositionTable->restoreConfigStr(parts[1]);
  m_pScope->setCurrentIndex(qBound(0, parts[2].toInt(), m_pScope->count() - 1));
}

}  // namespace app
