#include "CHpfBasketStatusTableData.h"

#include <limits>

#include "BasketColumns.h"
#include "RowKeys.h"
#include "TaskBlock.h"
#include "gv/CUiResource.h"

namespace TC {
namespace {

/// Null for a column that sorts by its text, and for none.
SortFigure sortFigureOf(int column) {
  if (column < 0 || column >= EBC_Count) return nullptr;
  return basketColumns()[static_cast<std::size_t>(column)].sortFigure;
}

}  // namespace

void CHpfBasketStatusTableData::bind(CTaskBlock* block, int row) {
  m_pBlock = block;
  m_nRow = row;
}

CHpfBasketStatusData CHpfBasketStatusTableData::data() const { return m_pBlock->data(m_nRow); }

QString CHpfBasketStatusTableData::key() const { return m_pBlock->state().key(m_nRow); }

bool CHpfBasketStatusTableData::hasKey(const QString& key) const {
  return isRowKey(m_pBlock->shape()[static_cast<std::size_t>(m_nRow)], key);
}

QString CHpfBasketStatusTableData::displayName() const { return data().shape.displayName; }

QString CHpfBasketStatusTableData::scriptName() const { return data().shape.scriptName; }

QString CHpfBasketStatusTableData::nodeKey() const { return m_pBlock->state().nodeKey(m_nRow); }

int CHpfBasketStatusTableData::sortOrder() const {
  return m_nRow == 0 ? m_pBlock->facts().taskId : std::numeric_limits<int>::max();
}

QString CHpfBasketStatusTableData::text(int column) const {
  if (column < 0 || column >= EBC_Count) return QString();
  const CellText form = basketColumns()[static_cast<std::size_t>(column)].text;
  return form ? form(data(), m_mode) : QString();
}

double CHpfBasketStatusTableData::number(int column) const {
  return column == EBC_Amount && m_nRow == 0 ? m_pBlock->facts().rootAmount : 0;
}

double CHpfBasketStatusTableData::sortNumber(int column) const {
  const SortFigure figure = sortFigureOf(column);
  return figure ? figure(data()) : 0;
}

bool CHpfBasketStatusTableData::childFigures(int column, std::vector<ChildFigure>& out) const {
  const SortFigure figure = sortFigureOf(column);
  const std::vector<SRowShape>& shape = m_pBlock->shape();
  if (!figure || m_pBlock->nodes.size() != shape.size()) return false;
  const auto own = static_cast<std::size_t>(m_nRow);
  // What stands below a row follows it.
  for (std::size_t row = own + 1; row < shape.size() && shape[row].depth > shape[own].depth; ++row) {
    if (shape[row].parent != m_nRow) continue;
    out.emplace_back(m_pBlock->nodes[row], figure(m_pBlock->data(static_cast<int>(row))));
  }
  return true;
}

double CHpfBasketStatusTableData::getChangedValue(int column) {
  if (column != EBC_Amount || m_nReadVersion == m_pBlock->version()) return 0;
  m_nReadVersion = m_pBlock->version();
  return m_pBlock->amountChange(m_nRow);
}

const QColor* CHpfBasketStatusTableData::textColor(int column) const {
  if (column == EBC_TradeType) return tradeTypeColor(data().shape.operations);
  static const QColor* const standard = GV::CUiResource::getColor(QStringLiteral("clr_text_default"));
  return standard;
}

bool CHpfBasketStatusTableData::inStatistics() const { return m_nRow == 0; }

}  // namespace TC
