#include "gv/CDialogButtonRow.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

#include "gv/Controls.h"
#include "gv/Scaling.h"

namespace GV {

CDialogButtonRow::CDialogButtonRow(QWidget* parent) : QWidget(parent), m_pLayout(new QHBoxLayout(this)) {
  setFocusPolicy(Qt::TabFocus);
  setAccessibleName(QStringLiteral("按钮"));  // until it has the focus
  followScale(*this, [this] {
    const int buttons = CUiResource::getSize(QStringLiteral("tc_siz_setting_inner_bottom_btn_height"));
    setFixedHeight(buttons + CUiResource::scaled(15));
  });
  setScaledMargins(*m_pLayout, {10, 0, 10, 0});
  setScaledSpacing(*m_pLayout, 8);
}

CPushButton* CDialogButtonRow::addButton(int id, const QString& text, const QSize& size) {
  auto* button = new CPushButton(id, this);
  button->setText(text);
  setScaledFixedSize(*button, size);
  button->setFocusPolicy(Qt::NoFocus);
  button->setAutoDefault(false);
  m_pLayout->addWidget(button);
  return button;
}

void CDialogButtonRow::addStretch() { m_pLayout->addStretch(1); }

CPushButton* CDialogButtonRow::framedButton() const {
  if (m_pFramed != nullptr && m_pFramed->isVisible()) return m_pFramed;
  for (CPushButton* button : findChildren<CPushButton*>()) {
    if (button->isDefault() && button->isVisible()) return button;
  }
  return nullptr;
}

void CDialogButtonRow::frame(CPushButton* button) {
  m_pFramed = button;
  const CPushButton* framed = framedButton();
  setAccessibleName(framed == nullptr ? QString() : framed->text());
  update();
}

/// Stops at the ends.
void CDialogButtonRow::frameBeside(int by) {
  const CPushButton* framed = framedButton();
  bool isPassed = false;
  const QList<CPushButton*> buttons = findChildren<CPushButton*>();
  for (int i = by < 0 ? buttons.size() - 1 : 0; i >= 0 && i < buttons.size(); i += by) {
    if (!buttons[i]->isVisible() || !buttons[i]->isEnabled()) continue;
    if (isPassed) return frame(buttons[i]);
    isPassed = buttons[i] == framed;
  }
}

/// Whoever comes anew finds the default button, whatever he looked at before.
void CDialogButtonRow::focusInEvent(QFocusEvent* event) {
  frame(nullptr);
  QWidget::focusInEvent(event);
}

void CDialogButtonRow::keyPressEvent(QKeyEvent* event) {
  const bool presses = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
  if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
    frameBeside(event->key() == Qt::Key_Left ? -1 : 1);
  } else if (presses && m_pFramed != nullptr && m_pFramed == framedButton()) {
    if (!event->isAutoRepeat()) m_pFramed->click();
  } else {
    QWidget::keyPressEvent(event);  // the dialog knows its default button
  }
}

void CDialogButtonRow::paintEvent(QPaintEvent* /*event*/) {
  const CPushButton* button = framedButton();
  if (!hasFocus() || button == nullptr) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const int gap = CUiResource::scaled(3);
  const int radius = CUiResource::scaled(4);
  painter.setPen(QPen(*CUiResource::getColor(QStringLiteral("clr_focus")), CUiResource::scaled(2)));
  painter.drawRoundedRect(QRectF(button->geometry()).adjusted(-gap, -gap, gap, gap), radius, radius);
}

}  // namespace GV
