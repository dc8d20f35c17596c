/// The delegates of the status table that show a text or a bar. GUI thread.
#pragma once

#include "gv/CBaseTableColumnDelegate.h"

namespace TC {

/// Plain texts of the columns for trade parameters and investment remark.
class CHpfBasketTypeDelegate : public GV::CBaseTableColumnSimpleTextDelegate {
  Q_OBJECT

 public:
  using GV::CBaseTableColumnSimpleTextDelegate::CBaseTableColumnSimpleTextDelegate;
};

/// A bar along the lower edge of the cell, as long as the share that is done.
class CHpfBasketProgressDelegate : public GV::CBaseTableColumnWidgetDelegate {
  Q_OBJECT

 public:
  using GV::CBaseTableColumnWidgetDelegate::CBaseTableColumnWidgetDelegate;

  void paint(QPainter& painter, const GV::SCell& cell) const override;
  int preferredWidth() const override;
};

/// How many orders of a row were reported and how many received.
class CHpfBasketOrderDelegate : public GV::CBaseTableColumnSimpleTextDelegate {
  Q_OBJECT

 public:
  using GV::CBaseTableColumnSimpleTextDelegate::CBaseTableColumnSimpleTextDelegate;

  QString text(const GV::IBaseHpfTableData& row) const override;

 public Q_SLOTS:
  /// Counts that a task announced for a row; they stand until the row's next data.
  void slotTaskOrder(QString key, int reported, int received);

 Q_SIGNALS:
  void sigOrderCounts(QString key, int reported, int received);
};

}  // namespace TC
