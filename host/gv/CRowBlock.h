#pragma once

#include <QHash>
#include <vector>

#include "gv/ITreeBlock.h"

namespace GV {

/// The block of rows that are put into a table one by one. GUI thread only.
class CRowBlock : public ITreeBlock, private ITreeState {
 public:
  CRowBlock() = default;
  ~CRowBlock() override { clear(); }
  CRowBlock(const CRowBlock&) = delete;
  CRowBlock& operator=(const CRowBlock&) = delete;

  /// Where a row of this parent (-1: none) would be put: behind what is below the parent, or behind all.
  int placeUnder(int parent) const;
  void insert(int row, int parent, const CHpfTreeTableDataPtr& record);
  /// Puts another record of the same key in the place of a row.
  void replace(int row, const CHpfTreeTableDataPtr& record);
  void erase(int first, int count);
  void clear();

  const ITreeState& state() const override { return *this; }
  QString key(int row) const override;
  int find(const QString& key) const override;
  QString scriptName(int row) const override;
  CHpfTreeTableDataPtr record(int row) override { return at(row).record; }
  void visitCounted(int column, const CountedVisitor& visit) const override;
  int rowCount() const override { return static_cast<int>(m_rows.size()); }

 private:
  struct SRow {
    CHpfTreeTableDataPtr record;
    int parent = -1;
  };

  const SRow& at(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
  void bind(int row);
  void release(int row);
  void renumber(int first, int parentsFrom, int by);

  int parentOf(int row) const override { return at(row).parent; }
  int sortOrder(int row) const override;
  QString name(int row) const override;
  QString text(int row, int column) const override;
  double sortNumber(int row, int column) const override;
  QString sortText(int row, int column) const override;

  std::vector<SRow> m_rows;
  QHash<QString, CHpfTreeTableData*> m_byKey;
};

}  // namespace GV
