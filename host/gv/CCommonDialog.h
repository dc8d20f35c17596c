/// The base of the terminal's modal dialogs.
#pragma once

#include <QDialog>

#include "gv/CEventWidget.h"
#include "gv/CUiResource.h"
#include "gv/DialogScript.h"

namespace GV {

/// Events of its widgets stay inside: what a derived dialog does not handle ends here. Before a button's event is
/// handled, an open editor is committed, whether it had lost the focus to the button or not. Enter belongs to the
/// button, field or table that has the focus, and to the default button only beside them. Clicks and keys that were
/// under way when it ended change nothing any more. GUI thread.
class CCommonDialog : public CEventWidgetT<QDialog>, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CCommonDialog(QWidget* parent = nullptr);

  /// Runs the dialog until it is closed: QDialog::Accepted or QDialog::Rejected. Never with a lock held.
  int exec() override;
  bool handleEvent(int eventId, int id, int value, QString key, void* data) override;
  void done(int result) override;
  void resourceChanged() override { update(); }

  // What a script does with it; see gv/DialogScript.h. The acts give what kept them from being done, or an empty text.

  bool isOpen() const { return isVisible(); }
  /// From its end until it is shown again.
  bool hasEnded() const { return m_bEnded; }
  SDialogState state() const;
  QString press(const QString& text);
  QString check(const QString& key, bool on);
  QString edit(const QString& key, const QString& text);
  /// As the window's close button does.
  void closeByUser() { close(); }

  /// An empty hook gives the dialogs back to the user.
  static void setExecHook(DialogHook hook);
  /// Not owned; null ends it.
  static void setObserver(IDialogObserver* observer);

  /// The dialog that a widget is in; null for none.
  static CCommonDialog* of(QWidget* widget);
  /// An event of one of its widgets is about to be handled. Called by the event delivery.
  void aboutToHandle(QWidget* from, int eventId, int value, const QString& key, const void* payload);

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void execByHook(const DialogHook& hook);
  bool enterIsTaken();
  void commitEdits();
  std::vector<QWidget*> widgetsInOrder() const;
  std::vector<IDialogRows*> rowWidgets() const;

  bool m_bEnded = false;
};

}  // namespace GV
