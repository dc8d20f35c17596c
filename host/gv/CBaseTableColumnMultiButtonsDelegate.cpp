#include "gv/CBaseTableColumnMultiButtonsDelegate.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

#include "gv/CUiResource.h"

namespace GV {

namespace {

constexpr int kMaxButtons = 32;
// Pixels at scale 1.
constexpr int kGap = 4;
constexpr int kPadding = 7;
constexpr int kRadius = 3;
constexpr int kTop = 2;
constexpr int kBottom = 3;

QFont buttonFont() { return CUiResource::getFont(QStringLiteral("fnt_default_small")); }

const QColor& styleColor(int style) {
  return *CUiResource::getColor(QStringLiteral("clr_btn_style_%1").arg(std::clamp(style, 1, 3)));
}

quint32 mask(int index) { return quint32(1) << index; }

}  // namespace

int CBaseTableColumnMultiButtonsDelegate::internSet(const ButtonSet& buttons) {
  const auto found = std::find(m_sets.begin(), m_sets.end(), buttons);
  if (found != m_sets.end()) return static_cast<int>(found - m_sets.begin());
  m_sets.push_back(buttons);
  return static_cast<int>(m_sets.size()) - 1;
}

void CBaseTableColumnMultiButtonsDelegate::setItemButtons(const QString& key, const ButtonSet& buttons) {
  Q_ASSERT(buttons.size() <= kMaxButtons);
  SItem item;
  item.set = internSet(buttons);
  item.enabled = ~quint32(0);
  m_items.insert(key, item);
  Q_EMIT sigChanged();
}

void CBaseTableColumnMultiButtonsDelegate::clearItems() {
  m_items.clear();
  Q_EMIT sigChanged();
}

void CBaseTableColumnMultiButtonsDelegate::setItemVisible(const QString& key, bool visible) {
  const auto item = m_items.find(key);
  if (item == m_items.end() || item->shown == visible) return;
  item->shown = visible;
  Q_EMIT sigChanged();
}

int CBaseTableColumnMultiButtonsDelegate::indexOf(const SItem& item, int id) const {
  const ButtonSet& buttons = buttonsOf(item);
  const auto found = std::find_if(buttons.begin(), buttons.end(), [id](const STableButton& b) { return b.id == id; });
  return found == buttons.end() ? -1 : static_cast<int>(found - buttons.begin());
}

void CBaseTableColumnMultiButtonsDelegate::setBit(const QString& key, int id, quint32 SItem::*bits, bool on) {
  const auto item = m_items.find(key);
  const int index = item == m_items.end() ? -1 : indexOf(*item, id);
  if (index < 0 || (((*item).*bits & mask(index)) != 0) == on) return;
  (*item).*bits ^= mask(index);
  Q_EMIT sigChanged();
}

bool CBaseTableColumnMultiButtonsDelegate::bit(const QString& key, int id, quint32 SItem::*bits) const {
  const auto item = m_items.find(key);
  const int index = item == m_items.end() ? -1 : indexOf(*item, id);
  return index >= 0 && ((*item).*bits & mask(index)) != 0;
}

void CBaseTableColumnMultiButtonsDelegate::setItemButtonVisible(const QString& key, int id, bool visible) {
  setBit(key, id, &SItem::visible, visible);
}

void CBaseTableColumnMultiButtonsDelegate::setItemButtonEnabled(const QString& key, int id, bool enabled) {
  setBit(key, id, &SItem::enabled, enabled);
}

bool CBaseTableColumnMultiButtonsDelegate::getIsItemVisible(const QString& key) const {
  const auto item = m_items.find(key);
  return item != m_items.end() && item->shown;
}

bool CBaseTableColumnMultiButtonsDelegate::getIsItemButtonVisible(const QString& key, int id) const {
  return getIsItemVisible(key) && bit(key, id, &SItem::visible);
}

bool CBaseTableColumnMultiButtonsDelegate::getIsItemButtonEnabled(const QString& key, int id) const {
  return bit(key, id, &SItem::enabled);
}

std::vector<STableButton> CBaseTableColumnMultiButtonsDelegate::itemButtons(const QString& key) const {
  const auto item = m_items.find(key);
  return item == m_items.end() ? ButtonSet() : buttonsOf(*item);
}

std::vector<STableButton> CBaseTableColumnMultiButtonsDelegate::shownButtons(const QString& key) const {
  std::vector<STableButton> shown;
  for (const STableButton& button : itemButtons(key)) {
    if (getIsItemButtonVisible(key, button.id)) shown.push_back(button);
  }
  return shown;
}

bool CBaseTableColumnMultiButtonsDelegate::clickButton(const QString& key, int id) {
  if (!getIsItemButtonVisible(key, id) || !getIsItemButtonEnabled(key, id)) return false;
  Q_EMIT sigButtonClicked(key, id);
  return true;
}

/// Those that show, from the left without gaps for the others.
std::vector<CBaseTableColumnMultiButtonsDelegate::SPlaced> CBaseTableColumnMultiButtonsDelegate::layout(
    const SItem& item, const QRect& cell) const {
  std::vector<SPlaced> placed;
  if (!item.shown) return placed;
  const QFontMetrics metrics(buttonFont());
  const int gap = CUiResource::scaled(kGap);
  const int padding = CUiResource::scaled(kPadding);
  const int top = CUiResource::scaled(kTop);
  const int height = cell.height() - top - CUiResource::scaled(kBottom);
  int left = cell.left() + gap;
  const ButtonSet& buttons = buttonsOf(item);
  for (int i = 0; i < static_cast<int>(buttons.size()); ++i) {
    if ((item.visible & mask(i)) == 0) continue;
    const int width = metrics.horizontalAdvance(buttons[static_cast<std::size_t>(i)].text) + 2 * padding;
    placed.push_back({i, QRect(left, cell.top() + top, width, height)});
    left += width + gap;
  }
  return placed;
}

QRect CBaseTableColumnMultiButtonsDelegate::buttonRect(const QString& key, int id, const QRect& cell) const {
  const auto item = m_items.find(key);
  if (item == m_items.end()) return {};
  for (const SPlaced& placed : layout(*item, cell)) {
    if (buttonsOf(*item)[static_cast<std::size_t>(placed.index)].id == id) return placed.rect;
  }
  return {};
}

int CBaseTableColumnMultiButtonsDelegate::buttonAt(const SCell& cell) const {
  const auto item = m_items.find(cell.row.key());
  if (item == m_items.end()) return -1;
  for (const SPlaced& placed : layout(*item, cell.rect)) {
    if (placed.rect.contains(cell.mouse)) return placed.index;
  }
  return -1;
}

void CBaseTableColumnMultiButtonsDelegate::paint(QPainter& painter, const SCell& cell) const {
  const auto item = m_items.find(cell.row.key());
  if (item == m_items.end() || !item->shown || item->visible == 0) return;
  painter.save();
  painter.setClipRect(cell.rect);
  painter.setFont(buttonFont());
  painter.setRenderHint(QPainter::Antialiasing);
  for (const SPlaced& placed : layout(*item, cell.rect)) {
    const STableButton& button = buttonsOf(*item)[static_cast<std::size_t>(placed.index)];
    const bool enabled = (item->enabled & mask(placed.index)) != 0;
    const bool under = placed.rect.contains(cell.mouse);
    QColor ground =
        enabled ? styleColor(button.style) : *CUiResource::getColor(QStringLiteral("clr_btn_style_disabled"));
    if (enabled && under) ground = cell.pressed ? ground.darker(125) : ground.lighter(115);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(placed.rect, CUiResource::scaled(kRadius), CUiResource::scaled(kRadius));
    painter.setPen(
        *CUiResource::getColor(enabled ? QStringLiteral("clr_btn_style_text") : QStringLiteral("clr_text_disabled")));
    painter.drawText(placed.rect, Qt::AlignCenter, button.text);
  }
  painter.restore();
}

QString CBaseTableColumnMultiButtonsDelegate::hint(const SCell& cell) const {
  const int index = buttonAt(cell);
  const ButtonSet buttons = itemButtons(cell.row.key());
  return index < 0 ? QString() : buttons[static_cast<std::size_t>(index)].hint;
}

bool CBaseTableColumnMultiButtonsDelegate::mousePress(const SCell& cell) {
  m_nPressedIndex = buttonAt(cell);
  m_strPressedKey = cell.row.key();
  return m_nPressedIndex >= 0;
}

/// A click is a press and a release on the same button.
bool CBaseTableColumnMultiButtonsDelegate::mouseRelease(const SCell& cell) {
  const int pressed = m_nPressedIndex;
  m_nPressedIndex = -1;
  if (pressed < 0) return false;
  if (m_strPressedKey == cell.row.key() && buttonAt(cell) == pressed) {
    const ButtonSet buttons = itemButtons(m_strPressedKey);
    if (pressed < static_cast<int>(buttons.size())) {
      clickButton(m_strPressedKey, buttons[static_cast<std::size_t>(pressed)].id);
    }
  }
  return true;
}

}  // namespace GV
