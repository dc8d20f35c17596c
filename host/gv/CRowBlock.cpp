#include "gv/CRowBlock.h"

#include "gv/CHpfTreeTableData.h"
#include "gv/TreeOrder.h"

namespace GV {

int CRowBlock::placeUnder(int parent) const {
  if (parent < 0) return rowCount();
  int place = parent + 1;
  // What is below a row hangs on it or on one behind it.
  while (place < rowCount() && at(place).parent >= parent) ++place;
  return place;
}

void CRowBlock::insert(int row, int parent, const CHpfTreeTableDataPtr& record) {
  m_rows.insert(m_rows.begin() + row, {record, parent});
  m_byKey.insert(record->key(), record.get());
  renumber(row + 1, row, 1);
  bind(row);
}

void CRowBlock::replace(int row, const CHpfTreeTableDataPtr& record) {
  if (at(row).record == record) return;
  release(row);
  m_rows[static_cast<std::size_t>(row)].record = record;
  m_byKey.insert(record->key(), record.get());
  bind(row);
}

void CRowBlock::erase(int first, int count) {
  for (int row = first; row < first + count; ++row) {
    m_byKey.remove(at(row).record->key());
    release(row);
  }
  m_rows.erase(m_rows.begin() + first, m_rows.begin() + first + count);
  renumber(first, first + count, -count);
}

void CRowBlock::clear() {
  for (int row = 0; row < rowCount(); ++row) release(row);
  m_rows.clear();
  m_byKey.clear();
}

void CRowBlock::bind(int row) {
  CHpfTreeTableData& record = *at(row).record;
  record.m_pBlock = this;
  record.m_nRow = row;
}

void CRowBlock::release(int row) { at(row).record->m_pBlock = nullptr; }

/// The rows from first on have new numbers; those that were parentsFrom and more moved by so much.
void CRowBlock::renumber(int first, int parentsFrom, int by) {
  for (int row = first; row < rowCount(); ++row) {
    SRow& each = m_rows[static_cast<std::size_t>(row)];
    each.record->m_nRow = row;
    if (each.parent >= parentsFrom) each.parent += by;
  }
}

QString CRowBlock::key(int row) const { return at(row).record->key(); }

int CRowBlock::find(const QString& key) const {
  const auto found = m_byKey.constFind(key);
  return found == m_byKey.constEnd() ? -1 : (*found)->m_nRow;
}

QString CRowBlock::scriptName(int row) const { return at(row).record->scriptName(); }

void CRowBlock::visitCounted(int column, const CountedVisitor& visit) const {
  const std::vector<int> order = orderOf(*this, {});
  for (int place = 0; place < rowCount(); ++place) {
    const int row = order.empty() ? place : order[static_cast<std::size_t>(place)];
    if (at(row).record->inStatistics()) visit(row, at(row).record->number(column));
  }
}

int CRowBlock::sortOrder(int row) const { return at(row).record->sortOrder(); }

QString CRowBlock::name(int row) const { return at(row).record->displayName(); }

QString CRowBlock::text(int row, int column) const { return at(row).record->text(column); }

double CRowBlock::sortNumber(int row, int column) const { return at(row).record->sortNumber(column); }

QString CRowBlock::sortText(int row, int column) const { return at(row).record->sortText(column); }

}  // namespace GV
