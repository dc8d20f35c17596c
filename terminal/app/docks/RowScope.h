#pragma once

#include <string>

#include "docks/CDocks.h"

namespace app {

/// Which orders stand behind a row of the panel, told by its node's key. GUI thread only.
class CRowScope {
 public:
  /// No task: every order.
  explicit CRowScope(const SChosenRow& row) : m_row(row) {}
  bool takes(const SBlotterDetail& detail, const ksservice::COrderInfo& order);

 private:
  enum class EPart { None, Whole, Line };
  EPart partOf(const SBlotterDetail& detail);

  SChosenRow m_row;
  // Of the detail that was asked for last, since its orders stand together.
  const SBlotterDetail* m_pDetail = nullptr;
  EPart m_ePart = EPart::None;
  QString m_strLine;
};

/// Key of the row on which an order counts: instrument and operation.
QString orderLineKey(const ksservice::COrderInfo& order);
/// The panel's own key of that row.
QString orderRowKey(const SBlotterDetail& detail, const ksservice::COrderInfo& order);

}  // namespace app
