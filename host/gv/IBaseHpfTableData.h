/// One row of a table as the table sees it.
#pragma once

#include <QString>

class QColor;

namespace GV {

/// GUI thread only. A text is formed when it is asked for; nothing is stored by the table.
class IBaseHpfTableData {
 public:
  virtual ~IBaseHpfTableData() = default;

  /// Names the row in its table; must not change while the row is in a table.
  virtual QString key() const = 0;
  /// What a cell shows.
  virtual QString text(int /*column*/) const { return {}; }
  /// The figure behind a cell, as the statistics line sums it.
  virtual double number(int /*column*/) const { return 0.0; }
  /// The raw value by which a numeric column sorts.
  virtual double sortNumber(int column) const { return number(column); }
  /// The raw text by which any other column sorts.
  virtual QString sortText(int column) const { return text(column); }
  /// How far the figure of a cell moved since it was last asked; asking resets it. Called while painting.
  virtual double getChangedValue(int /*column*/) { return 0.0; }
  /// Null for the default colour. The colour outlives the call.
  virtual const QColor* textColor(int /*column*/) const { return nullptr; }
  /// Whether number() enters the statistics line; asked once, when the row enters the table.
  virtual bool inStatistics() const { return true; }
};

}  // namespace GV
