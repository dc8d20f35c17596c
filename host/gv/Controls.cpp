#include "gv/Controls.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <algorithm>

#include "gv/CEventWidget.h"
#include "gv/Scaling.h"

namespace GV {

CPushButton::CPushButton(int id, QWidget* parent) : QPushButton(parent), m_nId(id) {
  setFocusPolicy(Qt::TabFocus);
  connect(this, &QPushButton::clicked, this,
          [this] { CEventDeliverer::deliverEvent(this, EventButtonClicked, m_nId, 0, QString(), nullptr); });
}

void CPushButton::setImageKey(const QString& key) {
  m_strImageKey = key;
  setFlat(true);
  resourceChanged();
}

void CPushButton::resourceChanged() {
  if (m_strImageKey.isEmpty()) return;
  const QPixmap image = CUiResource::getPixmap(m_strImageKey);
  setIcon(QIcon(image));
  setIconSize(image.size());
}

CSmallNoNormalButton::CSmallNoNormalButton(int id, const QString& text, QWidget* parent) : CPushButton(id, parent) {
  setText(text);
  CSmallNoNormalButton::resourceChanged();
}

void CSmallNoNormalButton::resourceChanged() {
  CPushButton::resourceChanged();
  setFont(CUiResource::getFont(QStringLiteral("fnt_default_normal_fix")));
}

CComboPushButton::CComboPushButton(QWidget* parent) : QPushButton(parent), m_pMenu(new QMenu(this)) {
  setFocusPolicy(Qt::TabFocus);
  setMenu(m_pMenu);
  CComboPushButton::resourceChanged();
}

void CComboPushButton::resourceChanged() {
  setFont(CUiResource::getFont(QStringLiteral("fnt_default_normal_fix")));
  update();
}

void CComboPushButton::setImageKey(const QString& key) {
  m_strImageKey = key;
  update();
}

void CComboPushButton::setTextColorKey(const QString& key) {
  m_strTextColorKey = key;
  update();
}

void CComboPushButton::addItem(int id, const QString& text) {
  const int index = count();
  QAction* action = m_pMenu->addAction(text, this, [this, index] { choose(index); });
  action->setCheckable(true);
  m_items.push_back({id, action});
  if (m_nCurrent < 0) setCurrentIndex(0);
}

void CComboPushButton::setCurrentIndex(int index) {
  if (index < 0 || index >= count()) return;
  const bool moved = index != m_nCurrent;
  m_nCurrent = index;
  for (int i = 0; i < count(); ++i) m_items[static_cast<std::size_t>(i)].action->setChecked(i == index);
  setText(m_items[static_cast<std::size_t>(index)].action->text());
  if (moved) Q_EMIT sigCurrentIndexChanged(index);
}

void CComboPushButton::choose(int index) {
  if (index < 0 || index >= count()) return;
  setCurrentIndex(index);
  CEventDeliverer::deliverEvent(this, EventButtonClicked, itemId(index), 0, QString(), nullptr);
}

void CComboPushButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const char* const ground = isDown() || m_pMenu->isVisible() ? "clr_btn_background_pressed"
                             : underMouse()                   ? "clr_btn_background_hover"
                                                              : "clr_btn_background";
  const QColor border =
      *CUiResource::getColor(hasFocus() ? QStringLiteral("clr_focus") : QStringLiteral("clr_btn_border"));
  const double thick = hasFocus() ? CUiResource::scaled(2) : std::max(1, static_cast<int>(CUiResource::scale()));
  const int radius = CUiResource::scaled(2);
  painter.setPen(QPen(border, thick));
  painter.setBrush(*CUiResource::getColor(QString::fromLatin1(ground)));
  painter.drawRoundedRect(QRectF(rect()).adjusted(thick / 2, thick / 2, -thick / 2, -thick / 2), radius, radius);
  const QPixmap image = m_strImageKey.isEmpty() ? QPixmap() : CUiResource::getPixmap(m_strImageKey);
  const int imageLeft = width() - image.width() - CUiResource::scaled(5);
  painter.drawPixmap(imageLeft, (height() - image.height()) / 2, image);
  painter.setPen(*CUiResource::getColor(m_strTextColorKey));
  const int left = CUiResource::scaled(8);
  painter.drawText(QRect(left, 0, imageLeft - left, height()), Qt::AlignLeft | Qt::AlignVCenter, text());
}

CCheckBox::CCheckBox(int id, const QString& text, QWidget* parent) : QCheckBox(text, parent), m_nId(id) {
  CCheckBox::resourceChanged();
  connect(this, &QCheckBox::clicked, this, [this](bool checked) {
    CEventDeliverer::deliverEvent(this, EventCheckBoxToggled, m_nId, checked ? 1 : 0, QString(), nullptr);
  });
}

void CCheckBox::setTextColorKey(const QString& key) {
  m_strTextColorKey = key;
  resourceChanged();
}

void CCheckBox::setFontKey(const QString& key) {
  m_strFontKey = key;
  resourceChanged();
}

void CCheckBox::resourceChanged() {
  setFont(CUiResource::getFont(m_strFontKey));
  QPalette colors = palette();
  colors.setColor(QPalette::WindowText, *CUiResource::getColor(m_strTextColorKey));
  setPalette(colors);
}

CAutoExpandToolBar::CAutoExpandToolBar(QWidget* parent) : QWidget(parent), m_pLayout(new QHBoxLayout(this)) {
  m_pLayout->setContentsMargins(0, 0, 0, 0);
  setScaledSpacing(*m_pLayout, 6);
  m_pLayout->addStretch(1);
}

void CAutoExpandToolBar::setBackgroundImageKey(const QString& key) {
  m_strImageKey = key;
  update();
}

void CAutoExpandToolBar::setMargins(int left, int top, int right, int bottom) {
  setScaledMargins(*m_pLayout, {left, top, right, bottom});
}

/// The stretch stays last.
void CAutoExpandToolBar::addWidget(QWidget* widget) { m_pLayout->insertWidget(m_pLayout->count() - 1, widget); }

void CAutoExpandToolBar::addSeparator() {
  auto* line = new QFrame(this);
  line->setFrameShape(QFrame::VLine);
  line->setFrameShadow(QFrame::Plain);
  setScaledFixedSize(*line, {1, 16});
  QPalette colors = line->palette();
  colors.setColor(QPalette::WindowText, *CUiResource::getColor(QStringLiteral("clr_btn_border")));
  line->setPalette(colors);
  addWidget(line);
}

void CAutoExpandToolBar::paintEvent(QPaintEvent* /*event*/) {
  if (m_strImageKey.isEmpty()) return;
  QPainter painter(this);
  const QPixmap image = CUiResource::getPixmap(m_strImageKey);
  painter.drawPixmap(rect(), image);
}

}  // namespace GV
