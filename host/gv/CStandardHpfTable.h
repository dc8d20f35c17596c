/// A table without a tree, whose rows may have check boxes and editors: the table of the terminal's dialogs.
#pragma once

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CBaseTableColumnCheckBoxDelegate.h"
#include "gv/CBaseTableColumnLineEditDelegate.h"
#include "gv/CStandardHpfTableModel.h"
#include "gv/DialogScript.h"

class QLineEdit;

namespace GV {

/// What the user does in a row travels to the parents: event 230 for a check box, event 234 for an editor. Whoever
/// takes event 234 sets the text that the editor's cell shows from then on.
///
/// An editor opens on a click into its cell, on Enter or F2, and on typing. Enter, the arrows up and down, Tab and the
/// loss of the focus commit it, Esc gives it up. Tab opens the next row's. An editor whose text was not changed commits
/// nothing. Space turns the check box of the current row over. GUI thread only.
class CStandardHpfTable : public CBaseHighPerformanceTable, public IDialogRows {
  Q_OBJECT

 public:
  explicit CStandardHpfTable(QWidget* parent = nullptr);

  /// Takes ownership of the model; the delegates are not owned. One column of each kind at most.
  void setDataModel(CStandardHpfTableModel* model);
  CStandardHpfTableModel* dataModel() const { return m_pFlatModel; }
  void setCheckBoxColumn(int column, CBaseTableColumnCheckBoxDelegate* delegate);
  void setLineEditColumn(int column, CBaseTableColumnLineEditDelegate* delegate);

  /// Opens the editor of a row; false when it has none or the table is locked.
  bool openEditor(const QString& key);
  /// The row whose editor is open; empty for none.
  QString editedKey() const { return m_strEditedKey; }

  std::vector<SDialogRow> dialogRows() const override;
  bool checkRow(const QString& key, bool on) override;
  bool editRow(const QString& key, const QString& text) override;
  void commitEdits() override { closeEditor(true); }

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void placeEditor();
  void closeEditor(bool commit);
  void deliverEdit(const QString& key, QString text);
  bool editorKey(const QKeyEvent& event);
  void leaveEditor(int by, bool openNext);

  CStandardHpfTableModel* m_pFlatModel = nullptr;
  QPointer<CBaseTableColumnCheckBoxDelegate> m_pCheckBoxes;
  QPointer<CBaseTableColumnLineEditDelegate> m_pLineEdits;
  QLineEdit* m_pEditor;
  QString m_strEditedKey;
};

}  // namespace GV
