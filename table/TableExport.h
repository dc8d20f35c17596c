/// The status table outside the screen: the lines of its exports, formed from a state of the table that stays as it was
/// taken. Any thread, unless said otherwise.
#pragma once

#include <QChar>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "TaskBlock.h"
#include "gv/CTreeBlocks.h"

namespace GV {
class CHpfTreeTableModel;
}

namespace TC {

/// Rows to export: their number, and the text of a cell by row and column of the table.
struct SExportRows {
  int count = 0;
  std::function<QString(int row, int column)> text;
};

/// The rows that a status table shows at one moment, in its order, each of their cells as the table shows it then.
class CTableSnapshot {
 public:
  /// Costs a few bits a row; no text is formed, and what is sorted is sorted when it is asked for. GUI thread.
  explicit CTableSnapshot(const GV::CHpfTreeTableModel& model);

  int rowCount() const { return m_nRows; }
  /// One thread at a time.
  QString text(int row, int column) const;
  /// Views this snapshot, which must outlive them.
  SExportRows rows() const;

 private:
  struct STask {
    STaskRows rows;
    GV::CShownRows shown;
    int first = 0;  ///< the row of the snapshot that its first one is
  };

  const CHpfBasketStatusData& dataOf(int row) const;

  std::vector<STask> m_tasks;
  int m_nRows = 0;
  // What was asked for last, since rows are asked for one after the other, and each for all of its cells.
  mutable const STask* m_pTask = nullptr;
  mutable std::vector<int> m_shown;  ///< of the task
  mutable int m_nRow = -1;
  mutable std::optional<CHpfBasketStatusData> m_data;  ///< of the row
};

/// Columns of the table in the order of the exports.
const std::vector<int>& exportColumns();

/// How a file is written, as its name says.
struct SExportRoute {
  bool spreadsheet = false;
  QChar separator;  ///< of a text file
};

SExportRoute exportRoute(const QString& fileName);

/// Is told that a number of rows is done; false ends the export.
using ExportStep = std::function<bool(int rows)>;
/// Takes a batch of lines; false ends the export.
using ExportSink = std::function<bool(const QString& text)>;

/// The header line and a line for each row, separated by line ends, in batches of at most 1000 lines; a batch that is
/// full ends with a line end, the last one does not. Nothing is quoted. False when it was ended before its end.
bool exportLines(const SExportRows& rows, QChar separator, const ExportSink& write, const ExportStep& step);

/// Why so many rows cannot be exported to a file of this name, in words for the user; empty when they can.
QString exportRefusal(const QString& fileName, int rows);

/// The same cells in the first sheet of a spreadsheet, the titles in row 1; figures become numbers where the format
/// knows them. False when it was ended or could not be written as a whole; a file may stand there all the same when it
/// was ended at its very end.
bool exportSpreadsheet(const SExportRows& rows, const QString& fileName, const ExportStep& step);

/// The lines for the clipboard: separated by tabs, each with a line end, an empty cell as four blanks. False when it
/// was ended before its end.
bool clipboardText(const SExportRows& rows, QString& text, const ExportStep& step);

}  // namespace TC
