#pragma once

#include <QMap>
#include <atomic>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "CJobQueue.h"
#include "DetailCaches.h"
#include "TaskAnnouncements.h"
#include "TaskDisposal.h"
#include "tc/ITradeDockableWidget.h"
#include "utils/Subscription.h"

namespace GV {
class CAutoExpandToolBar;
class CCheckBox;
class CComboPushButton;
class CFindBar;
}  // namespace GV

namespace TC {

class CBasketTask;
enum class ELetGo;
class CHpfBasketStatusTable;

using TaskMap = QMap<QString, boost::shared_ptr<CBasketTask>>;

/// The panel of basket tasks: it takes task details from the host, keeps one task object per basket, refreshes the
/// status table from them once a second and carries out what the user asks for.
///
/// Threads: onTaskDetail comes on any thread and only files the detail; refreshes and loads run on the worker of the
/// panel's job queue; everything else is the GUI thread's.
class CBasketTasksPanel : public ITradeDockableWidget {
  Q_OBJECT
  Q_PROPERTY(int filter READ filter)
  Q_PROPERTY(int runningCount READ runningCount)

 public:
  CBasketTasksPanel(int id, QWidget* parent);
  ~CBasketTasksPanel() override;

  void setParam(const QString& text) override;
  QString param() const override;
  void setTradeType(EMavTraderType type) override;
  void setUiLock(bool locked) override;
  void requestAccount(const ksservice::CAccountInfo& account) override;
  void loadAccountGroupSettings() override;
  void prepareActive() override;
  void patch(int taskId, const QString& nodeKey, int priceType) override;
  void showRow(int taskId, const QString& nodeKey) override;
  QByteArray explain(int taskId, const QString& nodeKey) override;
  void onTaskDetail(const boost::shared_ptr<ksservice::IData>& record) override;
  void deliverTaskDetail(const ksservice::CTaskDetailPtr& detail) override;
  bool handleEvent(int eventId, int buttonId, int value, QString text, void* payload) override;

  /// Index of the task filter, 0 to 3.
  int filter() const { return m_nFilter; }
  /// Tasks whose root was running at the last recount.
  int runningCount() const { return m_nRunningCount; }
  /// Chooses the filter "执行中" and applies it.
  void showRunning();

 Q_SIGNALS:
  /// A second way in for details; queued or direct, GUI thread.
  void sigTaskDetail(ksservice::CTaskDetailPtr detail);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void refreshAccounts() override;
  void createUi();
  /// Called by the worker when a refresh has ended, through the GUI thread's queue.
  void retartTimer();
  void initTasks();
  /// Reads the details of an account anew. Worker thread.
  void doRequestAccount(const ksservice::CAccountInfo& account);
  void doRequestAccounts(const std::set<std::string>& accountKeys);
  /// Applies what the worker staged, then the task filter of the index; unless skipFinished, the filter of finished
  /// sub-tasks too. Recounts the running tasks.
  void updateTable(int filter, bool skipFinished);

 protected Q_SLOTS:
  virtual void slotTimeout();
  void slotTaskDetail(ksservice::CTaskDetailPtr detail);
  void slotHedgeVolume(int taskId, int volume);
  void slotHedgeStatus(int taskId, int status);
  void slotNewTradingDay(std::string date);
  void onFoldAll(bool checked);
  void onExpandAll(bool checked);

 private:
  // Feed (any thread)
  void take(const ksservice::CTaskDetailPtr& detail);
  bool isOwn(const ksservice::CTaskDetail& detail) const;
  void announceError(const ksservice::CTaskDetail& detail);

  /// The first refresh starts after this time; from then on one starts at most once in it.
  static constexpr int REFRESH_MSEC = 1000;
  static constexpr int REFRESH_ID = 11;  ///< of the button "刷新"

  // Refresh (worker)
  /// What a job has worked on.
  struct SWork {
    unsigned day = 0;  ///< as the caches number it
    std::map<QString, boost::shared_ptr<CBasketTask>> tasks;
  };
  void doUpdateTasks();
  bool refreshTasks();
  static void forEach(const DetailMap& details, const std::function<void(const ksservice::CTaskDetailPtr&)>& apply);
  void applyTaskDetail(ksservice::CTaskDetailPtr detail, SWork& done);
  void applyHedgeDetail(ksservice::CTaskDetailPtr detail, SWork& done);
  void applyPatchDetail(ksservice::CTaskDetailPtr detail, SWork& done);
  void setHedgeParam(CBasketTask& task, const ksservice::COrderCommand& command);
  void setTableStatus(const ksservice::CTaskDetailPtr& detail, const SWork& done);
  boost::shared_ptr<CBasketTask> findTask(const QString& key) const;
  boost::shared_ptr<CBasketTask> findTask(const ksservice::CTaskDetail& detail, unsigned jobDay) const;
  boost::shared_ptr<CBasketTask> findOrCreateTask(const ksservice::CTaskDetail& detail, unsigned jobDay);
  boost::shared_ptr<CBasketTask> createTask(const ksservice::CTaskDetail& detail, unsigned jobDay);
  void stage(const SWork& done);
  void stageTask(const boost::shared_ptr<CBasketTask>& task);
  TaskMap tasks() const;

  // Loads (worker)
  std::vector<ksservice::CTaskDetailPtr> readDetails(unsigned& day);
  void loadTasks(const std::vector<ksservice::CTaskDetailPtr>& details, unsigned day);
  void loadOwn(ksservice::CTaskDetailPtr detail, SWork& loaded);
  void reload(ksservice::CTaskDetailPtr detail, const std::set<std::string>& accountKeys, SWork& loaded);
  static void beginLoad(const boost::shared_ptr<CBasketTask>& task, SWork& loaded);
  static void endLoads(SWork& loaded);
  void stageInOrder(const SWork& loaded);
  void postLoad(utils::EPanelJob kind, std::function<void()> work);
  void load(const std::function<void()>& work);

  // Shell (GUI thread)
  struct SToolBarControl;
  struct STaskAction;
  static const std::vector<SToolBarControl>& toolBarControls();
  static const std::vector<STaskAction>& taskActions();
  void fillToolBar(GV::CAutoExpandToolBar& bar);
  void addFilter(GV::CAutoExpandToolBar& bar);
  void createFindBar();
  void addKeys();
  void pressRefresh();
  bool onEvent(int eventId, int buttonId, int value, const QString& text, void* payload);
  static void act(const char* function, const std::function<void()>& work);
  void operateAll(const std::function<void(CBasketTask&)>& operate);
  void onToolBarButton(int id);
  void chooseFilter(int index);
  void cancelAll();
  void pauseAll();
  void resumeAll();
  void showSettings();
  void foldAll();
  void expandAll();
  void onTaskButton(int action, const QString& text, const QString& taskKey);
  void updateOrders(const QString& key);
  void stageOne(const boost::shared_ptr<CBasketTask>& task);
  void onPatchesChanged(int traderType, int taskId);
  void startOver(ELetGo why);
  static void letGo(const TaskMap& tasks, ELetGo why);
  void finishRefresh();
  void deliverAnnouncements();

  std::atomic<int> m_nTraderType;  ///< EMavTraderType as the feed compares it; written by the GUI thread
  int m_nFilter = 0;
  int m_nRunningCount = 0;
  double m_lastRefreshMSec = 0;
  CHpfBasketStatusTable* m_pTable = nullptr;
  GV::CComboPushButton* m_pFilterCombo = nullptr;
  GV::CCheckBox* m_pFilterFinishedCheck = nullptr;
  GV::CFindBar* m_pFindBar = nullptr;

  CDetailCaches m_caches;
  std::shared_ptr<CTaskAnnouncements> m_pAnnouncements = std::make_shared<CTaskAnnouncements>();
  std::mutex m_announcedMutex;                               ///< guards the next; nothing else is locked under it
  std::map<std::string, std::set<std::string>> m_announced;  ///< shown texts of execution errors, by detail key

  mutable std::mutex m_tasksMutex;  ///< guards the next two; nothing else is locked under it
  TaskMap m_tasks;
  unsigned m_nTasksDay = 0;  ///< the day of the tasks, as the caches number it

  std::unique_ptr<CJobQueue> m_workQueue;
  std::shared_ptr<CTaskDisposal> m_pDisposal;  ///< of the queue
  utils::CSubscriptionHandle m_subscription;
};

}  // namespace TC
