/// The table of a dock, with its exports.
#pragma once

#include <functional>
#include <utility>

#include "gv/CBaseHighPerformanceTable.h"

namespace app {

/// A model that can be exported.
class CRowsModelBase : public GV::IBaseHpfTableModel {
 public:
  /// The text of a cell, by position and column.
  using CellText = std::function<QString(int row, int column)>;

  using IBaseHpfTableModel::IBaseHpfTableModel;
  /// The rows that show as they are now, for any thread.
  virtual CellText freeze() const = 0;
};

/// GUI thread only.
class CRowsTable : public GV::CBaseHighPerformanceTable {
 public:
  using RowCommand = std::function<void()>;

  /// Takes ownership of the model.
  CRowsTable(CRowsModelBase* model, QWidget* parent);

  /// A command on the selected rows in the context menu, above the others. Before offer().
  void addCommand(const QString& text, int key, RowCommand run);
  void offer() { offerCommands(); }
  /// What stands in the table while it has no rows.
  void setEmptyText(const QString& text) { m_strEmpty = text; }
  /// Runs what changes the rows. While the user has chosen a row that is on screen, those on screen stay where they
  /// are, also at the very top, where else new ones would push them down under his hand.
  void holding(const std::function<void()>& change);
  void setDoubleClick(std::function<void(int position)> run) { m_doubleClick = std::move(run); }

  /// Writes the rows and columns that show into a file that the user names, as text or as a workbook.
  bool exportData() override;
  /// Puts the selected rows, or else all that show, on the clipboard.
  void copyData() override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  std::vector<int> shownColumns() const;

  CRowsModelBase* m_pModel;
  QString m_strEmpty;
  std::function<void(int position)> m_doubleClick;
  bool m_bExporting = false;
};

}  // namespace app
