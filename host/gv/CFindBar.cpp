#include "gv/CFindBar.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <utility>

#include "gv/CHpfTreeTable.h"
#include "gv/Scaling.h"

namespace GV {

namespace {
// Pixels at scale 1.
constexpr QMargins MARGINS(8, 4, 8, 4);
constexpr int SPACING = 6;
constexpr int EDIT_WIDTH = 220;
constexpr QSize BUTTON_SIZE(60, 22);
}  // namespace

CFindBar::CFindBar(CHpfTreeTable& table, Meaning meaning, const QString& hint, QWidget* parent)
    : QWidget(parent),
      m_table(table),
      m_meaning(std::move(meaning)),
      m_pFinder(new CTreeFinder(table)),
      m_pEdit(new QLineEdit(this)),
      m_pCount(new QLabel(this)) {
  auto* layout = new QHBoxLayout(this);
  setScaledMargins(*layout, MARGINS);
  setScaledSpacing(*layout, SPACING);
  m_pEdit->setPlaceholderText(hint);
  m_pEdit->setAccessibleName(QStringLiteral("查找"));
  m_pEdit->setAccessibleDescription(hint);
  setScaledFixedWidth(*m_pEdit, EDIT_WIDTH);
  layout->addWidget(m_pEdit);
  addButton(*layout, QStringLiteral("上一个"), QStringLiteral("Shift+F3"), [this] { go(-1); });
  addButton(*layout, QStringLiteral("下一个"), QStringLiteral("F3"), [this] { go(1); });
  layout->addWidget(m_pCount);
  layout->addStretch(1);
  addButton(*layout, QStringLiteral("关闭"), QStringLiteral("Esc"), [this] { end(); });
  connect(m_pEdit, &QLineEdit::textChanged, this, &CFindBar::look);
  connect(m_pFinder, &CTreeFinder::sigChanged, this, &CFindBar::tell);
  hide();
}

void CFindBar::addButton(QHBoxLayout& layout, const QString& text, const QString& key,
                         const std::function<void()>& press) {
  auto* button = new QPushButton(text, this);
  button->setFocusPolicy(Qt::TabFocus);
  button->setAutoDefault(true);  // Enter presses the one with the focus
  button->setToolTip(key);
  setScaledFixedSize(*button, BUTTON_SIZE);
  connect(button, &QPushButton::clicked, this, press);
  layout.addWidget(button);
}

void CFindBar::begin() {
  const bool wasHidden = isHidden();
  show();
  m_pEdit->setFocus(Qt::ShortcutFocusReason);
  m_pEdit->selectAll();
  m_strFrom = m_table.currentKey();
  if (wasHidden) look();
}

void CFindBar::end() {
  hide();
  m_pFinder->find({}, {});
  m_table.setFocus(Qt::OtherFocusReason);
}

void CFindBar::go(int by) {
  if (isHidden()) return begin();
  m_pFinder->go(by);
  m_strFrom = m_table.currentKey();
}

void CFindBar::keyPressEvent(QKeyEvent* event) {
  const bool back = (event->modifiers() & Qt::ShiftModifier) != 0;
  switch (event->key()) {
    case Qt::Key_Escape:
      return end();
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return go(back ? -1 : 1);
    case Qt::Key_Up:
      return go(-1);
    case Qt::Key_Down:
      return go(1);
    default:
      QWidget::keyPressEvent(event);
  }
}

void CFindBar::look() {
  const QString typed = m_pEdit->text().trimmed();
  m_pFinder->find(typed.isEmpty() ? CTreeFinder::Match() : m_meaning(typed), m_strFrom);
}

void CFindBar::tell() {
  const bool typed = !isHidden() && !m_pEdit->text().trimmed().isEmpty();
  const bool none = typed && !m_pFinder->isBusy() && m_pFinder->found() == 0;
  QString text = none ? QStringLiteral("没有找到") : QString();
  if (m_pFinder->found() > 0) text = QStringLiteral("%1/%2").arg(m_pFinder->place()).arg(m_pFinder->found());
  if (m_pFinder->hidden() > 0) text += QStringLiteral("  另有 %1 行被筛选隐藏").arg(m_pFinder->hidden());
  m_pCount->setText(text);
  if (m_pEdit->property("invalid").toBool() == none) return;
  m_pEdit->setProperty("invalid", none);
  m_pEdit->style()->unpolish(m_pEdit);
  m_pEdit->style()->polish(m_pEdit);
}

}  // namespace GV
