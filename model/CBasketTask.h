#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CBasketTaskItem.h"
#include "EBasketTaskType.h"
#include "ELetGo.h"
#include "RowChanges.h"
#include "ksservice/CBasketHedgeParam.h"
#include "ksservice/CTaskDetail.h"
#include "tc/CTradeClient.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace TC {

class CTaskGuard;
class CTaskLock;
class IPatchConfirm;
struct SRowExplanation;

/// One basket task as the panel shows it: takes the task's details, shows them as a tree of nodes with figures, status
/// and times, and carries out what the user asks for. What it is made of stands in TaskParts.h; here stand the given
/// operations and the order of their steps.
///
/// Threads: the panel's worker makes the object (and moves it to the GUI thread) and calls the update operations, each
/// of which holds the task's mutex for its whole run; every other operation may be called on any thread and takes the
/// mutex briefly. Who keeps a node that an operation returned must hold mutex() while using it, since a refresh may
/// be rebuilding the tree. Signals are emitted on the calling thread when the figures stand: connect them queued.
///
/// Keys: a node's m_strKey is its parent's key, "-", and the key with which it was made; m_strHpfTreeKey is the root's
/// tree key (set by the panel) and, for a row, its number within its account.
class CBasketTask : public QObject, public boost::enable_shared_from_this<CBasketTask> {
  Q_OBJECT

 public:
  using DetailPtr = ksservice::CTaskDetailPtr;
  using ParamList = std::vector<ksservice::CCodeOrderParam>;
  using AccountPtr = boost::shared_ptr<const ksservice::CAccountInfo>;

  /// groupId: the task's number, under which the hedge manager knows its hedge too.
  CBasketTask(const QString& key, int groupId, int commandId);
  ~CBasketTask() override;

  // Updates: worker thread. Details are never changed; null is ignored.
  /// Takes a new state of one of the task's own details.
  void updateDetail(DetailPtr& d);
  /// Runs updateDetail again for every detail of the task, in key order.
  void updateOrderDetail();
  /// Takes a hedge's detail; ignores any other without a signal.
  void updateHedge(DetailPtr& d);
  /// Counts it into the hedge row alone. False, and nothing changed, unless the detail's first account is of type 1.
  bool updateHedgeCnt(DetailPtr& d);
  /// Takes a detail of a patch task.
  void updatePatch(DetailPtr& detail);
  /// Counts it into the rows that it touches.
  void updatePatchCnt(DetailPtr& detail);
  /// Until endLoad the updates only take in what they are given: the tree is built, summed and announced once, at the
  /// end, since a load brings thousands of details of one task.
  void beginLoad();
  void endLoad();
  /// Builds the tree anew from the rows.
  void reorganize();
  /// Sums the figures up the tree below n and announces the order counts of each inner node.
  void recursiveUpdate(CBasketTaskItem* n);
  /// Empties the child lists of n and of all below it.
  void recursiveClear(CBasketTaskItem* n);
  /// Remembers how an account is shown; the first text stays.
  void noteAccount(const QString& accountKey, const QString& text);
  /// Takes hedge parameters and hands them to the hedge manager; start: starts the hedge too. Whether they were handed
  /// over before, at the end of the task, is remembered across calls.
  void setHedgeParam(const ksservice::CBasketHedgeParam& p, bool start);

  // Look-up
  /// The status that follows from the details and the hedge, and from the patches and the hedge. Both may hand the
  /// hedge parameters to the hedge manager.
  ksservice::ETaskStatus status();
  ksservice::ETaskStatus patchTaskStatus();
  /// Whether the task knows the detail; of EBTT_Hedge: whether it has a hedge row, whatever the key.
  bool contains(const std::string& detailKey, EBasketTaskType type) const;
  bool contains(DetailPtr& d, EBasketTaskType type) const;
  /// Never null, and the same for the life of the task.
  CBasketTaskItem* getRoot() const;
  /// Null while the task has no hedge.
  CBasketTaskItem* getHedgeItem() const;
  /// Null when no node has the key. With mutex() held.
  CBasketTaskItem* getItem(const QString& key) const;
  /// EORT_Plain when no node has the key.
  ksservice::EOrderType getOrderType(const QString& key);
  bool isAlgoOrderType(const QString& key);
  /// Key of the row that a parameter falls on: instrument key and operation text.
  QString getTreeItemKey(const ksservice::CCodeOrderParam& p);
  /// Key of the task's command in the command centre.
  std::string getCommandKey() const;
  /// Whether the first of the task's details runs on the server.
  bool isServerRun() const;
  QString getKey() const;
  int getGroupId() const;
  int getCommandID() const;
  QString getBasketName() const;
  bool isReached() const;  ///< by a detail of its own; until then it has nothing to show
  /// What the root's row shows: its status, but EHBTS_Patching from the acceptance of a patch until its first detail
  /// has come, or ETS_Dropped when the task was dropped meanwhile.
  int shownStatus() const;
  /// Rows of an account by row key; an empty map is made for an unknown account. With mutex() held.
  QMap<QString, CBasketTaskItem*>& getStockDetailMap(const QString& accountKey);
  /// Appends the orders below a node and what the data centre knows of them; nothing for an unknown key.
  void getOrders(const QString& key, std::vector<boost::shared_ptr<ksservice::COrderDetail>>& details,
                 std::vector<boost::shared_ptr<ksservice::COrderInfo>>& orders);
  /// The parameters of the task's own details that fall on the rows of a node, in detail-key order; for the root's
  /// key all of them, none for an unknown key.
  ParamList getParam(const QString& key) const;
  /// The algorithm parameters of the task's command, as the host wrote them; empty without a command.
  QString getAlgoParams() const;
  /// The key under which the server's progress queries know a detail.
  static void getAlgoTaskKey(const ksservice::CTaskDetail& detail, std::string& out);
  /// Takes what a task is made of when it is deleted, on the thread that deletes it, to be freed somewhere else: of a
  /// large task that takes a while. Throws nothing.
  using Disposal = std::function<void(std::shared_ptr<void>)>;
  /// Before others know the task. Without it the task frees everything itself.
  void setDisposal(Disposal disposal) { m_disposal = std::move(disposal); }
  /// The task's mutex, recursive. Never hold it across a dialog or a wait.
  boost::recursive_mutex& mutex() const;
  /// Grows with each reorganize: as long as it stands, every node stays and keeps its place and keys. With mutex()
  /// held.
  unsigned shapeVersion() const;

  /// The nodes of which something that a table shows may be another than at the last call, and the only ones: inner
  /// nodes, rows and hedge row. The first call, and whatever changes the tree, names none but tells that all may be.
  /// For one table alone. With mutex() held.
  SChangedRows takeChanges();

  /// Why a node says what it says; nothing for an unknown one. nodeKey: empty for the root. Any thread, also in a call
  /// that the task makes of the host.
  std::optional<SRowExplanation> explain(const QString& nodeKey);

  // Operations: GUI thread. text: that of the event that caused the call, empty for the tool bar.
  void cancel(QString text);
  void pause(QString text);
  void resume(QString text);
  /// A patch detail may cause it on the worker, too.
  void drop(QString text);
  /// Gives the task's patches up. GUI thread or worker, as drop.
  void unpatch(const QString& key);
  /// Ends the automatic hedge when key is the hedge row's; any other key is ignored.
  void cancelHedge(const QString& key);
  /// The hedge manager reached its limit of orders: tells the user and pauses the task. The status is not used.
  void updateHedgeStatus(int status);
  /// The hedge manager's new target in lots; the target only grows.
  void updateHedgeVolume(int volume);
  /// The server's answer to one send of an operation (ETaskOperation). Any thread.
  void onOperateOrbTask(const utils::KSError& error, const bson::BSONObj& reply, int operation);
  /// Shows a failed operation to the user.
  void slotShowOperateOrbTaskError(QString message);
  /// Nobody shows the task any more: what the user is still asked is not sent.
  void letGo(ELetGo why);

  // Patches: GUI thread, without mutex() where a dialog may open.
  /// Starts a patch of the whole task, after a query of its server tasks' progress where it has any.
  void checkHasAlgoTask(const QString& key, EMavTraderType traderType);
  /// The answer of that query. Any thread.
  void onQueryOrderProcess(const OrderProcessMap& data, const utils::KSError& err, const bson::BSONObj& result,
                           const QString& key);
  /// Goes on with a patch whose query was answered.
  void slotPatchTask(QString key, bool ok);
  /// Patches the task by what the user confirms.
  void patchWithParam(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType);
  /// Appends a parameter with the quantity of an item that may be patched, when there is any.
  void calcAvailable(CBasketTaskItem* item, AccountPtr account, ParamList& out, const QString& accountKey,
                     const OrderProcessMap& finished);
  /// What the task's server tasks have finished of a security for an account.
  int getFinishedOrderNumForAlgoTask(const QString& accountKey, std::string& securityKey,
                                     const OrderProcessMap& finished);
  /// Patches one row, or (empty or the root's key) every row, without a dialog. priceType: EPriceType, 0 for the stored
  /// order setting. For a host's own use.
  void patch(const QString& key, int priceType);
  /// What was accepted in patches has changed elsewhere: forms the root anew and announces it.
  void onPatchesChanged();

 Q_SIGNALS:
  /// Name, status, order type of a node: the root by its tree key, every other node by its key, since the rows of two
  /// accounts share their tree keys.
  void sigTaskStatus(QString name, int status, int orderType);
  /// Tree key and the two order counts of a node.
  void sigTaskOrder(QString treeKey, int orderCount, int orderCount2);
  void sigPatchTask(QString key, bool ok);
  /// Lines for the host's new-basket window.
  void sigPatchCreateTask(QString lines);
  /// An operation on a node has come to nothing: what is announced next is shown even when the status is the same.
  void sigOperationEnded(QString treeKey);
  /// An operation on the task failed; message for the user.
  void sigShowOperateOrbTaskError(QString message);

 protected:
  /// Patches one row; true when a task was asked for.
  bool patch(CBasketTaskItem* item, AccountPtr account, int priceType);

 private:
  class CPatchFlow;
  class CSpeech;

  void announce(int status);
  void announceRoot();
  void announceEnded();
  void announcePatched(bool dropped, bool patched);
  void giveUpWaiting();
  void sendOwed(const ksservice::CTaskDetail& detail);

  std::unique_ptr<CTaskGuard> m_guard;  ///< null in the destructor alone
  Disposal m_disposal;
  std::unique_ptr<IPatchConfirm> m_pPatchConfirm;  ///< made for the first patch; GUI thread
};

}  // namespace TC
