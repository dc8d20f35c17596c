#include "gv/CExcelReader.h"

#include <csv.h>
#include <private/qzipreader_p.h>
#include <xlsxwriter.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>

#include "gv/CWholeFile.h"

namespace GV {

namespace {

const std::map<QString, char> SEPARATORS = {{QStringLiteral("csv"), ','}, {QStringLiteral("txt"), '\t'}};

auto separatorOf(const QString& fileName) { return SEPARATORS.find(QFileInfo(fileName).suffix().toLower()); }

/// All of it or nothing.
bool saveWhole(const QString& fileName, const QByteArray& bytes) {
  CWholeFile file(fileName);
  return file.open() && file.write(bytes) && file.commit();
}

void appendQuoted(QByteArray& out, const std::string& field) {
  const int place = out.size();
  const int room = static_cast<int>(2 * field.size()) + 2;  // every character may be a quote
  out.resize(place + room);
  const std::size_t used = csv_write(out.data() + place, static_cast<std::size_t>(room), field.data(), field.size());
  out.resize(place + static_cast<int>(used));
}

}  // namespace

/// A workbook that is being written, row after row. Once something went wrong, the rest is wrong too.
struct CExcelReader::SWriter {
  lxw_workbook* workbook = nullptr;
  std::map<std::size_t, lxw_format*> formats;  ///< by decimals
  std::vector<qint64> sizes;                   ///< at least so many bytes each sheet must come out as
  SaveStep step;
  qint64 total = 0;  ///< rows
  qint64 done = 0;
  bool good = true;

  lxw_format* numberFormat(std::size_t decimals) {
    lxw_format*& format = formats[decimals];
    if (!format) {
      format = workbook_add_format(workbook);
      format_set_num_format(format, decimals ? ("0." + std::string(decimals, '0')).c_str() : "0");
    }
    return format;
  }

  void put(lxw_worksheet* sheet, std::size_t row, std::size_t column, const SCell& cell) {
    const auto toRow = static_cast<lxw_row_t>(row);
    const auto toColumn = static_cast<lxw_col_t>(column);
    bool isNumber = false;
    const double number = cell.number ? QByteArray::fromStdString(cell.text).toDouble(&isNumber) : 0;
    lxw_error error = LXW_NO_ERROR;
    if (isNumber && std::isfinite(number)) {
      const std::size_t point = cell.text.find('.');
      const std::size_t decimals = point == std::string::npos ? 0 : cell.text.size() - point - 1;
      error = worksheet_write_number(sheet, toRow, toColumn, number, numberFormat(decimals));
    } else {
      error = worksheet_write_string(sheet, toRow, toColumn, cell.text.c_str(), nullptr);
    }
    good = good && error == LXW_NO_ERROR;
  }

  void put(const Sheet& rows) {
    lxw_worksheet* sheet = workbook_add_worksheet(workbook, nullptr);
    if (!sheet) good = false;
    for (std::size_t row = 0; good && row < rows.size(); ++row) {
      for (std::size_t column = 0; column < rows[row].size(); ++column) put(sheet, row, column, rows[row][column]);
      good = good && (!step || step(++done, total));
    }
    if (!good) return;
    // All rows but the last stand there by now.
    good = std::fflush(sheet->optimize_tmpfile) == 0 && std::ferror(sheet->optimize_tmpfile) == 0;
    sizes.push_back(std::ftell(sheet->optimize_tmpfile));
  }

  /// The library does not look whether its intermediate files could be written; a full disk would give a workbook that
  /// ends in the middle of a sheet.
  bool isWhole(const QString& fileName) const {
    QZipReader reader(fileName);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      const QByteArray sheet = reader.fileData(QStringLiteral("xl/worksheets/sheet%1.xml").arg(i + 1));
      if (sheet.size() <= sizes[i] || !sheet.endsWith("</worksheet>")) return false;
    }
    return true;
  }
};

CExcelReader::CExcelReader(bool /*visible*/, QObject* parent)
    : QObject(parent), m_folder(std::make_unique<QTemporaryDir>()) {}

CExcelReader::~CExcelReader() = default;

bool CExcelReader::isValid() const { return m_folder->isValid(); }

bool CExcelReader::newfile() {
  m_sheets.clear();
  m_bOpen = isValid();
  return m_bOpen;
}

bool CExcelReader::addSheet() {
  if (m_bOpen) m_sheets.emplace_back();
  return m_bOpen;
}

bool CExcelReader::setData(int sheet, int row, int column, const QString& text) {
  return put(sheet, row, column, text, false);
}

bool CExcelReader::setNumber(int sheet, int row, int column, const QString& text) {
  return put(sheet, row, column, text, true);
}

int CExcelReader::maxRows(const QString& fileName) {
  return separatorOf(fileName) != SEPARATORS.end() ? std::numeric_limits<int>::max() : LXW_ROW_MAX;
}

bool CExcelReader::put(int sheet, int row, int column, const QString& text, bool number) {
  if (sheet < 1 || sheet > static_cast<int>(m_sheets.size())) return false;
  if (row < 1 || row > LXW_ROW_MAX || column < 1 || column > LXW_COL_MAX) return false;
  Sheet& rows = m_sheets[static_cast<std::size_t>(sheet) - 1];
  if (rows.size() < static_cast<std::size_t>(row)) rows.resize(static_cast<std::size_t>(row));
  auto& cells = rows[static_cast<std::size_t>(row) - 1];
  if (cells.size() < static_cast<std::size_t>(column)) cells.resize(static_cast<std::size_t>(column));
  cells[static_cast<std::size_t>(column) - 1] = {text.toStdString(), number};
  return true;
}

QByteArray CExcelReader::separatedText(char separator) const {
  QByteArray text;
  for (const Sheet& sheet : m_sheets) {
    for (const auto& row : sheet) {
      for (std::size_t column = 0; column < row.size(); ++column) {
        if (column > 0) text += separator;
        appendQuoted(text, row[column].text);
      }
      text += '\n';
    }
  }
  return text;
}

bool CExcelReader::writeWorkbook(const QString& fileName, const SaveStep& step) const {
  QByteArray folder = QFile::encodeName(m_folder->path());
  // Rows go to disk as they come: a large table is not held once more.
  lxw_workbook_options options = {LXW_TRUE, folder.data(), LXW_FALSE};
  SWriter writer;
  writer.workbook = workbook_new_opt(QFile::encodeName(fileName).constData(), &options);
  if (!writer.workbook) return false;
  writer.step = step;
  for (const Sheet& sheet : m_sheets) writer.total += static_cast<qint64>(sheet.size());
  for (const Sheet& sheet : m_sheets) writer.put(sheet);
  const bool closed = workbook_close(writer.workbook) == LXW_NO_ERROR;
  return closed && writer.good && writer.isWhole(fileName);
}

bool CExcelReader::saveAs(const QString& fileName, const SaveStep& step) {
  if (!m_bOpen || m_sheets.empty()) return false;
  const auto separator = separatorOf(fileName);
  if (separator != SEPARATORS.end()) return saveWhole(fileName, separatedText(separator->second));
  // Written beside and then copied, so that nothing half stands under the name whatever fails.
  QFile workbook(m_folder->filePath(QStringLiteral("workbook.xlsx")));
  return writeWorkbook(workbook.fileName(), step) && workbook.open(QIODevice::ReadOnly) &&
         saveWhole(fileName, workbook.readAll());
}

}  // namespace GV
