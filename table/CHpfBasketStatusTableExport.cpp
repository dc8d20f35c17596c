// The status table on its way out: to a file and to the clipboard.
#include <QFile>
#include <QPointer>
#include <QTextStream>

#include "CHpfBasketStatusTable.h"
#include "TableExport.h"
#include "gv/CClipboard.h"
#include "gv/CFileDialog.h"
#include "gv/CMessageBox.h"
#include "gv/CWholeFile.h"
#include "gv/LongWork.h"

namespace TC {
namespace {

const QString CAPTION = QStringLiteral("导出数据");
const QString FILTER = QStringLiteral("Text files (*.txt);;Excel Files(*.csv)");

ExportStep stepOf(GV::CWorkProgress& progress, int count) {
  return [&progress, count](int rows) {
    progress.setDone(rows, count);
    return !progress.isCancelled();
  };
}

bool exportFile(const SExportRows& rows, const QString& fileName, GV::CWorkProgress& progress) {
  const SExportRoute route = exportRoute(fileName);
  const ExportStep step = stepOf(progress, rows.count);
  if (route.spreadsheet) return exportSpreadsheet(rows, fileName, step);
  GV::CWholeFile file(fileName);
  if (!file.open()) return false;
  const auto write = [&file](const QString& text) { return file.write(text.toUtf8()); };
  return exportLines(rows, route.separator, write, step) && file.commit();
}

}  // namespace

bool CHpfBasketStatusTable::runExport(const QString& label, const GV::LongWork& work) {
  // The events that go on meanwhile may ask for the next one, which must wait, or take this table away.
  m_bExporting = true;
  const QPointer<CHpfBasketStatusTable> self = this;
  const bool whole = GV::runLongWork(this, label, work);
  if (self) m_bExporting = false;
  return whole;
}

bool CHpfBasketStatusTable::exportData() {
  const QPointer<CHpfBasketStatusTable> self = this;
  const QString fileName = GV::CFileDialog::getSaveFileName(this, CAPTION, QStringLiteral("."), FILTER);
  if (!self || m_bExporting) return false;
  GV::CEventDeliverer::tellTap(this, GV::EventTableExport, 0, 0, fileName);
  if (fileName.isEmpty()) return false;
  const CTableSnapshot snapshot(*dataModel());
  const QString refusal = exportRefusal(fileName, snapshot.rowCount());
  if (!refusal.isEmpty()) {
    GV::CMessageBox::information(this, CAPTION, refusal);
    return false;
  }
  return runExport(QStringLiteral("正在导出数据…"), [&snapshot, fileName](GV::CWorkProgress& progress) {
    return exportFile(snapshot.rows(), fileName, progress);
  });
}

void CHpfBasketStatusTable::copyData() {
  if (m_bExporting) return;
  GV::CEventDeliverer::tellTap(this, GV::EventTableCopy, 0, 0, QString());
  const CTableSnapshot snapshot(*dataModel());
  QString text;
  const bool whole = runExport(QStringLiteral("正在复制…"), [&](GV::CWorkProgress& progress) {
    return clipboardText(snapshot.rows(), text, stepOf(progress, snapshot.rowCount()));
  });
  if (whole) GV::CClipboard::setText(text);
}

bool CHpfBasketStatusTable::writeDataToFile(const QString& text, const QString& fileName) {
  QFile file(fileName);
  if (!file.open(QIODevice::Append | QIODevice::Text)) return false;
  QTextStream stream(&file);
  stream.setCodec("UTF-8");
  stream << text;
  stream.flush();
  const bool written = stream.status() == QTextStream::Ok && file.flush();
  file.close();
  return written && file.error() == QFile::NoError;
}

}  // namespace TC
