#include "CBasketTasksPanel.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "BasketColumns.h"
#include "CBasketPatchWidget.h"
#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusTable.h"
#include "PatchStore.h"
#include "TaskFilter.h"
#include "gv/CFindBar.h"
#include "gv/CUiResource.h"
#include "gv/Controls.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {
namespace {

const char TYPE_KEY[] = "bkt";
constexpr int TABLE_ID = 20160512;

/// Columns of which the header offers no filter.
constexpr std::array<int, 4> UNFILTERED_COLUMNS = {EBC_Tree, EBC_Progress, EBC_Orders, EBC_Options};

}  // namespace

const std::vector<STaskFilter>& taskFilters() {
  static const std::vector<STaskFilter> list = {
      {"全部任务", {}},
      {"执行中", {ksservice::ETS_Running, ksservice::ETS_Paused}},
      {"已完成", {ksservice::ETS_Finished}},
      {"已撤销", {ksservice::ETS_Cancelled, ksservice::ETS_Dropped}},
  };
  return list;
}

CBasketTasksPanel::CBasketTasksPanel(int id, QWidget* parent)
    : ITradeDockableWidget(getTradeDockableWidgetCopiable(TYPE_KEY), TYPE_KEY, id,
                           getTradeDockableWidgetMavTraderType(TYPE_KEY), parent),
      m_nTraderType(tradeType()),
      m_workQueue(std::make_unique<CJobQueue>()),
      m_pDisposal(std::make_shared<CTaskDisposal>(*m_workQueue)) {
  qRegisterMetaType<ksservice::CTaskDetailPtr>("ksservice::CTaskDetailPtr");
  CBasketPatchDialog::install();
  createUi();
  utils::singleShot(REFRESH_MSEC, this, [this] { slotTimeout(); });
  connect(this, SIGNAL(sigTaskDetail(ksservice::CTaskDetailPtr)), SLOT(slotTaskDetail(ksservice::CTaskDetailPtr)));
  connect(m_pAnnouncements.get(), &CTaskAnnouncements::sigWaiting, this, &CBasketTasksPanel::deliverAnnouncements,
          Qt::QueuedConnection);
  // Before the panel's own part in a new day: a task that is made on it must find nothing of the day before.
  CPatchStore::instance().attach();
  connect(&CPatchStore::instance(), &CPatchStore::sigChanged, this, &CBasketTasksPanel::onPatchesChanged,
          Qt::QueuedConnection);
  connect(&getBasketHedgeManager(), SIGNAL(sigHedgeVolume(int, int)), SLOT(slotHedgeVolume(int, int)));
  connect(&getBasketHedgeManager(), SIGNAL(sigHedgeStatus(int, int)), SLOT(slotHedgeStatus(int, int)));
  connect(&getTradingCalendar(), SIGNAL(sigNewTradingDate(std::string)), SLOT(slotNewTradingDay(std::string)));
  m_subscription = ksservice::TraderCenter::instance().getDataCenter().subscribe(
      ksservice::DATA_TYPE_TASK_DETAIL,
      [this](const boost::shared_ptr<ksservice::IData>& record) { onTaskDetail(record); });
}

// The order matters: first nothing more comes in, then the worker ends, then the tasks go while the table that their
// signals reach still stands.
CBasketTasksPanel::~CBasketTasksPanel() {
  m_subscription.reset();
  m_pDisposal->end();
  m_workQueue.reset();
  letGo(m_tasks, ELetGo::Closed);
  m_tasks.clear();
}

void CBasketTasksPanel::createUi() {
  auto* outer = new QHBoxLayout;
  auto* inner = new QVBoxLayout;
  for (QBoxLayout* layout : {static_cast<QBoxLayout*>(outer), static_cast<QBoxLayout*>(inner)}) {
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
  }
  auto* bar = new GV::CAutoExpandToolBar(this);
  bar->setBackgroundImageKey(QStringLiteral("tc_img_op_hedge_type_bg"));
  bar->setMargins(2, 8, 2, 8);
  fillToolBar(*bar);
  inner->addWidget(bar);

  m_pTable = new CHpfBasketStatusTable(TABLE_ID, this);
  m_pTable->setAccessibleName(QStringLiteral("组合任务"));
  for (int column = 0; column < EBC_Count; ++column) {
    const bool unfiltered = std::count(UNFILTERED_COLUMNS.begin(), UNFILTERED_COLUMNS.end(), column) > 0;
    m_pTable->setColumnFilterable(column, !unfiltered);
  }
  connect(m_pTable, &CHpfBasketStatusTable::sigRowChosen, this, &CBasketTasksPanel::sigRowChosen);
  connect(m_pTable, &CHpfBasketStatusTable::sigExplainRow, this, &CBasketTasksPanel::sigExplainRow);
  QMenu* menu = m_pTable->contextMenu();
  menu->addSeparator();
  connect(menu->addAction(QStringLiteral("全部收起")), SIGNAL(triggered(bool)), SLOT(onFoldAll(bool)));
  connect(menu->addAction(QStringLiteral("全部展开")), SIGNAL(triggered(bool)), SLOT(onExpandAll(bool)));
  inner->addWidget(m_pTable, 1);
  createFindBar();
  inner->addWidget(m_pFindBar);
  setFocusProxy(m_pTable);

  outer->addLayout(inner, 1);
  setLayout(outer);
}

void CBasketTasksPanel::updateTable(int filter, bool skipFinished) {
  m_pTable->applyStaged();
  const bool hideFinished = m_pFilterFinishedCheck->isChecked() && !skipFinished;
  m_nRunningCount = m_pTable->filterTasks({taskFilters()[static_cast<std::size_t>(filter)].statuses, hideFinished});
}

void CBasketTasksPanel::showRunning() {
  m_pFilterCombo->setCurrentIndex(FILTER_RUNNING);
  m_nFilter = FILTER_RUNNING;
  updateTable(FILTER_RUNNING, false);
}

QString CBasketTasksPanel::param() const {
  return QStringList({m_pTable->param(), m_pFilterFinishedCheck->isChecked() ? "1" : "0",
                      QString::number(m_pFilterCombo->currentIndex())})
      .join(QLatin1Char('*'));
}

void CBasketTasksPanel::setParam(const QString& text) {
  const QStringList fields = text.split(QLatin1Char('*'));
  m_pTable->setParam(fields[0]);
  if (fields.size() > 1) m_pFilterFinishedCheck->setChecked(fields[1].toInt() != 0);
  if (fields.size() > 2) {
    m_nFilter = qBound(0, fields[2].toInt(), static_cast<int>(taskFilters().size()) - 1);
    m_pFilterCombo->setCurrentIndex(m_nFilter);
  }
  updateTable(m_nFilter, false);
}

void CBasketTasksPanel::setTradeType(EMavTraderType type) {
  // Tasks of two trader types may share a number.
  const bool changed = type != tradeType();
  ITradeDockableWidget::setTradeType(type);
  m_nTraderType = type;
  if (changed) startOver(ELetGo::Closed);
  m_workQueue->post(utils::EPanelJob::FirstLoad, [this] { initTasks(); });
}

// By value: the signature of a slot that may be queued.
void CBasketTasksPanel::slotNewTradingDay(std::string date) {  // NOLINT(performance-unnecessary-value-param)
  utils::logInfo(this, "CBasketTasksPanel::slotNewTradingDay", "mew trading day = %1%", date);
  startOver(ELetGo::NewTradingDay);
}

/// Drops the tasks, what is on its way to them, and their rows.
void CBasketTasksPanel::startOver(ELetGo why) {
  // The caches last, which tell a refresh its day: it finds tasks and table of that day, or, when it began before,
  // none.
  const unsigned day = m_caches.day() + 1;
  TaskMap dropped;
  {
    const std::lock_guard<std::mutex> lock(m_tasksMutex);
    m_nTasksDay = day;
    m_tasks.swap(dropped);
  }
  letGo(dropped, why);
  {
    const std::lock_guard<std::mutex> lock(m_announcedMutex);
    m_announced.clear();
  }
  m_nRunningCount = 0;
  m_pAnnouncements->startDay(day);
  m_pTable->startDay(day);
  m_caches.startDay(day);
}

void CBasketTasksPanel::letGo(const TaskMap& tasks, ELetGo why) {
  for (const boost::shared_ptr<CBasketTask>& task : tasks) task->letGo(why);
}

void CBasketTasksPanel::setUiLock(bool locked) {
  if (m_pTable) m_pTable->setUiLock(locked);
}

void CBasketTasksPanel::prepareActive() {
  if (!getUserConfig().isQuietActivation()) Q_EMIT sigRunningTasks(tradeType(), m_nRunningCount);
}

void CBasketTasksPanel::loadAccountGroupSettings() {
  const auto select = [this](IAccountGroupSelector* selector, int setting) {
    if (selector) selector->selectGroup(getUserConfig().getTradeSetting(tradeType(), setting));
  };
  select(accountGroupSelector(), ETRS_AccountGroup);
  select(accountGroupSelector2(), ETRS_AccountGroup2);
}

void CBasketTasksPanel::paintEvent(QPaintEvent* event) {
  ITradeDockableWidget::paintEvent(event);
  QPainter(this).fillRect(rect(), *GV::CUiResource::getColor(QStringLiteral("clr_order_operation_background")));
}

}  // namespace TC
