#include "CHpfBasketStatusTableData.h"

#include "BasketColumns.h"
#include "TaskBlock.h"
#include "gv/CUiResource.h"

namespace TC {

CHpfBasketStatusTableData::~CHpfBasketStatusTableData() {
  if (isInTable()) taskBlock()->forget(row());
}

void CHpfBasketStatusTableData::bindTo(CTaskBlock& block, int row) { bind(&block, row); }

CTaskBlock* CHpfBasketStatusTableData::taskBlock() const { return static_cast<CTaskBlock*>(block()); }

CHpfBasketStatusData CHpfBasketStatusTableData::data() const { return taskBlock()->data(row()); }

QString CHpfBasketStatusTableData::key() const { return taskBlock()->key(row()); }

QString CHpfBasketStatusTableData::displayName() const { return taskBlock()->rows().name(row()); }

QString CHpfBasketStatusTableData::scriptName() const { return taskBlock()->scriptName(row()); }

QString CHpfBasketStatusTableData::nodeKey() const { return taskBlock()->rows().nodeKey(row()); }

int CHpfBasketStatusTableData::sortOrder() const { return taskBlock()->rows().sortOrder(row()); }

QString CHpfBasketStatusTableData::text(int column) const { return taskBlock()->rows().sortText(row(), column); }

double CHpfBasketStatusTableData::number(int column) const {
  return column == EBC_Amount && row() == 0 ? taskBlock()->facts().rootAmount : 0;
}

double CHpfBasketStatusTableData::sortNumber(int column) const { return taskBlock()->rows().sortNumber(row(), column); }

double CHpfBasketStatusTableData::getChangedValue(int column) {
  return column == EBC_Amount ? taskBlock()->takeAmountChange(row()) : 0;
}

const QColor* CHpfBasketStatusTableData::textColor(int column) const {
  if (column == EBC_TradeType) return tradeTypeColor(data().shape.operations);
  static const QColor* const standard = GV::CUiResource::getColor(QStringLiteral("clr_text_default"));
  return standard;
}

bool CHpfBasketStatusTableData::inStatistics() const { return row() == 0; }

}  // namespace TC
