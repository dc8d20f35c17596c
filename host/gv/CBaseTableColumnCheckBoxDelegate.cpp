#include "gv/CBaseTableColumnCheckBoxDelegate.h"

#include <QPainter>

#include "gv/CUiResource.h"

namespace GV {
namespace {

constexpr int BOX = 13;  ///< pixels at scale 1

QRect boxRect(const QRect& cell) {
  const int size = CUiResource::scaled(BOX);
  return {cell.left() + (cell.width() - size) / 2, cell.top() + (cell.height() - size) / 2, size, size};
}

const QColor& color(const char* key) { return *CUiResource::getColor(QString::fromLatin1(key)); }

void paintTick(QPainter& painter, const QRect& box) {
  const QPointF corner = box.topLeft();
  const double unit = CUiResource::scale();
  const QPointF tick[] = {corner + QPointF(3, 6.5) * unit, corner + QPointF(5.5, 9) * unit,
                          corner + QPointF(10, 4) * unit};
  painter.setPen(QPen(color("clr_btn_style_text"), 1.6 * unit));
  painter.drawPolyline(tick, 3);
}

}  // namespace

void CBaseTableColumnCheckBoxDelegate::setItemVisible(const QString& key, bool visible) {
  if (visible && !m_items.contains(key)) m_items.insert(key, SItem());
  set(key, &SItem::visible, visible);
}

void CBaseTableColumnCheckBoxDelegate::setItemEnabled(const QString& key, bool enabled) {
  set(key, &SItem::enabled, enabled);
}

void CBaseTableColumnCheckBoxDelegate::setItemChecked(const QString& key, bool checked) {
  set(key, &SItem::checked, checked);
}

void CBaseTableColumnCheckBoxDelegate::set(const QString& key, bool SItem::*flag, bool on) {
  const auto item = m_items.find(key);
  if (item == m_items.end() || (*item).*flag == on) return;
  (*item).*flag = on;
  Q_EMIT sigChanged();
}

void CBaseTableColumnCheckBoxDelegate::clearItems() {
  m_items.clear();
  Q_EMIT sigChanged();
}

bool CBaseTableColumnCheckBoxDelegate::toggle(const QString& key) {
  if (!isItemVisible(key) || !isItemEnabled(key)) return false;
  setItemChecked(key, !isItemChecked(key));
  Q_EMIT sigItemToggled(key, isItemChecked(key));
  return true;
}

void CBaseTableColumnCheckBoxDelegate::paint(QPainter& painter, const SCell& cell) const {
  const SItem item = m_items.value(cell.row.key());
  if (!item.visible) return;
  const QRect box = boxRect(cell.rect);
  const bool under = item.enabled && cell.rect.contains(cell.mouse);
  const char* const border = !item.enabled           ? "clr_text_disabled"
                             : under || item.checked ? "clr_accent"
                                                     : "clr_text_title";
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(color(border));
  painter.setBrush(color(!item.checked ? "clr_input_background" : item.enabled ? "clr_accent" : "clr_text_disabled"));
  painter.drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), CUiResource::scaled(2), CUiResource::scaled(2));
  if (item.checked) paintTick(painter, box);
  painter.restore();
}

bool CBaseTableColumnCheckBoxDelegate::mousePress(const SCell& cell) {
  m_strPressedKey = cell.row.key();
  return isItemVisible(m_strPressedKey);
}

/// A click is a press and a release in the same cell: a small box is hard to hit.
bool CBaseTableColumnCheckBoxDelegate::mouseRelease(const SCell& cell) {
  if (cell.row.key() == m_strPressedKey && cell.rect.contains(cell.mouse)) toggle(m_strPressedKey);
  return true;
}

}  // namespace GV
