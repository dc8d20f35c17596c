#pragma once

#include <QList>
#include <QMap>
#include <QSharedData>
#include <QString>
#include <QTime>
#include <QVector>
#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "RowOrders.h"
#include "ksservice/COrderInfo.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/Enumerations.h"

namespace TC {

/// A sum of volumes that may be beyond 32 bits, behind a member that cannot be.
class CWideVolume {
 public:
  /// The nearest value that the member can hold.
  static int held(long long volume);
  /// Stores a sum and gives what the member is to hold.
  int set(long long volume);
  /// The sum, unless the member was given another value since.
  long long of(int member) const { return held(m_nVolume) == member ? m_nVolume : member; }

 private:
  long long m_nVolume = 0;
};

/// What a host may keep with a node. It is copied with the node, and read by nobody here.
struct SNodeExtras : QSharedData {
  int m_nReserved = 0;
  int m_nFlagValue = 0;
  QMap<QString, QString> m_mapExtra;
  std::string m_strExtra1;
  std::string m_strExtra2;
  std::string m_strExtra3;
  int m_nExtra1 = 0;
  int m_nExtra2 = 0;
  boost::shared_ptr<ksservice::IData> m_pShared;
};

/// One node of the tree by which a basket task is shown: root, group, account, instrument row or hedge row.
///
/// A plain structure: CBasketTask fills the figures, sums them upward and owns the nodes; the table walks the tree
/// and reads the members. Whoever touches a node of a living task holds that task's mutex (CBasketTask::mutex).
/// A node never deletes its children. A copy is shallow: it shares parent, children and orders.
/// Volumes are in shares or lots, amounts in CNY.
class CBasketTaskItem {
 public:
  CBasketTaskItem() = default;
  /// For rows and inner nodes. Mind the order: the sixth text goes to the fourth member. The command identifier is 0.
  CBasketTaskItem(const QString& name, const QString& key, const QString& accounts, const QString& stockKey,
                  const QString& market, const QString& accountName, int totalVolume);
  /// For roots: the same, and a command identifier.
  CBasketTaskItem(const QString& name, const QString& key, const QString& accounts, const QString& stockKey,
                  const QString& market, const QString& accountName, int commandId, int totalVolume);

  /// text, "-", the operation type in decimal.
  static QString genKey(QString text, ksservice::EOperationType type);

  QString getKey() const { return m_strKey; }
  CBasketTaskItem* parent() const { return m_pParent; }
  /// Hangs the node under p: p's key and "-" are put before the node's key and before those of its direct children.
  /// Nothing happens when p is the parent already. Deeper nodes keep their keys: that is intended.
  void setParent(CBasketTaskItem* p);
  /// Appends c, unless it is null, and hangs it under this node. Duplicates are not checked.
  void addChild(CBasketTaskItem* c);
  /// Null outside 0 .. childCount() - 1.
  CBasketTaskItem* childAt(int i) const;
  int childCount() const { return m_children.size(); }
  /// True without children; orders are not looked at.
  bool isEmpty() const { return m_children.isEmpty(); }
  /// Empties the list of children; deletes nothing.
  void clear() { m_children.clear(); }
  /// The first node with the key in pre-order, this one first; null when there is none.
  CBasketTaskItem* find(const QString& key);
  /// Whether the finished volume has reached the target; always true for a target of 0.
  bool finished() const { return m_nFinishedVolume >= m_nTotalVolume; }
  /// The same by the sums in 64 bits; never for a node with an unset target.
  bool isFilled() const { return !m_bUnset && finishedVolume() >= totalVolume(); }
  /// Whether some of the target is left; never for a node with an unset target.
  bool hasRemainder() const { return !m_bUnset && finishedVolume() < totalVolume(); }
  bool isHedge() const { return m_bHedge; }
  /// Target and finished volume in 64 bits: the sums, where the members are held at the edge of 32 bits, else the
  /// members. Of a node with an unset target the total is what its other parameters are to trade.
  long long totalVolume() const { return m_total.of(m_nTotalVolume); }
  long long finishedVolume() const { return m_finished.of(m_nFinishedVolume); }
  /// Raises the target by what one more parameter is to trade.
  void addTarget(const ksservice::CCodeOrderParam& param);
  /// Stores an order under its key, in place of an earlier one with that key. Null is ignored.
  void insertOrder(boost::shared_ptr<ksservice::COrderInfo>& o);
  /// Appends the orders of the leaves below, or the node's own where it is a leaf, each in key order.
  void getOrders(std::vector<boost::shared_ptr<ksservice::COrderInfo>>& out);
  void setCommandId(int id) { m_nCommandId = id; }
  void setHpfTreeKey(QString key) { m_strHpfTreeKey = std::move(key); }

  QString m_strName;             ///< display name
  QString m_strKey;              ///< key of the node: the parent's key, "-", the key with which it was made
  QString m_strAccounts;         ///< display id of the account; of the root: all of them, joined by "/"
  QString m_strAccountName;      ///< account name text
  QString m_strStockKey;         ///< key of the instrument; the code alone for a hedge row
  QString m_strMarket;           ///< market of the instrument
  QVector<int> m_vecOperations;  ///< EOperationType values, each once, in the order in which they were met
  int m_nTotalVolume = 0;        ///< target volume
  QTime m_startTime;             ///< time of day of the start (root); null until known
  QTime m_endTime;               ///< time of day of the end (root); null while the task has not ended
  int m_nStatus = 0;             ///< ETaskStatus
  QString m_strRemark;           ///< remark shown with the node
  int m_nCommandId = ksservice::UNSET_INT;
  QString m_strCommandText;              ///< text of the command record
  int m_nOrderType = 0;                  ///< EOrderType
  int m_nFinishedVolume = 0;             ///< traded volume, patches included
  double m_dTradedAmount = 0;            ///< traded amount, patches included
  double m_dTotalAmount = 0;             ///< target amount
  int m_nOrderCount = 0;                 ///< orders, patches included
  int m_nOrderCount2 = 0;                ///< orders whose order detail is known, patches included
  int m_nTradedVolume = 0;               ///< volume traded by the task's own orders
  double m_dCurAmount = 0;               ///< amount traded by the task's own orders
  int m_nCurOrderCount = 0;              ///< the task's own orders
  int m_nCurOrderCount2 = 0;             ///< the task's own orders whose order detail is known
  int m_nPatchVolume = 0;                ///< volume traded by patch tasks
  int m_nCanceledCount = 0;              ///< orders whose order detail is cancelled, patches included
  double m_dPatchAmount = 0;             ///< amount traded by patch tasks
  int m_nPatchOrderCount = 0;            ///< orders of patch tasks
  int m_nPatchOrderCount2 = 0;           ///< orders of patch tasks whose order detail is known
  bool m_bPatching = false;              ///< a patch of the node is under way
  bool m_bHedge = false;                 ///< set on a hedge row while automatic hedging runs
  QString m_strLocalInfoKey;             ///< root of a task of 100000 and above: two fields of the command's local info
  CBasketTaskItem* m_pParent = nullptr;  ///< not owned; null for the root
  QList<CBasketTaskItem*> m_children;    ///< not owned; in display order
  CRowOrders m_mapOrders;                ///< by order key
  QSharedDataPointer<SNodeExtras> m_extras;  ///< null while there are none
  QString m_strHpfTreeKey;                   ///< the task's name for the node's row in the tree table; see CBasketTask
  std::string m_strAccountKey;  ///< key of the account of an account node or row; display ids are not unique
  CWideVolume m_total;          ///< the sum behind m_nTotalVolume
  CWideVolume m_finished;       ///< the sum behind m_nFinishedVolume
  CWideVolume m_traded;         ///< the sum behind m_nTradedVolume
  CWideVolume m_patched;        ///< the sum behind m_nPatchVolume
  bool m_bUnset = false;        ///< a parameter that falls on the node has no volume: it has no remainder
  unsigned char m_nNoted = 0;   ///< in which lists of changed rows the row stands; the task's own affair
  int m_nLedger = 0;            ///< the row's number in the task's ledger
  int m_nPlace = 0;             ///< among the parent's children
};

}  // namespace TC
