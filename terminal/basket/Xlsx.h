/// The cells of an XLSX workbook. Read here with the zip and XML parsers of liborcus: its own filter leaves out texts
/// that stand in their cells, not in the table of texts, and sheets that are named by their whole path, as common
/// programs write both. Any thread.
#pragma once

#include <string_view>

namespace basket {

/// Takes the cells of a workbook, sheet by sheet.
class IXlsxCells {
 public:
  virtual ~IXlsxCells() = default;
  virtual void beginSheet(std::string_view name) = 0;
  /// row, column: from 0. A date stands as the number that the file has.
  virtual void putText(int row, int column, std::string_view text) = 0;
  virtual void putNumber(int row, int column, double value) = 0;
};

/// In the workbook's order. Throws what the library throws for a file that is broken, and what the cells throw.
void readXlsx(std::string_view workbook, IXlsxCells& cells);

}  // namespace basket
