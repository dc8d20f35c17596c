#pragma once

#include "CHpfBasketStatusData.h"
#include "gv/CHpfTreeTableData.h"

namespace TC {

class CTaskBlock;

/// One row of the status table: a view on its task's block. Its texts and its key are formed when they are asked for,
/// only while it is bound and the block stands. GUI thread.
class CHpfBasketStatusTableData : public GV::CHpfTreeTableData {
 public:
  /// mode: how the table shows progress; outlives the row.
  explicit CHpfBasketStatusTableData(const EProcessDisplay& mode) : m_mode(mode) {}

  /// Binds the row to a place in its task's block; done anew whenever the block's shape changes.
  void bind(CTaskBlock* block, int row);
  CTaskBlock* block() const { return m_pBlock; }
  int row() const { return m_nRow; }
  /// What the cells are formed from.
  CHpfBasketStatusData data() const;

  QString key() const override;
  bool hasKey(const QString& key) const override;
  QString displayName() const override;
  QString scriptName() const override;
  QString nodeKey() const override;
  int sortOrder() const override;
  bool childFigures(int column, std::vector<ChildFigure>& out) const override;
  QString text(int column) const override;
  /// The amount of a root; 0 for every other cell, so that the statistics line counts each task once.
  double number(int column) const override;
  /// The raw figure of a cell, also of children.
  double sortNumber(int column) const override;
  double getChangedValue(int column) override;
  const QColor* textColor(int column) const override;
  bool inStatistics() const override;

 private:
  const EProcessDisplay& m_mode;
  CTaskBlock* m_pBlock = nullptr;
  int m_nRow = 0;
  unsigned m_nReadVersion = 0;  ///< version of the block whose change was read
};

using StatusRowPtr = boost::shared_ptr<CHpfBasketStatusTableData>;

}  // namespace TC
