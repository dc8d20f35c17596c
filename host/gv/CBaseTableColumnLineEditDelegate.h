/// A column of texts that the user can edit.
#pragma once

#include <QHash>

#include "gv/CBaseTableColumnDelegate.h"

namespace GV {

/// A row has an editor once it was made visible; its cell then shows the editor's text, else the row's. Setting a text
/// does not signal. The table opens the editor (CStandardHpfTable).
class CBaseTableColumnLineEditDelegate : public CBaseTableColumnDelegate {
  Q_OBJECT

 public:
  using CBaseTableColumnDelegate::CBaseTableColumnDelegate;

  void setItemVisible(const QString& key, bool visible);
  void setItemText(const QString& key, const QString& text);
  bool isItemVisible(const QString& key) const { return m_items.value(key).visible; }
  QString itemText(const QString& key) const { return m_items.value(key).text; }
  void clearItems();

  /// Where the editor stands in a cell.
  static QRect editorRect(const QRect& cell) { return cell.adjusted(1, 1, -2, -2); }

  QString text(const IBaseHpfTableData& row) const override;
  void paint(QPainter& painter, const SCell& cell) const override;
  bool mousePress(const SCell& cell) override;

 Q_SIGNALS:
  /// The user clicked into a cell that has an editor.
  void sigEditRequested(QString key);

 private:
  struct SItem {
    bool visible = false;
    QString text;
  };

  QHash<QString, SItem> m_items;
};

}  // namespace GV
