// The tool bar and the events of the panel: what the user asks for, and who carries it out. GUI thread.
#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "ExplanationText.h"
#include "TaskFilter.h"
#include "gv/Controls.h"
#include "gv/Scaling.h"
#include "tc/CMsgService.h"
#include "tc/CSettingDialogNew.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "tc/TaskEvents.h"
#include "utils/Guarded.h"
#include "utils/Log.h"

namespace TC {
namespace {

enum class EControl { Filter, Button, Settings, Check, Separator };

constexpr int NO_ID = -1;
// Pixels at scale 1.
constexpr int FILTER_WIDTH = 80;
constexpr QSize BUTTON_SIZE(60, 22);
constexpr QSize CHECK_BOX_SIZE(120, 24);

}  // namespace

/// One control of the tool bar. The items of the filter have the ids from 0 on.
struct CBasketTasksPanel::SToolBarControl {
  EControl kind;
  int id;
  const char* text;
  void (CBasketTasksPanel::*action)();  ///< null: none on a click
};

const std::vector<CBasketTasksPanel::SToolBarControl>& CBasketTasksPanel::toolBarControls() {
  using P = CBasketTasksPanel;
  static const std::vector<SToolBarControl> list = {
      {EControl::Filter, NO_ID, "", nullptr},
      {EControl::Separator, NO_ID, "", nullptr},
      {EControl::Button, 4, "全部撤销", &P::cancelAll},
      {EControl::Button, 5, "全部暂停", &P::pauseAll},
      {EControl::Button, 6, "全部继续", &P::resumeAll},
      {EControl::Settings, 7, "tc_img_btn_set_small", &P::showSettings},
      {EControl::Separator, NO_ID, "", nullptr},
      {EControl::Check, 8, "过滤已完成子任务", nullptr},
      {EControl::Separator, NO_ID, "", nullptr},
      {EControl::Button, 9, "全部收起", &P::foldAll},
      {EControl::Button, 10, "全部展开", &P::expandAll},
      {EControl::Button, REFRESH_ID, "刷新", &P::refreshAccounts},
  };
  return list;
}

/// What the button of a task's row does; codes without an entry do nothing.
struct CBasketTasksPanel::STaskAction {
  ETaskAction action;
  void (*run)(CBasketTask& task, const QString& text, EMavTraderType type);
};

const std::vector<CBasketTasksPanel::STaskAction>& CBasketTasksPanel::taskActions() {
  static const std::vector<STaskAction> list = {
      {ETA_Cancel, [](CBasketTask& task, const QString& text, EMavTraderType) { task.cancel(text); }},
      {ETA_Pause, [](CBasketTask& task, const QString& text, EMavTraderType) { task.pause(text); }},
      {ETA_Resume, [](CBasketTask& task, const QString& text, EMavTraderType) { task.resume(text); }},
      {ETA_Patch,
       [](CBasketTask& task, const QString& text, EMavTraderType type) { task.checkHasAlgoTask(text, type); }},
      {ETA_StopPatch, [](CBasketTask& task, const QString& text, EMavTraderType) { task.unpatch(text); }},
      {ETA_Drop, [](CBasketTask& task, const QString& text, EMavTraderType) { task.drop(text); }},
      {ETA_CancelHedge, [](CBasketTask& task, const QString& text, EMavTraderType) { task.cancelHedge(text); }},
  };
  return list;
}

void CBasketTasksPanel::fillToolBar(GV::CAutoExpandToolBar& bar) {
  for (const SToolBarControl& control : toolBarControls()) {
    switch (control.kind) {
      case EControl::Filter:
        addFilter(bar);
        break;
      case EControl::Button: {
        auto* button = new GV::CSmallNoNormalButton(control.id, QString::fromUtf8(control.text), &bar);
        button->setAutoDefault(true);  // Enter presses the one with the focus
        if (control.id == REFRESH_ID) button->setToolTip(QStringLiteral("F5"));
        GV::setScaledFixedSize(*button, BUTTON_SIZE);
        bar.addWidget(button);
        break;
      }
      case EControl::Settings: {
        auto* button = new GV::CPushButton(control.id, &bar);
        button->setImageKey(QString::fromUtf8(control.text));
        button->setAutoDefault(true);
        button->setAccessibleName(QStringLiteral("设置"));
        button->setToolTip(QStringLiteral("设置"));
        bar.addWidget(button);
        break;
      }
      case EControl::Check:
        m_pFilterFinishedCheck = new GV::CCheckBox(control.id, QString::fromUtf8(control.text), &bar);
        m_pFilterFinishedCheck->setTextColorKey(QStringLiteral("clr_text_default"));
        m_pFilterFinishedCheck->setFontKey(QStringLiteral("fnt_default_normal_fix"));
        GV::setScaledFixedSize(*m_pFilterFinishedCheck, CHECK_BOX_SIZE);
        bar.addWidget(m_pFilterFinishedCheck);
        break;
      case EControl::Separator:
        bar.addSeparator();
        break;
    }
  }
}

void CBasketTasksPanel::addFilter(GV::CAutoExpandToolBar& bar) {
  m_pFilterCombo = new GV::CComboPushButton(&bar);
  m_pFilterCombo->setImageKey(QStringLiteral("tc_img_combo_btn_small_nonormal"));
  m_pFilterCombo->setTextColorKey(QStringLiteral("clr_btn_s_nonormal_0"));
  for (std::size_t i = 0; i < taskFilters().size(); ++i) {
    m_pFilterCombo->addItem(static_cast<int>(i), QString::fromUtf8(taskFilters()[i].text));
  }
  m_pFilterCombo->setAccessibleDescription(QStringLiteral("显示哪些任务"));
  GV::setScaledFixedWidth(*m_pFilterCombo, FILTER_WIDTH);
  bar.addWidget(m_pFilterCombo);
}

bool CBasketTasksPanel::handleEvent(int eventId, int buttonId, int value, QString text, void* payload) {
  bool handled = true;
  act("CBasketTasksPanel::handleEvent", [&] { handled = onEvent(eventId, buttonId, value, text, payload); });
  return handled;
}

/// Does what the user asked for. Where the host fails at it, he is told, and nothing is thrown at whoever delivers his
/// events. The panel may be gone afterwards.
void CBasketTasksPanel::act(const char* function, const std::function<void()>& work) {
  if (utils::guarded(function, "user's act", work)) return;
  utils::guarded(function, "message",
                 [] { getMsgService().showMsg(QStringLiteral("操作未能完成，原因见日志"), EMK_TaskError); });
}

bool CBasketTasksPanel::onEvent(int eventId, int buttonId, int value, const QString& text, void* payload) {
  switch (eventId) {
    case GV::EventButtonClicked:
      onToolBarButton(buttonId);
      return true;
    case GV::EventCheckBoxToggled:
      if (m_pFilterFinishedCheck) updateTable(m_nFilter, false);
      return true;
    case EventTaskButton:
      if (payload) onTaskButton(buttonId, text, *static_cast<const QString*>(payload));
      return true;
    case EventTaskOrders:
      updateOrders(text);
      return true;
    default:
      return ITradeDockableWidget::handleEvent(eventId, buttonId, value, text, payload);
  }
}

void CBasketTasksPanel::onToolBarButton(int id) {
  utils::logInfo(this, "CBasketTasksPanel::handleEvent", "User %1% click basket task panel toolbar button id %2%",
                 getUserConfig().userName(), id);
  if (id >= 0 && id < static_cast<int>(taskFilters().size())) {
    chooseFilter(id);
    return;
  }
  for (const SToolBarControl& control : toolBarControls()) {
    if (control.id == id && control.action) (this->*control.action)();
  }
}

void CBasketTasksPanel::chooseFilter(int index) {
  if (index == m_nFilter) return;
  m_nFilter = index;
  updateTable(index, false);
}

// Cancelling everything filters the table again; pausing and resuming everything does not: intended.
void CBasketTasksPanel::cancelAll() {
  operateAll([](CBasketTask& task) { task.cancel(QString()); });
  // What the tasks announced is still queued.
  m_pTable->askTasks();
  updateTable(m_nFilter, false);
}

void CBasketTasksPanel::pauseAll() {
  operateAll([](CBasketTask& task) { task.pause(QString()); });
}

void CBasketTasksPanel::resumeAll() {
  operateAll([](CBasketTask& task) { task.resume(QString()); });
}

/// One task at which the host fails keeps no other from its operation.
void CBasketTasksPanel::operateAll(const std::function<void(CBasketTask&)>& operate) {
  for (const boost::shared_ptr<CBasketTask>& task : tasks()) {
    act("CBasketTasksPanel::operateAll", [&] { operate(*task); });
  }
}

void CBasketTasksPanel::showSettings() {
  CSettingDialogNew::showSettingPage(ID_SETTING_NAVI_CONTROLVISIBLE, QString::number(tradeType()));
}

// Folding shows finished sub-tasks until the next refresh, unfolding filters them: intended.
void CBasketTasksPanel::foldAll() {
  onFoldAll(true);
  updateTable(m_nFilter, true);
}

void CBasketTasksPanel::expandAll() { onExpandAll(true); }

// An operation may run a dialog: the task is held, and nothing of the panel is touched afterwards, which may be gone.
void CBasketTasksPanel::onTaskButton(int action, const QString& text, const QString& key) {
  const boost::shared_ptr<CBasketTask> task = findTask(key);
  if (!task) return;
  utils::logInfo(this, "CBasketTasksPanel::handleEvent", "User %1% click basket task panel task button id %2% task %3%",
                 getUserConfig().userName(), action, key);
  for (const STaskAction& known : taskActions()) {
    if (known.action == action) return known.run(*task, text, tradeType());
  }
}

void CBasketTasksPanel::patch(int taskId, const QString& nodeKey, int priceType) {
  const boost::shared_ptr<CBasketTask> task = findTask(taskKey(taskId));
  if (task) act("CBasketTasksPanel::patch", [&] { task->patch(nodeKey, priceType); });
}

void CBasketTasksPanel::showRow(int taskId, const QString& nodeKey) {
  const QString task = taskKey(taskId);
  const auto shown = m_pTable->showRow(task, nodeKey.isEmpty() ? task : nodeKey);
  if (shown != CHpfBasketStatusTable::EShown::Filtered) return;
  getMsgService().showMsg(QStringLiteral("组合任务%1 的这一行被筛选条件隐藏").arg(taskId), EMK_TaskError);
}

QByteArray CBasketTasksPanel::explain(int taskId, const QString& nodeKey) {
  QByteArray text;
  utils::guarded("CBasketTasksPanel::explain", nodeKey.toStdString(), [&] {
    const boost::shared_ptr<CBasketTask> task = findTask(taskKey(taskId));
    if (!task) return;
    auto explained = task->explain(nodeKey);
    // A row is named by its own key, too.
    const QString node = explained ? QString() : m_pTable->nodeOf(task->getKey(), nodeKey);
    if (!node.isEmpty()) explained = task->explain(node);
    if (explained) text = explanationText(taskId, *explained);
  });
  return text;
}

void CBasketTasksPanel::updateOrders(const QString& key) {
  for (const auto& task : tasks()) {
    if (CTaskOrdersWidget::keyOf(task->getKey(), task->getRoot()->getKey()) == key) m_pTable->updateOrdersWidget(*task);
  }
}

void CBasketTasksPanel::onFoldAll(bool) { m_pTable->expandItems(tasks().keys(), false); }

void CBasketTasksPanel::onExpandAll(bool) {
  m_pTable->expandItems(tasks().keys(), true);
  updateTable(m_nFilter, false);
}

}  // namespace TC
