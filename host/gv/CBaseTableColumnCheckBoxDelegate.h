/// A column of check boxes.
#pragma once

#include <QHash>

#include "gv/CBaseTableColumnDelegate.h"

namespace GV {

/// A row has a box once it was made visible. Operations on a key without one do nothing. Setting a box does not signal,
/// toggling it as the user does.
class CBaseTableColumnCheckBoxDelegate : public CBaseTableColumnDelegate {
  Q_OBJECT

 public:
  using CBaseTableColumnDelegate::CBaseTableColumnDelegate;

  /// The first time, the box is enabled and not checked.
  void setItemVisible(const QString& key, bool visible);
  void setItemEnabled(const QString& key, bool enabled);
  void setItemChecked(const QString& key, bool checked);
  bool isItemVisible(const QString& key) const { return m_items.value(key).visible; }
  bool isItemEnabled(const QString& key) const { return m_items.value(key).enabled; }
  bool isItemChecked(const QString& key) const { return m_items.value(key).checked; }
  void clearItems();
  /// As the user does it; false when the box does not show or is disabled.
  bool toggle(const QString& key);

  QString text(const IBaseHpfTableData& /*row*/) const override { return {}; }
  void paint(QPainter& painter, const SCell& cell) const override;
  bool mousePress(const SCell& cell) override;
  bool mouseRelease(const SCell& cell) override;

 Q_SIGNALS:
  void sigItemToggled(QString key, bool checked);

 private:
  struct SItem {
    bool visible = false;
    bool enabled = true;
    bool checked = false;
  };

  void set(const QString& key, bool SItem::*flag, bool on);

  QHash<QString, SItem> m_items;
  QString m_strPressedKey;
};

}  // namespace GV
