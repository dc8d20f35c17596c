#include "docks/COrdersDock.h"

#include <QComboBox>
#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <map>

#include "gv/CMessageBox.h"
#include "gv/Scaling.h"

namespace app {
namespace {

// Pixels at scale 1.
constexpr int CONTROL_HEIGHT = 22;
constexpr int SEARCH_WIDTH = 110;

constexpr int SCOPE_ALL = 0;
constexpr int SECONDS_OF_DAY = 24 * 3600;

enum EStateFilter { STATE_ALL, STATE_OPEN, STATE_FILLED, STATE_CANCELLED, STATE_REFUSED };
constexpr const char* STATE_FILTERS[] = {"全部状态", "可撤", "已成", "已撤", "废单"};

bool passes(int filter, const SOrderRow& row) {
  switch (filter) {
    case STATE_OPEN:
      return row.isOpen();
    case STATE_FILLED:
      return row.state() == EOrderState::Filled;
    case STATE_CANCELLED:
      return row.state() == EOrderState::Cancelled;
    case STATE_REFUSED:
      return row.state() == EOrderState::Refused;
    default:
      return true;
  }
}

/// Separates the parts of the parameter text; a table's part holds none.
constexpr QLatin1Char SEPARATOR('*');

}  // namespace

COrdersDock::COrdersDock(QWidget* parent)
    : CDockContent(parent),
      m_pOrders(new CRowsModel<SOrderRow>(orderColumns(), true, this)),
      m_pFills(new CRowsModel<SFillRow>(fillColumns(), true, this)),
      m_pOrderTable(new CRowsTable(m_pOrders, this)),
      m_pFillTable(new CRowsTable(m_pFills, this)),
      m_pTabs(new QTabWidget(this)) {
  m_pOrderTable->addCommand(QStringLiteral("撤销所选委托"), Qt::Key_Delete, [this] { cancelSelected(); });
  m_pOrderTable->setDoubleClick([this](int position) {
    const SBlotterOrder& order = m_pOrders->shownRow(position).m_order;
    showRow(*order.m_pDetail, *order.m_pInfo);
  });
  m_pFillTable->setDoubleClick([this](int position) {
    const SBlotterFill& fill = m_pFills->shownRow(position).m_fill;
    showRow(*fill.m_pDetail, *fill.m_pInfo);
  });
  m_pOrderTable->setEmptyText(QStringLiteral("没有委托"));
  m_pFillTable->setEmptyText(QStringLiteral("没有成交"));
  for (CRowsTable* table : {m_pOrderTable, m_pFillTable}) table->offer();
  m_pTabs->setDocumentMode(true);
  m_pTabs->tabBar()->setDrawBase(false);
  m_pTabs->addTab(m_pOrderTable, QStringLiteral("委托"));
  m_pTabs->addTab(m_pFillTable, QStringLiteral("成交"));
  connect(m_pTabs, &QTabWidget::currentChanged, this, [this] { showCounts(); });
  connect(m_pOrderTable, &GV::CBaseHighPerformanceTable::sigSelectionChanged, this, [this] { showCounts(); });
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(makeFilters());
  layout->addWidget(m_pTabs, 1);
}

COrdersDock::~COrdersDock() { stopFollowing(); }

QWidget* COrdersDock::makeFilters() {
  auto* bar = new QWidget(this);
  m_pScope = new QComboBox(bar);
  m_pScope->addItems({QStringLiteral("当日全部"), QStringLiteral("所选行")});
  m_pState = new QComboBox(bar);
  for (const char* text : STATE_FILTERS) m_pState->addItem(QString::fromUtf8(text));
  m_pSearch = new QLineEdit(bar);
  m_pSearch->setPlaceholderText(QStringLiteral("代码或名称"));
  m_pSearch->setClearButtonEnabled(true);
  m_pCancel = new QPushButton(QStringLiteral("撤单"), bar);
  m_pCancel->setToolTip(QStringLiteral("撤销所选委托 (Delete)"));
  m_pCounts = new QLabel(bar);
  auto* layout = new QHBoxLayout(bar);
  GV::setScaledMargins(*layout, {4, 3, 4, 3});
  GV::setScaledSpacing(*layout, 4);
  for (QWidget* each : {static_cast<QWidget*>(m_pScope), static_cast<QWidget*>(m_pState),
                        static_cast<QWidget*>(m_pSearch), static_cast<QWidget*>(m_pCancel)}) {
    GV::setScaledFixedHeight(*each, CONTROL_HEIGHT);
    layout->addWidget(each);
  }
  GV::followScale(*m_pSearch, [this] {
    m_pSearch->setMaximumWidth(GV::CUiResource::scaled(SEARCH_WIDTH));
    m_pSearch->setMinimumWidth(GV::CUiResource::scaled(SEARCH_WIDTH / 2));
  });
  layout->addWidget(m_pCounts, 1);
  // A narrow dock cuts the counts, not the controls.
  m_pCounts->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  connect(m_pScope, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { applyFilters(); });
  connect(m_pState, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { applyFilters(); });
  connect(m_pSearch, &QLineEdit::textChanged, this, [this] { applyFilters(); });
  connect(m_pCancel, &QPushButton::clicked, this, [this] { cancelSelected(); });
  return bar;
}

void COrdersDock::attach(const SDockSources& sources) {
  stopFollowing();
  m_sources = sources;
  if (m_sources.m_pDesk) return;
  m_pOrders->begin();
  m_pOrders->clear();
  m_pOrders->end();
  m_pFills->begin();
  m_pFills->clear();
  m_pFills->end();
}

void COrdersDock::choose(const SChosenRow& row) {
  m_chosen = row;
  if (m_pScope->currentIndex() != SCOPE_ALL) applyFilters();
}

void COrdersDock::stopFollowing() {
  if (!m_bFollowing) return;
  m_bFollowing = false;
  m_sources.m_pBlotter->follow(false);
}

void COrdersDock::refresh() {
  if (!m_bFollowing) m_sources.m_pBlotter->follow(m_bFollowing = true);
  SBlotterNews news = m_sources.m_pBlotter->take();
  const QDateTime now = QDateTime::fromSecsSinceEpoch(m_sources.m_pDesk->now(), m_sources.m_pDesk->timeZone());
  const auto ofDay = [offset = now.offsetFromUtc()](int time) { return (time + offset) % SECONDS_OF_DAY; };
  m_pOrders->begin();
  m_pFills->begin();
  if (news.m_bAnew) {
    m_pOrders->clear();
    m_pFills->clear();
  }
  for (auto& [number, order] : news.m_orders) {
    const int second = ofDay(order.m_nSent);
    const auto place = static_cast<std::size_t>(number);
    if (place < m_pOrders->size()) {
      m_pOrders->set(place, {std::move(order), second});
    } else {
      m_pOrders->add({std::move(order), second});
    }
  }
  for (SBlotterFill& fill : news.m_fills) {
    const int second = ofDay(fill.m_nTime);
    m_pFills->add({std::move(fill), second});
  }
  m_pOrderTable->holding([this] { m_pOrders->end(); });
  m_pFillTable->holding([this] { m_pFills->end(); });
  if (news.m_bAnew || !news.m_orders.empty()) showCounts();
}

void COrdersDock::applyFilters() {
  CRowScope scope(m_pScope->currentIndex() == SCOPE_ALL ? SChosenRow() : m_chosen);
  const QString text = m_pSearch->text().trimmed();
  const int state = m_pState->currentIndex();
  m_pOrders->setFilter([scope, text, state](const SOrderRow& row) mutable {
    const SBlotterOrder& order = row.m_order;
    return passes(state, row) && scope.takes(*order.m_pDetail, *order.m_pInfo) &&
           (text.isEmpty() || namesInstrument(*order.m_pInfo, text));
  });
  m_pFills->setFilter([scope, text](const SFillRow& row) mutable {
    const SBlotterFill& fill = row.m_fill;
    return scope.takes(*fill.m_pDetail, *fill.m_pInfo) && (text.isEmpty() || namesInstrument(*fill.m_pInfo, text));
  });
  showCounts();
}

/// A hedge would send anew what was taken from it.
void COrdersDock::cancelSelected() {
  if (!m_sources.m_pDesk || !m_sources.m_askMarket) return;
  std::map<std::string, std::vector<std::string>> keys;
  bool hedge = false;
  for (const int position : m_pOrders->selectedPositions()) {
    const SOrderRow& row = m_pOrders->shownRow(position);
    if (!row.isOpen()) continue;
    hedge = hedge || row.m_order.m_pDetail->m_bHedge;
    if (row.m_order.m_pDetail->m_bHedge) continue;
    keys[row.m_order.m_pDetail->m_strKey].push_back(row.m_order.m_pInfo->getKey());
  }
  for (const auto& [detail, orders] : keys) m_sources.m_pDesk->requests().cancelOrders(detail, orders);
  if (hedge) {
    GV::CMessageBox::information(this, QStringLiteral("撤单"),
                                 QStringLiteral("对冲委托由对冲管理，请在任务上暂停或停止对冲"));
  }
}

void COrdersDock::showCounts() {
  const bool orders = m_pTabs->currentIndex() == 0;
  const int selected = static_cast<int>(m_pOrders->selectedPositions().size());
  QString text = QStringLiteral("%1 笔").arg(orders ? m_pOrders->rowCount() : m_pFills->rowCount());
  if (orders && selected > 0) text += QStringLiteral("，选中 %1 笔").arg(selected);
  m_pCounts->setText(text);
  m_pState->setEnabled(orders);
  m_pCancel->setEnabled(orders && selected > 0 && m_sources.m_askMarket);
}

void COrdersDock::showRow(const SBlotterDetail& detail, const ksservice::COrderInfo& order) const {
  if (m_sources.m_showRow) m_sources.m_showRow(detail.m_nTaskId, orderRowKey(detail, order));
}

QString COrdersDock::param() const {
  return QStringList({m_pOrderTable->saveConfigStr(), m_pFillTable->saveConfigStr(),
                      QString::number(m_pScope->currentIndex()), QString::number(m_pState->currentIndex())})
      .join(SEPARATOR);
}

void COrdersDock::setParam(const QString& text) {
  const QStringList parts = text.split(SEPARATOR);
  if (parts.size() < 4) return;
  m_pOrderTable->restoreConfigStr(parts[0]);
  m_pFillTable->restoreConfigStr(parts[1]);
  m_pScope->setCurrentIndex(qBound(0, parts[2].toInt(), m_pScope->count() - 1));
  m_pState->setCurrentIndex(qBound(0, parts[3].toInt(), m_pState->count() - 1));
}

}  // namespace app
