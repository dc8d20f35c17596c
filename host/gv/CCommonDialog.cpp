#include "gv/CCommonDialog.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPointer>
#include <utility>

namespace GV {
namespace {

DialogHook& execHook() {
  static DialogHook hook;
  return hook;
}

IDialogObserver*& observer() {
  static IDialogObserver* installed = nullptr;
  return installed;
}

/// Appends the widgets of a layout in its order, those inside a widget behind it.
void collectWidgets(const QLayout* layout, std::vector<QWidget*>& out) {
  for (int i = 0; layout != nullptr && i < layout->count(); ++i) {
    QLayoutItem* item = layout->itemAt(i);
    if (QWidget* widget = item->widget()) {
      out.push_back(widget);
      collectWidgets(widget->layout(), out);
    } else {
      collectWidgets(item->layout(), out);
    }
  }
}

bool isEnter(const QKeyEvent& event) {
  return (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter) && !(event.modifiers() & ~Qt::KeypadModifier);
}

QString quoted(const QString& text) { return QLatin1Char('"') + text + QLatin1Char('"'); }

}  // namespace

CCommonDialog::CCommonDialog(QWidget* parent) : CEventWidgetT<QDialog>(parent) {
  setWindowFlag(Qt::WindowContextHelpButtonHint, false);
}

void CCommonDialog::setExecHook(DialogHook hook) { execHook() = std::move(hook); }

void CCommonDialog::setObserver(IDialogObserver* newObserver) { observer() = newObserver; }

CCommonDialog* CCommonDialog::of(QWidget* widget) {
  return widget == nullptr ? nullptr : qobject_cast<CCommonDialog*>(widget->window());
}

int CCommonDialog::exec() {
  const QPointer<CCommonDialog> self = this;
  if (observer() != nullptr) observer()->dialogOpens(*this);
  if (const DialogHook hook = execHook()) {
    execByHook(hook);
  } else {
    QDialog::exec();
  }
  // Whatever can happen in an event loop may have happened, the end of this dialog included.
  if (!self) return Rejected;
  if (observer() != nullptr) observer()->dialogEnded(*this, result() == Accepted);
  return result();
}

void CCommonDialog::execByHook(const DialogHook& hook) {
  const QPointer<CCommonDialog> self = this;
  setResult(Rejected);
  show();
  hook(*this);
  if (self && isOpen()) reject();
}

bool CCommonDialog::handleEvent(int /*eventId*/, int /*id*/, int /*value*/, QString /*key*/, void* /*data*/) {
  return true;
}

void CCommonDialog::aboutToHandle(QWidget* from, int eventId, int value, const QString& key, const void* payload) {
  if (eventId == EventButtonClicked) commitEdits();
  if (observer() == nullptr) return;
  if (eventId == EventDialogCheckBox) observer()->rowChecked(*this, key, value != 0);
  if (eventId == EventDialogLineEdit) observer()->rowEdited(*this, key, *static_cast<const QString*>(payload));
  const auto* button = eventId == EventButtonClicked ? qobject_cast<QAbstractButton*>(from) : nullptr;
  if (button != nullptr) observer()->buttonPressed(*this, button->text());
}

void CCommonDialog::commitEdits() {
  for (IDialogRows* rows : rowWidgets()) rows->commitEdits();
}

void CCommonDialog::showEvent(QShowEvent* event) {
  m_bEnded = false;
  QDialog::showEvent(event);
}

void CCommonDialog::done(int result) {
  if (!std::exchange(m_bEnded, true)) QDialog::done(result);
}

void CCommonDialog::closeEvent(QCloseEvent* event) {
  if (isOpen() && observer() != nullptr) observer()->dialogClosed(*this);
  QDialog::closeEvent(event);
}

void CCommonDialog::keyPressEvent(QKeyEvent* event) {
  if (m_bEnded) return;
  const bool cancel = event->matches(QKeySequence::Cancel);
  // A key that is held down (where the window system tells) has done what it was meant for; what comes into its way
  // next was not meant.
  if ((isEnter(*event) || cancel) && event->isAutoRepeat()) return;
  if (isEnter(*event) && enterIsTaken()) return;
  if (cancel && observer() != nullptr) observer()->dialogClosed(*this);
  QDialog::keyPressEvent(event);
}

/// Enter presses the button that has the focus, and has ended the edit of a field; only elsewhere does it mean the
/// default button.
bool CCommonDialog::enterIsTaken() {
  QWidget* focus = focusWidget();
  if (auto* button = qobject_cast<QAbstractButton*>(focus)) {
    button->click();
    return true;
  }
  return qobject_cast<QLineEdit*>(focus) != nullptr;
}

// For scripts

std::vector<QWidget*> CCommonDialog::widgetsInOrder() const {
  std::vector<QWidget*> widgets;
  collectWidgets(layout(), widgets);
  return widgets;
}

std::vector<IDialogRows*> CCommonDialog::rowWidgets() const {
  std::vector<IDialogRows*> found;
  for (QWidget* widget : widgetsInOrder()) {
    if (auto* rows = dynamic_cast<IDialogRows*>(widget)) found.push_back(rows);
  }
  return found;
}

SDialogState CCommonDialog::state() const {
  SDialogState state;
  state.title = windowTitle();
  for (QWidget* widget : widgetsInOrder()) {
    if (const auto* button = qobject_cast<QAbstractButton*>(widget)) {
      state.buttons.push_back({button->text(), button->isVisibleTo(this), button->isEnabled(), button->isChecked()});
    } else if (const auto* label = qobject_cast<QLabel*>(widget)) {
      state.labels.append(label->text());
    } else if (const auto* rows = dynamic_cast<IDialogRows*>(widget)) {
      for (SDialogRow& row : rows->dialogRows()) state.rows.push_back(std::move(row));
    }
  }
  return state;
}

QString CCommonDialog::press(const QString& text) {
  QString fault = QStringLiteral("dialog ") + quoted(windowTitle()) + QStringLiteral(" has no button ") + quoted(text);
  for (QWidget* widget : widgetsInOrder()) {
    auto* button = qobject_cast<QAbstractButton*>(widget);
    if (button == nullptr || button->text() != text) continue;
    if (button->isVisibleTo(this) && button->isEnabled()) {
      button->click();
      return {};
    }
    fault = QStringLiteral("button ") + quoted(text) + QStringLiteral(" of dialog ") + quoted(windowTitle()) +
            (button->isEnabled() ? QStringLiteral(" is hidden") : QStringLiteral(" is disabled"));
  }
  return fault;
}

QString CCommonDialog::check(const QString& key, bool on) {
  for (IDialogRows* rows : rowWidgets()) {
    if (rows->checkRow(key, on)) return {};
  }
  return QStringLiteral("dialog ") + quoted(windowTitle()) + QStringLiteral(" has no check box for row ") + quoted(key);
}

QString CCommonDialog::edit(const QString& key, const QString& text) {
  for (IDialogRows* rows : rowWidgets()) {
    if (rows->editRow(key, text)) return {};
  }
  return QStringLiteral("dialog ") + quoted(windowTitle()) + QStringLiteral(" has no editor for row ") + quoted(key);
}

}  // namespace GV
