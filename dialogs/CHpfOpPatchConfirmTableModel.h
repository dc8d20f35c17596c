/// The rows of the patch confirmation.
#pragma once

#include "gv/CStandardHpfTableModel.h"
#include "ksservice/CTaskDetail.h"

namespace TC {

/// Columns of the patch confirmation.
enum EPatchColumn : int {
  PatchColumnSelect = 0,
  PatchColumnAccount = 1,
  PatchColumnMarket = 2,
  PatchColumnCode = 3,
  PatchColumnName = 4,
  PatchColumnOperation = 5,
  PatchColumnAvailable = 6,
  PatchColumnQuantity = 7
};

/// One security that can be patched. Quantities are in shares or lots. GUI thread.
class CHpfOpPatchConfirmData : public GV::IBaseHpfTableData {
 public:
  /// key: that of the parameter. model: that of the table, not owned; it knows the columns' kinds.
  CHpfOpPatchConfirmData(QString key, const GV::IBaseHpfTableModel* model, int flags);

  QString key() const override { return m_strKey; }
  QString text(int column) const override;
  double number(int column) const override { return intValue(column); }
  const QColor* textColor(int column) const override;

  /// The figure of an integer column in base 10; empty for any other kind.
  QString displayText(int column) const;
  QString stringValue(int column) const;
  /// 2147483647 for a column without one, as the next two give their types' highest for every column.
  int intValue(int column) const;
  double doubleValue(int column) const;
  qint64 int64Value(int column) const;

  /// The quantity that is to be ordered; no bound is checked.
  void setPatchNum(int number);

  bool m_bChecked = true;
  ksservice::CCodeOrderParam m_param;  ///< its volume is what is ordered
  int m_nAvailable = 0;                ///< the most that may be patched
  int m_nPatchNum = 0;                 ///< what the cell shows: the parameter's volume
  int m_nFlags;

 private:
  QString m_strKey;
  const GV::IBaseHpfTableModel* m_pModel;
};

/// Columns in the order of their ids. GUI thread.
class CHpfOpPatchConfirmTableModel : public GV::CStandardHpfTableModel {
  Q_OBJECT

 public:
  using DataPtr = boost::shared_ptr<CHpfOpPatchConfirmData>;

  explicit CHpfOpPatchConfirmTableModel(QObject* parent = nullptr);

  using GV::CStandardHpfTableModel::setData;  // Qt's, of a cell
  void setData(const std::vector<DataPtr>& data);
  /// In the order in which they were set.
  const std::vector<DataPtr>& patchRows() const { return m_data; }
  /// Null for an unknown key.
  DataPtr find(const QString& key) const;

  const QColor* backgroundColor(int position) const override;

 private:
  std::vector<DataPtr> m_data;
};

}  // namespace TC
