#pragma once

#include <QByteArray>
#include <QString>

#include "gv/CBaseWidget.h"
#include "ksservice/CAccountInfo.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/Enumerations.h"

namespace TC {

/// A control in which the user chooses a group of accounts. GUI thread.
class IAccountGroupSelector {
 public:
  virtual ~IAccountGroupSelector() = default;
  virtual void selectGroup(int group) = 0;
};

/// A panel as its host sees it: a widget of a kind ("bkt") and trader type that can be docked. Everything here is
/// called on the GUI thread, except onTaskDetail.
class ITradeDockableWidget : public GV::CBaseWidget {
  Q_OBJECT

 public:
  /// copiable: whether the host may show a second panel of this kind.
  ITradeDockableWidget(bool copiable, const QString& typeKey, int id, EMavTraderType tradeType, QWidget* parent);

  bool isCopiable() const { return m_bCopiable; }
  const QString& typeKey() const { return m_strTypeKey; }
  int widgetId() const { return m_nId; }
  EMavTraderType tradeType() const { return m_eTradeType; }

  /// Restores what param() gave.
  virtual void setParam(const QString& text) = 0;
  /// The state that the host keeps for the panel, as one text.
  virtual QString param() const = 0;
  virtual void setTradeType(EMavTraderType type) { m_eTradeType = type; }
  /// Locked: nothing in the table can be pressed. The tool bar goes on.
  virtual void setUiLock(bool locked) = 0;
  /// Reads the details of an account anew.
  virtual void requestAccount(const ksservice::CAccountInfo& account) = 0;
  /// Takes the account groups from the user configuration.
  virtual void loadAccountGroupSettings() = 0;
  /// The host is about to show the panel as its active one.
  virtual void prepareActive() = 0;
  /// Patches a node of a task directly, without a dialog: the root, where nodeKey is empty, or one row. priceType:
  /// EPriceType, 0 for the stored order setting.
  virtual void patch(int taskId, const QString& nodeKey, int priceType) = 0;
  /// Unfolds down to a row, chooses it alone and scrolls to it: the root, where nodeKey is empty, or the row of a node.
  /// Its own key names a row, too. Nothing for a row that is not there; of one that a filter takes away the nearest row
  /// above that shows, if any, and a message.
  virtual void showRow(int /*taskId*/, const QString& /*nodeKey*/) {}
  /// Why a row says what it says, as one JSON object (docs/explain.md); empty for a row that is not there. nodeKey as
  /// of showRow. Also from within a call that the panel makes of its host: of a root it says on which figures the patch
  /// rests that is being sent.
  virtual QByteArray explain(int /*taskId*/, const QString& /*nodeKey*/) { return {}; }
  /// The host's two selectors of account groups, where it shows them; null for none. Not owned.
  void setAccountGroupSelectors(IAccountGroupSelector* first, IAccountGroupSelector* second);

  /// The host's callback for task details. Any thread.
  virtual void onTaskDetail(const boost::shared_ptr<ksservice::IData>& data) = 0;
  /// A second way in for other components of the host; queues the detail as the signal feed does.
  virtual void deliverTaskDetail(const ksservice::CTaskDetailPtr& detail) = 0;

 protected:
  /// Asks for the details of every account anew.
  virtual void refreshAccounts() = 0;
  IAccountGroupSelector* accountGroupSelector() const { return m_pGroupSelector; }
  IAccountGroupSelector* accountGroupSelector2() const { return m_pGroupSelector2; }

 Q_SIGNALS:
  /// How many tasks of the trader type run.
  void sigRunningTasks(EMavTraderType type, int count);
  /// Lines for the host's new-basket window: one security a line, fields separated by tabs.
  void sigPatchCreateTask(QString lines);
  /// Another row became the current one, whoever chose it; nodeKey is empty for a root.
  void sigRowChosen(int taskId, QString nodeKey);
  /// The user wants a row explained; nodeKey is empty for a root.
  void sigExplainRow(int taskId, QString nodeKey);

 private:
  bool m_bCopiable;
  QString m_strTypeKey;
  int m_nId;
  EMavTraderType m_eTradeType;
  IAccountGroupSelector* m_pGroupSelector = nullptr;
  IAccountGroupSelector* m_pGroupSelector2 = nullptr;
};

/// Trader type and copy flag of a panel kind, as this host knows them.
EMavTraderType getTradeDockableWidgetMavTraderType(const QString& typeKey);
bool getTradeDockableWidgetCopiable(const QString& typeKey);

}  // namespace TC
