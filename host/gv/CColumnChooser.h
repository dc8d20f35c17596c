/// The choice of a table's columns.
#pragma once

#include "gv/CCommonDialog.h"

namespace GV {

class CBaseHighPerformanceTable;
class CBaseTableColumnCheckBoxDelegate;
class CPushButton;
class CStandardHpfTable;
class CStandardHpfTableModel;

/// Which columns of a table show, and in which order. A row is named by the column's title. The tree column cannot be
/// hidden: without it nothing could be unfolded. The table is changed by "确定" alone. GUI thread.
class CColumnChooser : public CCommonDialog {
  Q_OBJECT

 public:
  /// The table must outlive the dialog.
  explicit CColumnChooser(CBaseHighPerformanceTable& table, QWidget* parent = nullptr);

  /// Lets the user choose; true when the table's columns were set.
  static bool choose(CBaseHighPerformanceTable& table, QWidget* parent);

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;

 private:
  struct SRow;

  void createRows();
  QWidget* createButtons();
  void moveCurrent(int by);
  void apply();
  void checkAccept();

  CBaseHighPerformanceTable& m_table;
  CStandardHpfTable* m_pList;
  CStandardHpfTableModel* m_pModel;
  CBaseTableColumnCheckBoxDelegate* m_pShown;
  CPushButton* m_pAccept = nullptr;
};

}  // namespace GV
