#include "gv/CDialogButtonRow.h"

#include <QHBoxLayout>
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

const CPushButton* CDialogButtonRow::defaultButton() const {
  for (const CPushButton* button : findChildren<CPushButton*>()) {
    if (button->isDefault() && button->isVisible()) return button;
  }
  return nullptr;
}

void CDialogButtonRow::focusInEvent(QFocusEvent* event) {
  const CPushButton* button = defaultButton();
  setAccessibleName(button == nullptr ? QString() : button->text());
  QWidget::focusInEvent(event);
}

void CDialogButtonRow::paintEvent(QPaintEvent* /*event*/) {
  const CPushButton* button = defaultButton();
  if (!hasFocus() || button == nullptr) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const int gap = CUiResource::scaled(3);
  const int radius = CUiResource::scaled(4);
  painter.setPen(QPen(*CUiResource::getColor(QStringLiteral("clr_focus")), CUiResource::scaled(2)));
  painter.drawRoundedRect(QRectF(button->geometry()).adjusted(-gap, -gap, gap, gap), radius, radius);
}

}  // namespace GV
