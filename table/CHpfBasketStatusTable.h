#pragma once

#include <QHash>
#include <boost/shared_ptr.hpp>
#include <memory>

#include "BasketStaging.h"
#include "CHpfBasketOptionDelegate.h"
#include "TaskBlock.h"
#include "gv/CHpfTreeTable.h"
#include "gv/LongWork.h"

class QAction;
class QMenu;

namespace TC {

class CBasketTask;
class CHpfBasketOrderDelegate;
class CTaskOrdersWidget;

/// The tree table of basket tasks: a root row for each task, below it the rows of the task's nodes.
///
/// Threads: beginRefresh, updateTask, resetStatus and clearTask only stage and are called by the panel's worker;
/// everything else belongs to the GUI thread, which takes what was staged in applyStaged.
class CHpfBasketStatusTable : public GV::CHpfTreeTable {
  Q_OBJECT

 public:
  explicit CHpfBasketStatusTable(int id, QWidget* parent);
  ~CHpfBasketStatusTable() override;

  // Staging, worker thread.
  /// What is staged from now on belongs to this day, see CBasketStaging.
  void beginRefresh(unsigned day) { m_staging.beginRefresh(day); }
  /// Stages every row of the task from its tree.
  void updateTask(const boost::shared_ptr<CBasketTask>& task) { m_staging.stageTask(task); }
  /// Stages the status and status text of the instrument row with this key in this account as its node has them now;
  /// nothing while they are the same, or for a row that the table does not have.
  void resetStatus(const boost::shared_ptr<CBasketTask>& task, const QString& accountKey, const QString& rowKey) {
    m_staging.stageStatus(task, accountKey, rowKey);
  }
  /// The next updateTask brings the task's rows anew; until then they stay, so that a user who acts in between meets
  /// them. Rows that come back under the same key keep their folding, selection and buttons, and count their changes
  /// from what they showed.
  void clearTask(const CBasketTask& task);

  /// Takes in what was staged.
  void applyStaged();
  /// Drops every row, and what a refresh of an earlier day is staging; the window of orders closes.
  void startDay(unsigned day);

  /// Which tasks show, and whether their finished sub-tasks do.
  struct STaskPass {
    std::vector<int> statuses;  ///< of the roots that show; empty for any
    bool hideFinished = false;

    bool operator==(const STaskPass& other) const = default;
  };
  /// A pass over the tasks that changed since the last pass (staged again, or announced a status), over all when this
  /// pass is another than the last. Gives the number of tasks whose root is running.
  int filterTasks(const STaskPass& pass);
  /// Every task may have a newer status than was staged or announced: the next pass asks them all.
  void askTasks();

  // The same for single tasks; endUpdate applies the differences to what is shown.
  /// Shows the task's root and the two levels below it. A folded row stays folded.
  void showTask(const CBasketTask& task);
  void hideTask(const CBasketTask& task);
  /// on: hides the finished children of the root, and of each child the leading run of finished ones; else ends that.
  void filterFinished(const CBasketTask& task, bool on);
  void endUpdate();

  /// Finds the task and the node's key of a row by its key, the node's key, its tree key or a display id.
  bool getBasketTaskItemByKey(const QString& key, boost::shared_ptr<CBasketTask>& task, QString& nodeKey) const;
  enum class EShown {
    Shown,
    Filtered,  ///< hidden or filtered out: the nearest row above that shows is chosen in its place, if there is one
    Unknown    ///< nothing is done: it is not there, or is another task's
  };
  /// The key of the node of a task's row that is named so; empty for none.
  QString nodeOf(const QString& taskKey, const QString& name) const;
  /// Unfolds down to the row of a task that is named so, as above, chooses it alone and scrolls to it.
  EShown showRow(const QString& taskKey, const QString& name);
  /// Null for an unknown key; the key may be any of those above.
  StatusRowPtr getDataByKey(const QString& key) const;

  /// Whether slotShowOrders opens the window of orders, or refreshes it when it shows this node already.
  enum EOrdersMode : int { FOLLOW_ORDERS = 0, SHOW_ORDERS = 1 };
  /// Refreshes the window of orders when it shows the task's root.
  void updateOrdersWidget(CBasketTask& task);

  /// Whether the task's root row is there under this key.
  bool checkRootTaskItem(const CBasketTask& task, const QString& key) const;
  /// After a task was cancelled: its rows are formed again.
  void canceledTaskDoNext(const CBasketTask& task);
  /// The prices of a direct patch, for a host that offers one: data of each action is an EPriceType, EPT_LimitUp for
  /// the limit on the side of the order.
  QMenu* priceMenu() const { return m_pPriceMenu; }

  CHpfBasketOptionDelegate* getTaskOptionDelegate() const { return m_pOptionDelegate; }
  CHpfBasketOrderDelegate* getTaskOrderDelegate() const { return m_pOrderDelegate; }

  /// The table's state as one text; see setParam.
  QString param() const;
  void setParam(const QString& text);
  EProcessDisplay processDisplayMode() const { return m_eProcessDisplay; }

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;

  /// Asks for a file and writes the rows that show as they stand when it was answered; the GUI goes on meanwhile. Says
  /// nothing when it fails; then no file is left, since the old one goes first. One export or copy at a time.
  bool exportData() override;
  /// Puts the rows that show on the clipboard, as exportData.
  void copyData() override;
  /// Appends the text to the file in UTF-8, with the system's line ends. False when it could not be written as a whole.
  /// Any thread.
  static bool writeDataToFile(const QString& text, const QString& fileName);

  int getColumnAdjustedWidth(int column) const override;
  int getAdjustVisibleRowsColumnWidth(int column) const override;

 Q_SIGNALS:
  /// Another row became the current one. nodeKey: empty for a root.
  void sigRowChosen(int taskId, QString nodeKey);
  /// The user wants a row explained. nodeKey: empty for a root.
  void sigExplainRow(int taskId, QString nodeKey);

 public Q_SLOTS:
  /// A status that the option delegate applied; task is null while its row does not exist.
  void slotTaskStatus(TC::CBasketTask* task, QString key, int status);
  /// key: the node's; mode: EOrdersMode.
  void slotShowOrders(TC::CBasketTask* task, QString key, int mode);
  /// Quantity texts follow the new trading unit.
  void slotUpdateStockUnit();

 protected:
  void updateRowCommands(const QString& rowKey) override;
  QString rowTitle(int row) const override;
  bool pressCell(int row, int column) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  void createUi();
  void createDelegates();
  void createOrdersWidget();
  void createPriceMenu();
  void createRowCommands();
  void tellExplain(const QString& rowKey);
  void tellChosen(const QString& rowKey);
  void onCellClicked(const QString& rowKey, int column);
  void showParams(CBasketTask& task, const QString& rowKey, const QString& nodeKey);
  void followOrders(const CTaskBlock& block);
  void fillOrders(CBasketTask& task, const QString& nodeKey, int mode);
  bool runExport(const QString& label, const GV::LongWork& work);
  void setProcessDisplay(EProcessDisplay mode);
  void showProgressTip(int y);
  void onOptionClicked(const QString& rowKey, int buttonId);
  void onOrderCounts(const QString& key, int reported, int received);

  CTaskBlock& apply(SStagedTask& staged);
  void begin(CTaskBlock& block, SStagedTask& staged);
  void reshape(CTaskBlock& block, SStagedTask& staged);
  /// Has the next pass look at a task, resp. also ask it for its root's status.
  void touch(CTaskBlock& block);
  void touchStatus(CTaskBlock& block);
  void filterBlock(CTaskBlock& block);
  void noteWish(CTaskBlock& block);
  int blockNumberOf(const QString& rowKey) const;
  /// Null for a task without rows.
  CTaskBlock* blockOf(const CBasketTask& task) const;
  CTaskBlock* blockOf(const QString& taskKey) const;
  const CTaskBlock* blockNaming(const QString& name) const;
  QString rowKeyOf(const QString& name) const;
  CHpfBasketOptionDelegate::SRowRef resolve(const QString& name) const;

  CBasketStaging m_staging;
  EProcessDisplay m_eProcessDisplay = EPD_Amount;
  bool m_bExporting = false;
  std::vector<std::unique_ptr<CTaskBlock>> m_blocks;  ///< by slot, null before the first rows
  QHash<QString, int> m_slots;                        ///< by task key
  STaskPass m_lastPass;
  QVector<CTaskBlock*> m_touched;  ///< changed since the last pass
  QVector<CTaskBlock*> m_pending;  ///< whose wantHidden is to be applied
  int m_nRunning = 0;              ///< blocks that were running at the last pass
  CHpfBasketOptionDelegate* m_pOptionDelegate = nullptr;
  CHpfBasketOrderDelegate* m_pOrderDelegate = nullptr;
  CTaskOrdersWidget* m_pOrdersWidget = nullptr;
  QString m_strOrdersRow;  ///< key of the row that the window of orders shows
  QMenu* m_pPriceMenu = nullptr;
  QVector<QAction*> m_buttonCommands;  ///< in the order of the delegate's
};

}  // namespace TC
