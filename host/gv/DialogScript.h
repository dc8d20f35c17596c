/// How a script works the terminal's modal dialogs, and how a recording learns what the user did in them.
///
/// A script installs a hook (CCommonDialog::setExecHook). When a dialog is run, it is shown and handed to the hook
/// instead of waiting for the user. The hook looks at it (CCommonDialog::state) and acts on it (press, check, edit,
/// closeByUser) until it is closed (isOpen), then returns; a dialog that the hook leaves open is rejected. A press that
/// opens another dialog comes back to the hook with that one before it returns, so a script's acts may cross dialogs.
///
/// A recording installs an observer (CCommonDialog::setObserver). It is told of every act, the user's and the script's,
/// just before it takes effect, so that acts stand in the order in which they must be repeated. What the user types
/// into an editor is told once, when it is committed: before the press that committed it.
///
/// Neither message boxes nor file dialogs come this way: they have presenters of their own.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace GV {

class CCommonDialog;

struct SDialogButton {
  QString text;
  bool visible = true;
  bool enabled = true;
  bool checked = false;  ///< of a button that stays down while its choice holds
};

/// A row of a dialog's table, or an input field, whose key is its label.
struct SDialogRow {
  QString key;
  bool checkable = false;  ///< has a check box that the user can change
  bool checked = false;
  bool editable = false;  ///< has an editor that the user can open
  QString editor;
  QStringList cells;  ///< the texts of a table's row, column by column; empty for an input field
};

/// What a dialog shows, in the order of its layout; buttons and labels that are hidden included.
struct SDialogState {
  QString title;
  std::vector<SDialogRow> rows;
  std::vector<SDialogButton> buttons;
  QStringList labels;
};

/// A widget of a dialog that has rows. GUI thread.
class IDialogRows {
 public:
  virtual ~IDialogRows() = default;
  virtual std::vector<SDialogRow> dialogRows() const = 0;
  /// As the user does it; false for a row that is not there or has no such box or editor now.
  virtual bool checkRow(const QString& key, bool on) = 0;
  virtual bool editRow(const QString& key, const QString& text) = 0;
  /// Commits what an open editor holds.
  virtual void commitEdits() = 0;
};

/// Runs a dialog in the user's place.
using DialogHook = std::function<void(CCommonDialog& dialog)>;

/// GUI thread.
class IDialogObserver {
 public:
  virtual ~IDialogObserver() = default;
  virtual void dialogOpens(CCommonDialog& dialog) = 0;
  virtual void buttonPressed(CCommonDialog& dialog, const QString& text) = 0;
  virtual void rowChecked(CCommonDialog& dialog, const QString& key, bool on) = 0;
  virtual void rowEdited(CCommonDialog& dialog, const QString& key, const QString& text) = 0;
  /// Closed with the window's own means, not with a button of the dialog.
  virtual void dialogClosed(CCommonDialog& dialog) = 0;
  /// The run of the dialog is over.
  virtual void dialogEnded(CCommonDialog& dialog, bool accepted) = 0;
};

}  // namespace GV
