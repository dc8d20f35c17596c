#include "CBasketTasksPanel.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusTable.h"
#include "TaskKeys.h"
#include "gv/CUiResource.h"
#include "gv/Controls.h"
#include "ksservice/TraderCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {
namespace {

const char TYPE_KEY[] = "bkt";
constexpr int TABLE_ID = 20160512;
constexpr int FIRST_REFRESH_MSEC = 1000;

/// Events of the host's event delivery.
enum EEvent : int { EventButton = 5, EventCheckBox = 67, EventTaskButton = 1140, EventOrders = 1196 };

/// Ids of the tool bar's controls; 0 to 3 are the items of the filter.
enum EToolBarId : int {
  CancelAll = 4,
  PauseAll = 5,
  ResumeAll = 6,
  Settings = 7,
  FilterFinished = 8,
  FoldAll = 9,
  ExpandAll = 10,
  Reload = 11
};

/// The task filter: texts by index, and the statuses of a root that pass.
struct SFilter {
  const char* text;
  std::vector<int> statuses;  ///< empty: all
};

const std::vector<SFilter>& filters() {
  static const std::vector<SFilter> list = {
      {"全部任务", {}},
      {"执行中", {ksservice::ETS_Running, ksservice::ETS_Paused}},
      {"已完成", {ksservice::ETS_Finished}},
      {"已撤销", {ksservice::ETS_Cancelled, ksservice::ETS_Dropped}},
  };
  return list;
}

constexpr int FILTER_RUNNING = 1;

}  // namespace

CBasketTasksPanel::CBasketTasksPanel(int id, QWidget* parent)
    : ITradeDockableWidget(getTradeDockableWidgetCopiable(TYPE_KEY), TYPE_KEY, id,
                           getTradeDockableWidgetMavTraderType(TYPE_KEY), parent),
      m_nTraderType(tradeType()),
      m_workQueue(std::make_unique<CJobQueue>()) {
  qRegisterMetaType<ksservice::CTaskDetailPtr>("ksservice::CTaskDetailPtr");
  createUi();
  utils::singleShot(FIRST_REFRESH_MSEC, this, [this] { slotTimeout(); });
  connect(this, SIGNAL(sigTaskDetail(ksservice::CTaskDetailPtr)), SLOT(slotTaskDetail(ksservice::CTaskDetailPtr)));
  connect(&getTradingCalendar(), SIGNAL(sigNewTradingDate(std::string)), SLOT(slotNewTradingDay(std::string)));
  m_subscription = ksservice::TraderCenter::instance().getDataCenter().subscribe(
      ksservice::DATA_TYPE_TASK_DETAIL,
      [this](const boost::shared_ptr<ksservice::IData>& record) { onTaskDetail(record); });
}

// The order matters: first nothing more comes in, then the worker ends, then the tasks go while the table that their
// signals reach still stands.
CBasketTasksPanel::~CBasketTasksPanel() {
  m_subscription.reset();
  m_workQueue.reset();
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
  QMenu* menu = m_pTable->contextMenu();
  menu->addSeparator();
  connect(menu->addAction(QStringLiteral("全部收起")), SIGNAL(triggered(bool)), SLOT(onFoldAll(bool)));
  connect(menu->addAction(QStringLiteral("全部展开")), SIGNAL(triggered(bool)), SLOT(onExpandAll(bool)));
  inner->addWidget(m_pTable, 1);

  outer->addLayout(inner, 1);
  setLayout(outer);
}

void CBasketTasksPanel::fillToolBar(GV::CAutoExpandToolBar& bar) {
  const auto addButton = [&bar](const char* text, int id) {
    auto* button = new GV::CSmallNoNormalButton(id, QString::fromUtf8(text), &bar);
    button->setFixedSize(60, 22);
    bar.addWidget(button);
  };
  m_pFilterCombo = new GV::CComboPushButton(&bar);
  m_pFilterCombo->setImageKey(QStringLiteral("tc_img_combo_btn_small_nonormal"));
  m_pFilterCombo->setTextColorKey(QStringLiteral("clr_btn_s_nonormal_0"));
  for (std::size_t i = 0; i < filters().size(); ++i) {
    m_pFilterCombo->addItem(static_cast<int>(i), QString::fromUtf8(filters()[i].text));
  }
  m_pFilterCombo->setFixedWidth(80);
  bar.addWidget(m_pFilterCombo);
  bar.addSeparator();
  addButton("全部撤销", CancelAll);
  addButton("全部暂停", PauseAll);
  addButton("全部继续", ResumeAll);
  auto* settings = new GV::CPushButton(Settings, &bar);
  settings->setImageKey(QStringLiteral("tc_img_btn_set_small"));
  bar.addWidget(settings);
  bar.addSeparator();
  m_pFilterFinishedCheck = new GV::CCheckBox(FilterFinished, QStringLiteral("过滤已完成子任务"), &bar);
  m_pFilterFinishedCheck->setTextColorKey(QStringLiteral("clr_text_default"));
  m_pFilterFinishedCheck->setFontKey(QStringLiteral("fnt_default_normal_fix"));
  m_pFilterFinishedCheck->setFixedSize(120, 24);
  bar.addWidget(m_pFilterFinishedCheck);
  bar.addSeparator();
  addButton("全部收起", FoldAll);
  addButton("全部展开", ExpandAll);
  addButton("刷新", Reload);
}

bool CBasketTasksPanel::handleEvent(int eventId, int buttonId, int value, QString text, void* payload) {
  switch (eventId) {
    case EventButton:
      onToolBarButton(buttonId);
      return true;
    case EventCheckBox:
      if (m_pFilterFinishedCheck) updateTable(m_nFilter, false);
      return true;
    case EventTaskButton:
      if (payload) onTaskButton(buttonId, text, *static_cast<const QString*>(payload));
      return true;
    case EventOrders:
      updateOrders(text);
      return true;
    default:
      return ITradeDockableWidget::handleEvent(eventId, buttonId, value, text, payload);
  }
}

void CBasketTasksPanel::onToolBarButton(int id) {
  utils::logInfo(this, "CBasketTasksPanel::handleEvent", "User %1% click basket task panel toolbar button id %2%",
                 getUserConfig().userName(), id);
  if (id >= 0 && id < static_cast<int>(filters().size())) {
    if (id == m_nFilter) return;
    m_nFilter = id;
    updateTable(id, false);
  } else if (id == FoldAll) {
    // Folding shows finished sub-tasks until the next refresh, unfolding filters them: intended.
    onFoldAll(true);
    updateTable(m_nFilter, true);
  } else if (id == ExpandAll) {
    onExpandAll(true);
    updateTable(m_nFilter, false);
  } else if (id == Reload) {
    refreshAccounts();
  }
}

void CBasketTasksPanel::onTaskButton(int action, const QString&, const QString& key) {
  if (!findTask(key)) return;
  utils::logInfo(this, "CBasketTasksPanel::handleEvent", "User %1% click basket task panel task button id %2% task %3%",
                 getUserConfig().userName(), action, key);
}

void CBasketTasksPanel::updateOrders(const QString& key) {
  for (const auto& task : tasks()) {
    if (task->getKey() + task->getRoot()->getKey() == key) m_pTable->updateOrdersWidget(*task);
  }
}

void CBasketTasksPanel::onFoldAll(bool) {
  for (const auto& task : tasks()) m_pTable->expandItem(task->getKey(), false);
}

void CBasketTasksPanel::onExpandAll(bool) {
  for (const auto& task : tasks()) m_pTable->expandItem(task->getKey(), true);
  updateTable(m_nFilter, false);
}

void CBasketTasksPanel::updateTable(int filter, bool skipFinished) {
  m_pTable->applyStaged();
  int running = 0;
  const bool hideFinished = m_pFilterFinishedCheck->isChecked();
  for (const boost::shared_ptr<CBasketTask>& task : tasks()) {
    const int status = rootStatus(*task);
    if (status == ksservice::ETS_Running) ++running;
    if (!matchesFilter(filter, status)) {
      m_pTable->hideTask(*task);
      continue;
    }
    m_pTable->showTask(*task);
    if (!skipFinished) m_pTable->filterFinished(*task, hideFinished);
  }
  m_nRunningCount = running;
  m_pTable->endUpdate();
}

/// The root's status; while the worker is rebuilding the task, the status that its rows show. The refresh that is
/// running then ends with another pass.
int CBasketTasksPanel::rootStatus(const CBasketTask& task) const {
  const boost::unique_lock<boost::recursive_mutex> lock(task.mutex(), boost::try_to_lock);
  return lock.owns_lock() ? task.getRoot()->m_nStatus : m_pTable->shownStatus(task);
}

bool CBasketTasksPanel::matchesFilter(int filter, int status) {
  const std::vector<int>& statuses = filters()[static_cast<std::size_t>(filter)].statuses;
  return statuses.empty() || std::find(statuses.begin(), statuses.end(), status) != statuses.end();
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
    m_nFilter = qBound(0, fields[2].toInt(), static_cast<int>(filters().size()) - 1);
    m_pFilterCombo->setCurrentIndex(m_nFilter);
  }
  updateTable(m_nFilter, false);
}

void CBasketTasksPanel::setTradeType(EMavTraderType type) {
  ITradeDockableWidget::setTradeType(type);
  m_nTraderType = type;
  m_workQueue->post(utils::EPanelJob::FirstLoad, [this] { initTasks(); });
}

// By value: the signature of a slot that may be queued.
void CBasketTasksPanel::slotNewTradingDay(std::string date) {  // NOLINT(performance-unnecessary-value-param)
  utils::logInfo(this, "CBasketTasksPanel::slotNewTradingDay", "mew trading day = %1%", date);
  // Tasks first and the table last, so that no refresh can stage an old task for the new day.
  TaskMap dropped;
  {
    const std::lock_guard<std::mutex> lock(m_tasksMutex);
    ++m_nDay;
    m_tasks.swap(dropped);
  }
  m_caches.clear();
  {
    const std::lock_guard<std::mutex> lock(m_announcedMutex);
    m_announced.clear();
  }
  m_nRunningCount = 0;
  m_pTable->startNewDay();
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

void CBasketTasksPanel::patch(int taskId, const QString&, int) { findTask(taskKey(taskId)); }

void CBasketTasksPanel::refreshAccounts() {
  for (const auto& account : getUserConfig().getAccounts()) {
    if (!isBrokerTypeMatchTradeType(*account, tradeType())) continue;
    if (getUserConfig().isAccountFilter(account->getKey())) continue;
    if (ksservice::isLoginStatusReady(getTradeClient().getLoginStatus(account->getKey()))) requestAccount(*account);
  }
}

void CBasketTasksPanel::requestAccount(const ksservice::CAccountInfo& account) {
  m_workQueue->post(utils::EPanelJob::AccountReload, [this, account] { doRequestAccount(account); });
}

void CBasketTasksPanel::paintEvent(QPaintEvent* event) {
  ITradeDockableWidget::paintEvent(event);
  QPainter(this).fillRect(rect(), *GV::CUiResource::getColor(QStringLiteral("clr_order_operation_background")));
}

}  // namespace TC
