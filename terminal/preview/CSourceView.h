#pragma once

#include <QAbstractTableModel>
#include <QComboBox>
#include <QLabel>
#include <QTableView>
#include <map>

#include "CDraft.h"
#include "CDraftStore.h"

namespace preview {

/// "代码", "名称" and so on; "不用" for a column that counts for nothing.
QString roleText(basket::ERole role);

/// The rows of a source as they stand there, and why some are no lines. GUI thread.
class CSheetModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  CSheetModel(CDraft& draft, QObject* parent);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  const std::vector<basket::SColumn>& columns() const { return m_draft.state().m_layout.m_columns; }
  int cellCount() const;

  CDraft& m_draft;
  std::map<int, QString> m_reasons;  ///< by line: why it was left out
};

/// The source beside the lines that were made of it. A click on a column's head chooses what the column says. GUI
/// thread.
class CSourceView : public QWidget {
  Q_OBJECT

 public:
  /// Both must outlive the view.
  CSourceView(CDraft& draft, CDraftStore& store, QWidget* parent);
  /// As the user does it in the column's menu; remembered for sheets with the same titles.
  void setRole(int column, basket::ERole role);

 private:
  void showSource();
  void chooseRole(int column);
  void saveLayout();

  CDraft& m_draft;
  CDraftStore& m_store;
  QComboBox* m_pSheets;
  QComboBox* m_pSaved;
  QLabel* m_pNote;
  QTableView* m_pTable;
};

}  // namespace preview
