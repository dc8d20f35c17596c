#pragma once

#include <QString>

#include "gv/CBaseWidget.h"
#include "ksservice/CAccountInfo.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/Enumerations.h"

namespace TC {

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
  /// The host's callback for task details. Any thread.
  virtual void onTaskDetail(const boost::shared_ptr<ksservice::IData>& data) = 0;
  /// A second way in for other components of the host; queues the detail as the signal feed does.
  virtual void deliverTaskDetail(const ksservice::CTaskDetailPtr& detail) = 0;

 Q_SIGNALS:
  /// How many tasks of the trader type run.
  void sigRunningTasks(EMavTraderType type, int count);
  /// Lines for the host's new-basket window: one security a line, fields separated by tabs.
  void sigPatchCreateTask(QString lines);

 private:
  bool m_bCopiable;
  QString m_strTypeKey;
  int m_nId;
  EMavTraderType m_eTradeType;
};

/// Trader type and copy flag of a panel kind, as this host knows them.
EMavTraderType getTradeDockableWidgetMavTraderType(const QString& typeKey);
bool getTradeDockableWidgetCopiable(const QString& typeKey);

}  // namespace TC
