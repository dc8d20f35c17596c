/// The rows of orders and fills: their columns, and which of them a filter takes.
#pragma once

#include "docks/CBlotter.h"
#include "docks/RowsModel.h"

namespace app {

/// In the order of the filter's choices, which begin with all.
enum class EOrderState { Pending, Working, Partial, Filled, Cancelled, Refused };

struct SOrderRow {
  SBlotterOrder m_order;
  int m_nSecondOfDay = 0;

  EOrderState state() const;
  /// Whether it may still fill.
  bool isOpen() const { return !m_order.m_pInfo->m_bCompleted; }
};

struct SFillRow {
  SBlotterFill m_fill;
  int m_nSecondOfDay = 0;
};

QString orderStateText(EOrderState state);
const std::vector<SRowColumn<SOrderRow>>& orderColumns();
const std::vector<SRowColumn<SFillRow>>& fillColumns();
/// Whether a text stands in the code or the name of an order's instrument.
bool namesInstrument(const ksservice::COrderInfo& order, const QString& text);
/// A price in the steps of its market, "--" for none.
QString priceText(double price, const std::string& market);
/// Red for what buys, green for what sells.
const QColor* sideColour(int operation);

}  // namespace app
