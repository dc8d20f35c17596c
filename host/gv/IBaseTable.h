/// The operations that every table of the kit has.
#pragma once

#include <QString>

namespace GV {

/// GUI thread only.
class IBaseTable {
 public:
  virtual ~IBaseTable() = default;

  virtual int rowCount() const = 0;
  virtual QString columnHeader(int column) const = 0;
  virtual int columnWidth(int column) const = 0;
  /// Pixels.
  virtual void setHeaderHeight(int height) = 0;
  virtual void setItemHeight(int height) = 0;
  /// Columns' order, widths and hiding, and the sort, as one text without "/" and "*".
  virtual QString saveConfigStr() const = 0;
  /// False, and nothing changed, for a text that saveConfigStr did not give.
  virtual bool restoreConfigStr(const QString& text) = 0;
  /// A locked table can be looked at but not worked with.
  virtual void setUiLock(bool locked) = 0;
  /// Asks for a file and writes the rows that show to it; true when the file stands there as a whole. False for a table
  /// that has no exports.
  virtual bool exportData() = 0;
  /// Puts the rows that show on the clipboard; nothing for a table that has no exports.
  virtual void copyData() = 0;
};

}  // namespace GV
