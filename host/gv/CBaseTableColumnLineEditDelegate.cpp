#include "gv/CBaseTableColumnLineEditDelegate.h"

#include <QPainter>

#include "gv/CUiResource.h"

namespace GV {

void CBaseTableColumnLineEditDelegate::setItemVisible(const QString& key, bool visible) {
  m_items[key].visible = visible;
  Q_EMIT sigChanged();
}

void CBaseTableColumnLineEditDelegate::setItemText(const QString& key, const QString& text) {
  m_items[key].text = text;
  Q_EMIT sigChanged();
}

void CBaseTableColumnLineEditDelegate::clearItems() {
  m_items.clear();
  Q_EMIT sigChanged();
}

QString CBaseTableColumnLineEditDelegate::text(const IBaseHpfTableData& row) const {
  const SItem item = m_items.value(row.key());
  return item.visible ? item.text : row.text(column());
}

void CBaseTableColumnLineEditDelegate::paint(QPainter& painter, const SCell& cell) const {
  if (!isItemVisible(cell.row.key())) return;
  const bool under = cell.rect.contains(cell.mouse);
  const QString border = under ? QStringLiteral("clr_accent") : QStringLiteral("clr_btn_border");
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(*CUiResource::getColor(border));
  painter.setBrush(*CUiResource::getColor(QStringLiteral("clr_input_background")));
  painter.drawRoundedRect(QRectF(editorRect(cell.rect)).adjusted(0.5, 0.5, -0.5, -0.5), CUiResource::scaled(2),
                          CUiResource::scaled(2));
  painter.restore();
}

bool CBaseTableColumnLineEditDelegate::mousePress(const SCell& cell) {
  const QString key = cell.row.key();
  if (!isItemVisible(key)) return false;
  Q_EMIT sigEditRequested(key);
  return true;
}

}  // namespace GV
