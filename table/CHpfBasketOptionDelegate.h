#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <functional>
#include <map>
#include <vector>

#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "tc/TaskEvents.h"

namespace TC {

class CBasketTask;

/// The line of a tip that names a command and its key.
QString commandHint(const QString& text, int key);

/// The operations of a task's row: one set of buttons a row, whose state follows the row's status. GUI thread.
///
/// Statuses come under tree keys, node keys or display ids; the table resolves them to row keys. Those of nodes whose
/// rows have not come yet wait for them.
class CHpfBasketOptionDelegate : public GV::CBaseTableColumnMultiButtonsDelegate {
  Q_OBJECT

 public:
  struct SRowRef {
    QString key;                  ///< the row's key, of a root known also before the row exists; empty: not known yet
    CBasketTask* task = nullptr;  ///< null while the row does not exist
    bool hedge = false;           ///< the row is its task's hedge row
  };
  using Resolver = std::function<SRowRef(const QString& key)>;

  CHpfBasketOptionDelegate(Resolver resolver, QObject* parent);

  struct SCommand {
    int id;  ///< of the button
    QString text;
    int key;
  };
  /// Every button once, with the key that presses it in the current row.
  static const std::vector<SCommand>& commands();

  /// Whether every announcement for a row of that order type is applied, also of the status that the row has.
  static bool isAlwaysApplied(int type);
  /// What a click on a button asks for; none for an unknown button.
  static ETaskAction actionOf(int buttonId);
  /// Disables what a click on a button disables.
  void disableClicked(const QString& rowKey, int buttonId);
  /// Remembers a task whose number is in the range of tasks that are known by their command. Its set of buttons is that
  /// of any basket.
  void registerCommandKeyed(const QString& displayId) { m_commandKeyed.insert(displayId); }
  bool isCommandKeyed(const QString& displayId) const { return m_commandKeyed.contains(displayId); }
  /// New data of a task came: applies the statuses that waited for its rows, and forgets those of nodes that have none
  /// even now.
  void rowsCame(const QString& taskKey);
  /// Forgets the rows; their sets come anew with their next status.
  void clear();

 public Q_SLOTS:
  /// A status of a row with the basket set. A status that the row has already with the same type changes nothing,
  /// unless the type is 13.
  void slotTaskStatus(QString key, int status, int type);
  /// The same for hosts that list single tasks, with the smaller set of buttons.
  void slotTaskStatusSingle(QString key, int status, int type);
  /// The operation of a row came to nothing: the next status is applied although it is the same.
  void slotOperationEnded(QString key);

 Q_SIGNALS:
  /// A status of a task's row came, whether it is applied or not.
  void sigAnnounced(TC::CBasketTask* task);
  /// An operation on a row of the task came to nothing.
  void sigOperationEnded(TC::CBasketTask* task);
  /// A status was applied; task is null when the row did not exist when the status came.
  void sigTaskStatus(TC::CBasketTask* task, QString key, int status);

 private:
  struct SState {
    int status = 0;
    int type = 0;
    bool stale = true;  ///< the next status is applied whatever it is
  };

  /// False when there is nothing to apply. A row seen for the first time gets its buttons, hidden.
  bool accept(const QString& key, unsigned set, int status, int type);
  void apply(const SRowRef& row, unsigned set, int status, int type);
  void applyEffect(const QString& key, int buttonId, int effect);

  /// A status of a node that has no row yet.
  struct SWaiting {
    int status;
    int type;
  };
  using Waiting = std::multimap<QString, SWaiting>;
  void applyWaiting(Waiting::const_iterator first, Waiting::const_iterator last);

  Resolver m_resolver;
  Waiting m_waiting;  ///< by name; those of one name in the order in which they came
  QHash<QString, SState> m_states;
  QSet<QString> m_commandKeyed;  ///< display ids
};

}  // namespace TC
