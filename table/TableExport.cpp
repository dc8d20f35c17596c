#include "TableExport.h"

#include <algorithm>

#include "BasketColumns.h"
#include "CHpfBasketStatusTableData.h"
#include "gv/CExcelReader.h"
#include "gv/CHpfTreeTableModel.h"

namespace TC {
namespace {

constexpr int BATCH_LINES = 1000;
constexpr int SUFFIX_LENGTH = 4;
constexpr int SHEET = 1;
constexpr QChar TAB('\t');
constexpr QChar LINE_END('\n');
const QString EMPTY_COPIED_CELL(4, QLatin1Char(' '));

const GV::SColumn& columnOf(int column) { return basketColumns()[static_cast<std::size_t>(column)].column; }

void appendHeader(QString& text, QChar separator) {
  const std::vector<int>& columns = exportColumns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) text += separator;
    text += columnOf(columns[i]).title;
  }
}

void appendRow(QString& text, const SExportRows& rows, int row, QChar separator, const QString& emptyCell) {
  const std::vector<int>& columns = exportColumns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) text += separator;
    const QString cell = rows.text(row, columns[i]);
    text += cell.isEmpty() ? emptyCell : cell;
  }
}

/// The titles stand above the first row.
bool putRow(GV::CExcelReader& writer, const SExportRows& rows, int row) {
  for (std::size_t i = 0; i < exportColumns().size(); ++i) {
    const int column = exportColumns()[i];
    const int place = static_cast<int>(i) + 1;
    const QString text = rows.text(row, column);
    const bool done = columnOf(column).sortsByNumber() ? writer.setNumber(SHEET, row + 2, place, text)
                                                       : writer.setData(SHEET, row + 2, place, text);
    if (!done) return false;
  }
  return true;
}

}  // namespace

// The snapshot

CTableSnapshot::CTableSnapshot(const GV::CHpfTreeTableModel& model) {
  const GV::CTreeBlocks& tree = model.tree();
  m_tasks.reserve(tree.blocks().size());
  for (const int block : tree.blocks()) {
    if (tree.shownCount(block) == 0) continue;
    m_tasks.push_back({static_cast<const CTaskBlock&>(tree.source(block)).rows(), tree.shownRows(block), m_nRows});
    m_nRows += tree.shownCount(block);
  }
}

const CHpfBasketStatusData& CTableSnapshot::dataOf(int row) const {
  if (row == m_nRow) return *m_data;
  if (!m_pTask || row < m_pTask->first || row >= m_pTask->first + m_pTask->shown.count()) {
    const auto isBefore = [](int at, const STask& task) { return at < task.first; };
    m_pTask = &*std::prev(std::upper_bound(m_tasks.begin(), m_tasks.end(), row, isBefore));
    m_shown = m_pTask->shown.rows(m_pTask->rows);
  }
  m_data.emplace(m_pTask->rows.data(m_shown[static_cast<std::size_t>(row - m_pTask->first)]));
  m_nRow = row;
  return *m_data;
}

QString CTableSnapshot::text(int row, int column) const {
  const CellText form = basketColumns()[static_cast<std::size_t>(column)].text;
  if (!form) return {};
  const CHpfBasketStatusData& data = dataOf(row);
  return form(data, m_pTask->rows.mode);
}

SExportRows CTableSnapshot::rows() const {
  return {rowCount(), [this](int row, int column) { return text(row, column); }};
}

// What is exported, and how

const std::vector<int>& exportColumns() {
  static const std::vector<int> columns = [] {
    std::vector<int> list;
    for (int column = 0; column < EBC_Count; ++column) {
      if (columnOf(column).exportOrder > 0) list.push_back(column);
    }
    std::sort(list.begin(), list.end(),
              [](int one, int other) { return columnOf(one).exportOrder < columnOf(other).exportOrder; });
    return list;
  }();
  return columns;
}

SExportRoute exportRoute(const QString& fileName) {
  // No path has the first character; it is looked for first all the same: intended.
  int before = fileName.lastIndexOf(QChar(0x2F2F));
  if (before < 0) before = fileName.lastIndexOf(QLatin1Char('/'));
  const QString suffix = fileName.mid(before + 1).right(SUFFIX_LENGTH);
  // Another case of these is a spreadsheet: intended.
  if (suffix == QLatin1String(".txt")) return {false, TAB};
  if (suffix == QLatin1String(".csv")) return {false, QLatin1Char(',')};
  return {true, QChar()};
}

QString exportRefusal(const QString& fileName, int rows) {
  // With the titles in a row of their own.
  const int most = GV::CExcelReader::maxRows(fileName) - 1;
  if (!exportRoute(fileName).spreadsheet || rows <= most) return {};
  return QStringLiteral("%1 行超过表格的上限 %2 行，没有导出").arg(rows).arg(most);
}

bool exportLines(const SExportRows& rows, QChar separator, const ExportSink& write, const ExportStep& step) {
  QString batch;
  appendHeader(batch, separator);
  int lines = 1;
  for (int row = 0; row < rows.count; ++row) {
    if (lines > 0) batch += LINE_END;
    appendRow(batch, rows, row, separator, QString());
    if (++lines < BATCH_LINES) continue;
    batch += LINE_END;
    if (!write(batch) || !step(row + 1)) return false;
    batch.resize(0);  // keeps its memory
    lines = 0;
  }
  return lines == 0 || write(batch);
}

bool exportSpreadsheet(const SExportRows& rows, const QString& fileName, const ExportStep& step) {
  GV::CExcelReader writer(false);
  if (!writer.isValid() || !writer.newfile() || !writer.addSheet()) return false;
  for (std::size_t i = 0; i < exportColumns().size(); ++i) {
    const QString& title = columnOf(exportColumns()[i]).title;
    if (!writer.setData(SHEET, 1, static_cast<int>(i) + 1, title)) return false;
  }
  for (int row = 0; row < rows.count; ++row) {
    // The second half is for the saving.
    if (!putRow(writer, rows, row) || !step(row / 2)) return false;
  }
  const auto save = [&](qint64 done, qint64 total) {
    return step(static_cast<int>(rows.count - rows.count / 2 * (total - done) / total));
  };
  return writer.saveAs(fileName, save) && step(rows.count);
}

bool clipboardText(const SExportRows& rows, QString& text, const ExportStep& step) {
  appendHeader(text, TAB);
  text += LINE_END;
  for (int row = 0; row < rows.count; ++row) {
    appendRow(text, rows, row, TAB, EMPTY_COPIED_CELL);
    text += LINE_END;
    if (!step(row + 1)) return false;
  }
  return true;
}

}  // namespace TC
