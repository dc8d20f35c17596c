#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "CBasketTaskItem.h"
#include "IPatchConfirm.h"
#include "PatchBook.h"
#include "PatchRules.h"
#include "PatchStore.h"
#include "Remainder.h"
#include "RootNames.h"
#include "RowLedger.h"
#include "TaskRules.h"
#include "ksservice/CBasketHedgeParam.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/CTaskOpRecord.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace TC {

/// Whether somebody still shows the task, or why nobody does.
enum class ELetGo { Held, NewTradingDay, Closed };

/// To what part of a task a detail belongs.
enum EBasketTaskType : int { EBTT_Own = 0, EBTT_Hedge = 1, EBTT_Patch = 2 };

/// One basket task as the panel shows it: keeps the task's details, builds the tree of nodes from them, sums the
/// figures up the tree and derives the task's status.
///
/// Threads: the panel's worker makes the object (and moves it to the GUI thread) and calls the update operations, each
/// of which holds the task's mutex for its whole run; every other operation may be called on any thread and takes the
/// mutex briefly. Who keeps a node that an operation returned must hold mutex() while using it, since a refresh may
/// be rebuilding the tree. Signals are emitted on the calling thread, with the mutex held: connect them queued.
///
/// Keys: a node's m_strKey is its parent's key, "-", and the key with which it was made; m_strHpfTreeKey is the root's
/// tree key (set by the panel) and, for a row, its number within its account.
class CBasketTask : public QObject, public boost::enable_shared_from_this<CBasketTask> {
  Q_OBJECT

 public:
  /// groupId: the task's number, under which the hedge manager knows its hedge too.
  CBasketTask(const QString& key, int groupId, int commandId);
  ~CBasketTask() override;

  /// Takes a new state of one of the task's own details. Null is ignored. Worker thread.
  void updateDetail(boost::shared_ptr<ksservice::CTaskDetail>& d);
  /// Runs updateDetail again for every detail of the task, in key order. Worker thread.
  void updateOrderDetail();
  /// Until endLoad the update operations only take in what they are given: the tree is built, summed and announced
  /// once, at the end, since a load brings thousands of details of one task. Worker thread.
  void beginLoad();
  void endLoad();
  /// Builds the tree anew from the rows. Worker thread.
  void reorganize();
  /// Sums the whole tree, forms the root's status and times anew, and announces them. Worker thread.
  void updateRoot();
  /// Sums the figures up the tree below n and announces the order counts of each inner node. Worker thread.
  void recursiveUpdate(CBasketTaskItem* n);
  /// Empties the child lists of n and of everything below it.
  void recursiveClear(CBasketTaskItem* n);

  /// The status that follows from the details and the hedge. May hand the hedge parameters to the hedge manager.
  ksservice::ETaskStatus status();
  /// Whether the task knows the detail; of EBTT_Hedge: whether it has a hedge row, whatever the key.
  bool contains(const std::string& detailKey, EBasketTaskType type) const;
  bool contains(boost::shared_ptr<ksservice::CTaskDetail>& d, EBasketTaskType type) const;

  /// Never null, and the same for the life of the task.
  CBasketTaskItem* getRoot() const { return m_pRoot.get(); }
  /// Null while the task has no hedge.
  CBasketTaskItem* getHedgeItem() const { return m_pHedgeItem; }
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
  QString getKey() const { return m_strKey; }
  int getGroupId() const { return m_nGroupId; }
  int getCommandID() const { return m_nCommandId; }
  QString getBasketName() const;
  bool isReached() const;  ///< by a detail of its own; until then it has nothing to show
  /// What the root's row shows: its status, but EHBTS_Patching from the acceptance of a patch until its first detail
  /// has come, or ETS_Dropped when the task was dropped meanwhile.
  int shownStatus() const;
  /// Rows of an account by row key; an empty map is made for an unknown account. With mutex() held.
  QMap<QString, CBasketTaskItem*>& getStockDetailMap(const QString& accountKey);
  /// Remembers how an account is shown; the first text stays. Worker thread.
  void noteAccount(const QString& accountKey, const QString& text);
  /// Appends the orders below a node and what the data centre knows of them; nothing for an unknown key.
  void getOrders(const QString& key, std::vector<boost::shared_ptr<ksservice::COrderDetail>>& details,
                 std::vector<boost::shared_ptr<ksservice::COrderInfo>>& orders);
  /// The parameters of the task's own details that fall on the rows of a node, in detail-key order; for the root's
  /// key all of them, none for an unknown key.
  std::vector<ksservice::CCodeOrderParam> getParam(const QString& key) const;
  /// The algorithm parameters of the task's command, as the host wrote them; empty without a command.
  QString getAlgoParams() const;
  /// The key under which the server's progress queries know a detail.
  static void getAlgoTaskKey(const ksservice::CTaskDetail& detail, std::string& out);

  /// Takes hedge parameters and hands them to the hedge manager; start: starts the hedge too. Whether they were handed
  /// over before, at the end of the task, is remembered across calls.
  void setHedgeParam(const ksservice::CBasketHedgeParam& p, bool start);

  /// Counts a hedge's detail and announces what follows; ignores any other without a signal. Worker thread.
  void updateHedge(boost::shared_ptr<ksservice::CTaskDetail>& d);
  /// Counts a hedge detail into the hedge row, which it makes when there is none. False, and nothing changed, unless
  /// the detail's first account is of type 1. Worker thread.
  bool updateHedgeCnt(boost::shared_ptr<ksservice::CTaskDetail>& d);
  /// The hedge manager reached its limit of orders: tells the user and pauses the task. The status is not used. GUI
  /// thread.
  void updateHedgeStatus(int status);
  /// The hedge manager's new target in lots; the target only grows. GUI thread.
  void updateHedgeVolume(int volume);
  /// Ends the automatic hedge when key is the hedge row's; any other key is ignored. GUI thread.
  void cancelHedge(const QString& key);

  /// Operations on the whole task; text: that of the event that caused the call, empty for the tool bar. GUI thread,
  /// but for drop, which a patch detail may cause on the worker.
  void cancel(QString text);
  void pause(QString text);
  void resume(QString text);
  void drop(QString text);
  /// The server's answer to one send of an operation (ETaskOperation). Any thread.
  void onOperateOrbTask(const utils::KSError& error, const bson::BSONObj& reply, int operation);
  /// Shows a failed operation to the user. GUI thread.
  void slotShowOperateOrbTaskError(QString message);

  /// Starts a patch of the whole task, after a query of its server tasks' progress where it has any. GUI thread.
  void checkHasAlgoTask(const QString& key, EMavTraderType traderType);
  /// The answer of that query. Any thread.
  void onQueryOrderProcess(const OrderProcessMap& data, const utils::KSError& err, const bson::BSONObj& result,
                           const QString& key);
  /// Goes on with a patch whose query was answered. GUI thread.
  void slotPatchTask(QString key, bool ok);
  /// Patches the task by what the user confirms in a dialog. GUI thread, without mutex().
  void patchWithParam(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType);
  /// Appends a parameter with the quantity of an item that may be patched, when there is any. With mutex() held.
  void calcAvailable(CBasketTaskItem* item, boost::shared_ptr<const ksservice::CAccountInfo> account,
                     std::vector<ksservice::CCodeOrderParam>& out, const QString& accountKey,
                     const OrderProcessMap& finished);
  /// What the task's server tasks have finished of a security for an account.
  int getFinishedOrderNumForAlgoTask(const QString& accountKey, std::string& securityKey,
                                     const OrderProcessMap& finished);
  /// Patches one row, or (empty or the root's key) every row, without a dialog. priceType: EPriceType, 0 for the stored
  /// order setting. For a host's own use; GUI thread.
  void patch(const QString& key, int priceType);
  /// Gives the task's patches up. GUI thread or worker, as drop.
  void unpatch(const QString& key);
  /// What was accepted in patches has changed elsewhere: forms the root anew and announces it. GUI thread.
  void onPatchesChanged();
  /// Nobody shows the task any more: what the user is still asked is not sent. GUI thread.
  void letGo(ELetGo why);
  /// Links and counts a detail of a patch task. Worker thread.
  void updatePatch(boost::shared_ptr<ksservice::CTaskDetail>& detail);
  /// Counts a detail of a patch task into the rows that it touches. Worker thread.
  void updatePatchCnt(boost::shared_ptr<ksservice::CTaskDetail>& detail);
  /// The status that the task shows while patch tasks exist.
  ksservice::ETaskStatus patchTaskStatus();

  /// The task's mutex, recursive. Never hold it across a dialog or a wait.
  boost::recursive_mutex& mutex() const { return m_mutex; }
  /// Grows with each reorganize: as long as it stands, every node stays and keeps its place and keys. With mutex()
  /// held.
  unsigned shapeVersion() const { return m_nShapeVersion; }

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
  bool patch(CBasketTaskItem* item, boost::shared_ptr<const ksservice::CAccountInfo> account, int priceType);

 private:
  using RowMap = CPatchBook::Rows;
  using DetailMap = CPatchBook::DetailMap;
  using NodeList = std::vector<std::unique_ptr<CBasketTaskItem>>;
  using Lock = boost::recursive_mutex::scoped_lock;
  using AccountPtr = boost::shared_ptr<const ksservice::CAccountInfo>;
  struct SAccount {
    QString key;
    QString displayId;
    QString name;
  };
  using OpRecordPtr = boost::shared_ptr<const ksservice::CTaskOpRecord>;
  using DetailList = std::vector<boost::shared_ptr<const ksservice::CTaskDetail>>;
  using ParamList = std::vector<ksservice::CCodeOrderParam>;
  /// How far a patch has come that the user started: Querying until the progress query is answered, Confirming while
  /// the user is asked.
  enum class EPatchPhase { None, Querying, Started, Confirming };
  struct SRefresh;  // one run of updateDetail
  struct SLoad;     // what a load has brought
  // See PatchOffer.h.
  struct SNewest;
  struct SLeft;
  struct SOffer;

  static SAccount accountOf(const ksservice::CTaskDetail& detail);
  static QString rowKeyOf(const ksservice::CCodeOrderParam& p);

  // Assembly
  void storeAlgoDetail(const boost::shared_ptr<ksservice::CTaskDetail>& d);
  void addAccount(const CRootNames::Place& place, const SAccount& account);
  void addRows(const SRefresh& run);
  void addParam(const SRefresh& run, const ksservice::CCodeOrderParam& param, AccountRows& rows);
  CBasketTaskItem* makeRow(const SAccount& account, const QString& rowKey, const ksservice::CCodeOrderParam& param);

  // Counting
  void countDetail(const SRefresh& run);
  void countTargets(const SRefresh& run, CDetailShares& shares);
  void countProgress(const SRefresh& run, CDetailShares& shares);
  void countOrders(const SRefresh& run, CDetailShares& shares, bool fileAnew);
  void addOrder(const SRefresh& run, std::size_t place, CDetailShares::SSlot& slot) const;
  QString algoRemark(const ksservice::CTaskDetail& detail) const;
  int slotOn(CDetailShares& shares, const SRefresh& run, const std::string& market, const std::string& code,
             int operation);
  void await(const SRefresh& run, const std::string& market, const std::string& code, int operation);
  void countAwaited();

  // Shape of the tree
  void hangSide(const RowMap& side, const QString& name, bool multiType, NodeList& nodes);
  void followShape();
  void askAccounts(const QString& also = QString());
  void buildTree();
  SAccount accountOfRows(const QString& accountKey, const CBasketTaskItem& firstRow) const;
  void logShape(const char* pattern, bool multiType, const RowMap& side) const;
  void sumUp(CBasketTaskItem* n);
  void sumAll();

  // The root's own facts
  SStatusFacts statusFacts(const DetailMap& details) const;
  ksservice::ETaskStatus verdict(const SStatusFacts& facts, const char* function);
  void handHedgeOver();
  bool isFilled() const;
  int rootStatusNow();
  QTime endTime() const;
  void formRoot();
  void updateStartTime(const ksservice::CTaskDetail& detail);
  void writeBackFinished(const ksservice::CTaskDetail& detail);
  void updateLocalInfoKey(const ksservice::CTaskDetail& detail);

  // Hedge
  void addHedgeRow(const ksservice::CTaskDetail& d);
  void countHedge(const std::vector<ksservice::COrderDetailPtr>& known);
  void showHedgeRunning();
  void endHedgeMark();

  // Operations
  DetailList details(bool own, bool patches) const;
  DetailList reach(int operation, bool own);
  void send(const ksservice::CTaskDetail& detail, const OpRecordPtr& record);
  void carryOut(const ksservice::CTaskDetail& detail, const OpRecordPtr& record);
  bool resumeHedge();
  bool settle(ksservice::ETaskStatus expected);
  bool onlyHedgeUnfinished() const;
  void giveUpWaiting();
  void announce(int status);
  void announceRoot();
  void announceEnded();

  // Patching: counting
  void announcePatched(bool dropped, bool patched);
  void announcePatch(const ksservice::CTaskDetail& detail);
  void announcePatchState(int status, int orderType);
  bool dropsForHedge();

  // Patching: what was accepted and has not come
  CPatchStore::Task storeKey() const;
  CPatchStore::SWait waitOf() const;
  void noteArrival(const ksservice::CTaskDetail& detail);
  void sendOwed(const ksservice::CTaskDetail& detail);
  void noteArrivals(const SNewest& details);
  int hold(const LineVolumes& lines);
  static void takeCreateReply(const boost::weak_ptr<CBasketTask>& weak, const CPatchStore::Task& key, int creation,
                              const LineVolumes& lines, const utils::KSError& error, int taskId);
  void onPatchFailed(const LineVolumes& lines, const QString& message);
  void releaseRows(const LineVolumes& lines);

  // Patching: from the click to the answer
  bool beginPatch();
  void endPatch();
  void refusePatch();
  std::vector<std::string> beginQuery();
  void endQuery();
  bool isNewestQuery(int number) const;
  void failQuery();
  void confirmPatch(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType);
  void takePatch(const SPatchOrders& chosen, const OrderProcessMap& finished);
  void takeNewBasket(const SPatchBasket& chosen, const OrderProcessMap& finished);
  bool stillHolds();
  bool checkFits(const ParamList& params, const OrderProcessMap& finished);
  static void tellRefused(const QStringList& refused);
  void refuseOffer();
  void sendPatch(const SPatchOrders& chosen);
  void createPatch(const ksservice::COrderCommand& command, const ParamList& params, int hedgeType);

  // Patching: the remainder
  const ksservice::CTaskDetailPtr* algoDetail(const std::string& taskKey) const;
  SNewest newest() const;
  bool isCancelled(const SNewest& details) const;
  SPatchSource sourceOf(const ksservice::CTaskDetail& detail, const OrderProcessMap* finished) const;
  std::vector<SPatchSource> sources(const SNewest& details, const OrderProcessMap* finished) const;
  LineVolumes takenVolumes(const SNewest& details, const OrderProcessMap* finished) const;
  std::set<PatchLine> unansweredLines(const SNewest& details, const OrderProcessMap& finished) const;
  static bool answersAll(const SNewest& details, const OrderProcessMap& finished);
  std::vector<SRemainderRow> remainderRows(const OrderProcessMap* finished, std::vector<CBasketTaskItem*>& items);
  LineVolumes heldVolumes(const SNewest& details, const OrderProcessMap* finished) const;
  std::vector<SLeft> leftOf(const SNewest& details, const OrderProcessMap* finished);
  std::optional<int> offered(const SLeft& left) const;
  QString refusal(const SLeft& left, const AccountPtr& account, const std::set<PatchLine>& unanswered) const;
  static QString refusalLine(const ksservice::CCodeOrderParam& param, const QString& reason);
  static QString refusalLine(const QString& stockKey, int operation, const QString& account, const QString& reason);
  static std::optional<ksservice::CCodeOrderParam> patchParam(const CBasketTaskItem& item, const AccountPtr& account,
                                                              int volume);
  static std::optional<int> inLots(const CBasketTaskItem& item, long long remainder);
  SOffer offer(const OrderProcessMap& finished);
  bool stillFits(const ParamList& params, const OrderProcessMap& finished);

  // Patching without a dialog
  void patchAll(int priceType);
  void patchOne(const QString& key, int priceType);
  std::vector<SLeft> directlyLeft();
  bool patchRow(const SLeft& left, const AccountPtr& account, int priceType);
  bool failRow(CBasketTaskItem& item, const QString& reason);

  std::unique_ptr<CBasketTaskItem> m_pRoot;
  CRootNames m_rootNames;
  const QString m_strKey;
  const int m_nGroupId;
  const int m_nCommandId;
  int m_nTraderType = 0;  ///< EMavTraderType of the command
  QString m_strBasketName;
  CBasketTaskItem* m_pHedgeItem = nullptr;
  ksservice::CBasketHedgeParam m_hedgeParam;
  CRowLedger m_ledger;                     ///< owns the rows of both maps
  RowMap m_stockMap;                       ///< rows of securities by account key, then row key
  RowMap m_futuresMap;                     ///< rows of futures, alike
  QMap<QString, QString> m_accountTexts;   ///< display identifiers by account key
  QMap<QString, SAccount> m_hostAccounts;  ///< as the host names them, by account key
  DetailMap m_mapDetails;
  bool m_bReached = false;
  bool m_bNewRows = false;        ///< that are not in the tree yet
  std::unique_ptr<SLoad> m_load;  ///< of the load that goes on
  DetailMap m_mapHedgeDetails;
  DetailMap m_mapAlgoDetails;  ///< server tasks, by the key of their progress
  CPatchBook m_patches{m_ledger, m_stockMap};
  bool m_bHedgeAmountPending = true;  ///< the hedge row was not priced yet
  bool m_bHedgeCancelled = false;     ///< by the user, through the hedge row
  bool m_bDroppedForHedge = false;    ///< since nothing but the hedge was unfinished
  mutable boost::recursive_mutex m_mutex;

  /// Details with orders for which a better row may come, by account key and the row key that it would have.
  std::map<std::pair<QString, QString>, std::set<std::string>> m_awaitedRows;
  std::set<std::string> m_awaiting;          ///< those for which it has come
  OrderProcessMap m_mapProgress;             ///< the last answer of a progress query
  std::set<std::string> m_runningWhenAsked;  ///< server tasks that had not ended when it was asked for
  EPatchPhase m_patchPhase = EPatchPhase::None;
  int m_nQuery = 0;         ///< number of the newest query
  int m_nAnswered = 0;      ///< number of the query that was answered last
  double m_dAskedMSec = 0;  ///< when the newest query was sent, by the host's clock
  ELetGo m_eLetGo = ELetGo::Held;
  bool m_bDroppedMeanwhile = false;                ///< the task was dropped since the user was asked
  std::unique_ptr<IPatchConfirm> m_pPatchConfirm;  ///< made for the first patch; GUI thread

  NodeList m_innerNodes;  ///< group and account nodes of the current shape
  unsigned m_nShapeVersion = 0;
};

}  // namespace TC
