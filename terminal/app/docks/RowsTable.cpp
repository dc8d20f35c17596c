#include "docks/RowsTable.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <algorithm>

#include "gv/CClipboard.h"
#include "gv/CExcelReader.h"
#include "gv/CFileDialog.h"
#include "gv/CMessageBox.h"
#include "gv/CWholeFile.h"
#include "gv/LongWork.h"

namespace app {
namespace {

/// Rows to write, formed on whatever thread writes them.
struct SSheet {
  QStringList m_titles;
  std::vector<int> m_columns;
  std::vector<bool> m_numeric;  ///< of these: they hold figures
  std::vector<int> m_rows;
  CRowsModelBase::CellText m_text;

  QString line(std::size_t row, QChar separator) const {
    QStringList cells;
    for (const int column : m_columns) cells.append(m_text(m_rows[row], column));
    return cells.join(separator);
  }
};

/// False when the user ended it.
bool step(GV::CWorkProgress& progress, std::size_t row, const SSheet& sheet) {
  progress.setDone(static_cast<qint64>(row), static_cast<qint64>(sheet.m_rows.size()) * 2);
  return !progress.isCancelled();
}

bool writeText(const SSheet& sheet, const QString& name, QChar separator, GV::CWorkProgress& progress) {
  GV::CWholeFile file(name);
  if (!file.open() || !file.write((sheet.m_titles.join(separator) + QLatin1Char('\n')).toUtf8())) return false;
  for (std::size_t row = 0; row < sheet.m_rows.size(); ++row) {
    if (!step(progress, row * 2, sheet)) return false;
    if (!file.write((sheet.line(row, separator) + QLatin1Char('\n')).toUtf8())) return false;
  }
  return file.commit();
}

bool writeWorkbook(const SSheet& sheet, const QString& name, GV::CWorkProgress& progress) {
  GV::CExcelReader writer(false);
  if (!writer.isValid() || !writer.newfile() || !writer.addSheet()) return false;
  for (int i = 0; i < sheet.m_titles.size(); ++i) writer.setData(1, 1, i + 1, sheet.m_titles[i]);
  for (std::size_t row = 0; row < sheet.m_rows.size(); ++row) {
    if (!step(progress, row, sheet)) return false;
    for (std::size_t i = 0; i < sheet.m_columns.size(); ++i) {
      const QString text = sheet.m_text(sheet.m_rows[row], sheet.m_columns[i]);
      const auto [toRow, toColumn] = std::pair(static_cast<int>(row) + 2, static_cast<int>(i) + 1);
      // The digits of a code are no figure: 000001 is not 1.
      const bool put =
          sheet.m_numeric[i] ? writer.setNumber(1, toRow, toColumn, text) : writer.setData(1, toRow, toColumn, text);
      if (!put) return false;
    }
  }
  return writer.saveAs(name, [&progress](qint64 done, qint64 total) {
    progress.setDone(total + done, total * 2);
    return !progress.isCancelled();
  });
}

bool writeFile(const SSheet& sheet, const QString& name, GV::CWorkProgress& progress) {
  if (name.endsWith(QLatin1String(".txt"))) return writeText(sheet, name, QLatin1Char('\t'), progress);
  if (name.endsWith(QLatin1String(".csv"))) return writeText(sheet, name, QLatin1Char(','), progress);
  return writeWorkbook(sheet, name, progress);
}

}  // namespace

CRowsTable::CRowsTable(CRowsModelBase* model, QWidget* parent) : CBaseHighPerformanceTable(parent), m_pModel(model) {
  model->setParent(this);
  setBaseModel(model);
  setOptions(OptionColumnMenu);
}

void CRowsTable::addCommand(const QString& text, int key, RowCommand run) {
  addRowCommand(text, key, [command = std::move(run)](const QString&) { command(); });
}

void CRowsTable::holding(const std::function<void()>& change) {
  const std::vector<int> selected = m_pModel->selectedPositions();
  const bool holds = topRow() == 0 && !selected.empty() && selected.front() < pageRows();
  const QString first = holds ? m_pModel->rowAt(0).key() : QString();
  change();
  const int position = m_pModel->positionOf(first);
  if (holds && position > 0) verticalScrollBar()->setValue(position);
}

std::vector<int> CRowsTable::shownColumns() const {
  std::vector<int> columns;
  for (int visual = 0; visual < m_pModel->columnCount(); ++visual) {
    const int column = header()->logicalIndex(visual);
    if (isColumnVisible(column)) columns.push_back(column);
  }
  return columns;
}

bool CRowsTable::exportData() {
  const QPointer<CRowsTable> self = this;
  const QString caption = QStringLiteral("导出数据");
  const QString name = GV::CFileDialog::getSaveFileName(
      this, caption, QStringLiteral("."), QStringLiteral("Text files (*.txt);;Excel Files(*.xlsx *.csv)"));
  if (!self || m_bExporting || name.isEmpty()) return false;
  SSheet sheet{{}, shownColumns(), {}, {}, m_pModel->freeze()};
  for (const int column : sheet.m_columns) {
    sheet.m_titles.append(m_pModel->columnTitle(column));
    sheet.m_numeric.push_back(m_pModel->column(column).numericSort);
  }
  for (int row = 0; row < rowCount(); ++row) sheet.m_rows.push_back(row);
  m_bExporting = true;
  const bool whole =
      GV::runLongWork(this, QStringLiteral("正在导出数据…"),
                      [&sheet, &name](GV::CWorkProgress& progress) { return writeFile(sheet, name, progress); });
  if (!self) return whole;
  m_bExporting = false;
  if (!whole) GV::CMessageBox::information(this, caption, QStringLiteral("没有导出：%1").arg(name));
  return whole;
}

void CRowsTable::copyData() {
  SSheet sheet{{}, shownColumns(), {}, m_pModel->selectedPositions(), m_pModel->freeze()};
  for (int row = 0; sheet.m_rows.empty() && row < rowCount(); ++row) sheet.m_rows.push_back(row);
  for (const int column : sheet.m_columns) sheet.m_titles.append(m_pModel->columnTitle(column));
  QString text = sheet.m_titles.join(QLatin1Char('\t')) + QLatin1Char('\n');
  for (std::size_t row = 0; row < sheet.m_rows.size(); ++row) {
    text += sheet.line(row, QLatin1Char('\t')) + QLatin1Char('\n');
  }
  GV::CClipboard::setText(text);
}

void CRowsTable::paintEvent(QPaintEvent* event) {
  CBaseHighPerformanceTable::paintEvent(event);
  if (rowCount() > 0 || m_strEmpty.isEmpty()) return;
  QPainter painter(viewport());
  painter.setPen(*GV::CUiResource::getColor(QStringLiteral("clr_text_title")));
  painter.setFont(GV::CUiResource::getFont(QStringLiteral("fnt_default_normal")));
  const int margin = GV::CUiResource::scaled(8);
  painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                   static_cast<int>(Qt::AlignTop) | Qt::AlignHCenter | Qt::TextWordWrap, m_strEmpty);
}

void CRowsTable::mouseDoubleClickEvent(QMouseEvent* event) {
  CBaseHighPerformanceTable::mouseDoubleClickEvent(event);
  const int row = rowAtY(event->pos().y());
  if (m_doubleClick && row >= 0 && row < rowCount()) m_doubleClick(row);
}

}  // namespace app
