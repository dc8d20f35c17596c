#include "docks/CExceptionsDock.h"

#include <QCursor>
#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QToolTip>

#include "docks/CExceptionFinder.h"
#include "gv/Scaling.h"
#include "tc/AlgoParams.h"

namespace app {
namespace {

using Row = SExceptionRow;
constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;
constexpr int SECONDS_OF_DAY = 24 * 3600;
constexpr int CNY_OF_HEDGE_UNIT = 10000;
constexpr int CONTROL_HEIGHT = 22;  // pixels at scale 1
/// Limits of the exceptions, then the table's; a table's part holds no such character.
constexpr QLatin1Char SEPARATOR('*');
constexpr int LIMIT_PARTS = 3;

const QColor* kindColour(const Row&) { return GV::CUiResource::getColor(QStringLiteral("clr_btn_style_3")); }

const std::vector<SRowColumn<Row>>& exceptionColumns() {
  static const std::vector<SRowColumn<Row>> columns = {
      {"时间", LEFT, 64,
       [](const Row& row) {
         return row.m_nSecondOfDay < 0 ? QString() : QString::fromStdString(TC::formatSecondOfDay(row.m_nSecondOfDay));
       },
       [](const Row& row) { return double(row.m_nSecondOfDay); }},
      {"异常", LEFT, 76, [](const Row& row) { return exceptionKindText(row.m_exception.m_eKind); },
       [](const Row& row) { return double(row.m_exception.m_eKind); }, kindColour},
      {"任务", RIGHT, 52,
       [](const Row& row) {
         return row.m_exception.m_nTaskId < 0 ? QString() : QString::number(row.m_exception.m_nTaskId);
       },
       [](const Row& row) { return double(row.m_exception.m_nTaskId); }},
      {"账号/证券", LEFT, 130, [](const Row& row) { return row.m_exception.m_strWhom; }},
      {"说明", LEFT, 640, [](const Row& row) { return row.m_exception.m_strText; }},
  };
  return columns;
}

QSpinBox* makeLimit(QWidget* bar, int most, const QString& prefix, const QString& suffix, int value) {
  auto* box = new QSpinBox(bar);
  box->setButtonSymbols(QAbstractSpinBox::NoButtons);
  box->setRange(1, most);
  box->setPrefix(prefix);
  box->setSuffix(suffix);
  box->setValue(value);
  GV::setScaledFixedHeight(*box, CONTROL_HEIGHT);
  return box;
}

}  // namespace

CExceptionsDock::CExceptionsDock(QWidget* parent)
    : CDockContent(parent),
      m_pModel(new CRowsModel<Row>(exceptionColumns(), false, this)),
      m_pTable(new CRowsTable(m_pModel, this)) {
  m_pTable->addCommand(QStringLiteral("知道了"), Qt::Key_Delete, [this] { putAway(); });
  m_pTable->setDoubleClick([this](int position) { showRow(position); });
  m_pTable->setEmptyText(QStringLiteral("没有异常"));
  m_pTable->offer();
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(makeBar());
  layout->addWidget(m_pTable, 1);
}

QWidget* CExceptionsDock::makeBar() {
  auto* bar = new QWidget(this);
  auto* layout = new QHBoxLayout(bar);
  GV::setScaledMargins(*layout, {4, 3, 4, 3});
  GV::setScaledSpacing(*layout, 4);
  const SExceptionLimits limits;
  m_pPutAway = new QPushButton(QStringLiteral("知道了"), bar);
  m_pPutAway->setToolTip(QStringLiteral("收起所选异常，直到它有变化 (Delete)"));
  GV::setScaledFixedHeight(*m_pPutAway, CONTROL_HEIGHT);
  m_pMinutes = makeLimit(bar, 240, QStringLiteral("未成交超过 "), QStringLiteral(" 分钟"), limits.m_nWaitMinutes);
  m_pHedge = makeLimit(bar, 1000000, QStringLiteral("对冲偏差超过 "), QStringLiteral(" 万元"),
                       static_cast<int>(limits.m_dHedgeOff / CNY_OF_HEDGE_UNIT));
  m_pSeconds = makeLimit(bar, 3600, QStringLiteral("行情停滞超过 "), QStringLiteral(" 秒"), limits.m_nFeedSeconds);
  layout->addWidget(m_pPutAway);
  for (QSpinBox* box : {m_pMinutes, m_pHedge, m_pSeconds}) {
    layout->addWidget(box);
    connect(box, qOverload<int>(&QSpinBox::valueChanged), this, [this] { takeLimits(); });
  }
  layout->addStretch(1);
  connect(m_pPutAway, &QPushButton::clicked, this, [this] { putAway(); });
  return bar;
}

void CExceptionsDock::attach(const SDockSources& sources) {
  m_sources = sources;
  m_nVersion = -1;
  takeLimits();
  if (m_sources.m_pExceptions) return;
  m_pModel->begin();
  m_pModel->clear();
  m_pModel->end();
}

void CExceptionsDock::takeLimits() {
  if (!m_sources.m_pExceptions) return;
  m_sources.m_pExceptions->setLimits(
      {m_pMinutes->value(), double(m_pHedge->value()) * CNY_OF_HEDGE_UNIT, m_pSeconds->value()});
}

void CExceptionsDock::refresh() {
  if (!m_sources.m_pExceptions) return;
  const CExceptions& exceptions = m_sources.m_pExceptions->exceptions();
  if (m_nVersion == exceptions.version()) return;
  m_nVersion = exceptions.version();
  const int offset =
      QDateTime::fromSecsSinceEpoch(m_sources.m_pDesk->now(), m_sources.m_pDesk->timeZone()).offsetFromUtc();
  std::vector<std::pair<std::string, Row>> rows;
  for (auto& [key, exception] : exceptions.all()) {
    const int second = exception.m_nTime > 0 ? (exception.m_nTime + offset) % SECONDS_OF_DAY : -1;
    rows.emplace_back(key, Row{key, std::move(exception), second});
  }
  m_pTable->holding([&] { m_pModel->replace(std::move(rows)); });
}

void CExceptionsDock::putAway() {
  if (!m_sources.m_pExceptions) return;
  for (const int position : m_pModel->selectedPositions()) {
    m_sources.m_pExceptions->exceptions().putAway(m_pModel->shownRow(position).m_strKey);
  }
  refresh();
}

void CExceptionsDock::showRow(int position) const {
  const SException& exception = m_pModel->shownRow(position).m_exception;
  if (exception.m_nTaskId < 0) {
    QToolTip::showText(QCursor::pos(), QStringLiteral("这条异常不属于某个任务，没有可转到的行"), m_pTable);
  } else if (m_sources.m_showRow) {
    m_sources.m_showRow(exception.m_nTaskId, exception.m_strRow);
  }
}

QString CExceptionsDock::param() const {
  const SExceptionLimits limits{m_pMinutes->value(), double(m_pHedge->value()) * CNY_OF_HEDGE_UNIT,
                                m_pSeconds->value()};
  return limits.toText() + SEPARATOR + m_pTable->saveConfigStr();
}

void CExceptionsDock::setParam(const QString& text) {
  SExceptionLimits limits;
  limits.take(text);
  m_pMinutes->setValue(limits.m_nWaitMinutes);
  m_pHedge->setValue(static_cast<int>(limits.m_dHedgeOff / CNY_OF_HEDGE_UNIT));
  m_pSeconds->setValue(limits.m_nFeedSeconds);
  if (text.count(SEPARATOR) >= LIMIT_PARTS) m_pTable->restoreConfigStr(text.section(SEPARATOR, LIMIT_PARTS));
}

}  // namespace app
