/// The lines of an export, formed from given cells.
#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>
#include <algorithm>

#include "BasketColumns.h"
#include "FileTraps.h"
#include "TableExport.h"

namespace TC {
namespace {

const char TITLES[] =
    " 账号 , 账号名称 , 名称 , 交易类型 , 金额 , 开始时间 , 结束时间 , 状态 , 投资备注,未成交数量,智能算法标识";

QString titles(const char* separator) { return QString::fromUtf8(TITLES).replace(",", separator); }

ExportStep always() {
  return [](int) { return true; };
}

/// Rows whose cells are their number and column, but for those that are given by column.
SExportRows rowsOf(int count, const QMap<int, QString>& cells = {}) {
  return {count,
          [cells](int row, int column) { return cells.value(column, QStringLiteral("%1.%2").arg(row).arg(column)); }};
}

/// What was written, batch by batch.
QStringList batches(const SExportRows& rows, QChar separator) {
  QStringList written;
  const auto write = [&written](const QString& text) {
    written.append(text);
    return true;
  };
  EXPECT_TRUE(exportLines(rows, separator, write, always()));
  return written;
}

TEST(ExportLines, ComeInBatchesOfAThousandTheTitlesIncluded) {
  const auto line = [](int row) {
    return QString("%1.4,%1.5,%1.1,%1.6,%1.7,%1.10,%1.11,%1.13,%1.3,%1.15,%1.16").arg(row);
  };
  QStringList lines = {QString::fromUtf8(TITLES)};
  for (int row = 0; row < 999; ++row) lines.append(line(row));
  const QString full = lines.join('\n') + '\n';

  EXPECT_EQ(batches(rowsOf(998), ','), QStringList{full.left(full.size() - line(998).size() - 2)});
  EXPECT_EQ(batches(rowsOf(999), ','), QStringList{full}) << "one write that ends with a line end";
  EXPECT_EQ(batches(rowsOf(1000), ','), (QStringList{full, line(999)}));
  EXPECT_EQ(batches(rowsOf(1001), ','), (QStringList{full, line(999) + '\n' + line(1000)}));
  const QStringList twice = batches(rowsOf(1999), ',');
  ASSERT_EQ(twice.size(), 2);
  EXPECT_EQ(twice[1].count('\n'), 1000);
  EXPECT_TRUE(twice[1].endsWith(line(1998) + '\n'));
}

TEST(ExportLines, AnEmptyCellIsAnEmptyFieldInAFileAndFourBlanksWhenCopied) {
  const SExportRows rows = rowsOf(1, {{EBC_Amount, QString()}});
  EXPECT_EQ(batches(rows, '\t'),
            QStringList{titles("\t") + "\n0.4\t0.5\t0.1\t0.6\t\t0.10\t0.11\t0.13\t0.3\t0.15\t0.16"});
  QString copied;
  ASSERT_TRUE(clipboardText(rows, copied, always()));
  EXPECT_EQ(copied, titles("\t") + "\n0.4\t0.5\t0.1\t0.6\t    \t0.10\t0.11\t0.13\t0.3\t0.15\t0.16\n");
  copied.clear();
  ASSERT_TRUE(clipboardText(rowsOf(0), copied, always()));
  EXPECT_EQ(copied, titles("\t") + "\n") << "copied also without rows";
}

TEST(ExportLines, EndWhenTheyMayNotGoOnOrCannotBeWritten) {
  int written = 0;
  const auto count = [&written](const QString&) { return ++written < 3; };
  EXPECT_FALSE(exportLines(rowsOf(5000), ',', count, always()));
  EXPECT_EQ(written, 3);
  const auto halt = [](int rows) { return rows < 1999; };
  written = -100;
  EXPECT_FALSE(exportLines(rowsOf(5000), ',', count, halt));
  EXPECT_EQ(written, -98);
  QString copied;
  EXPECT_FALSE(clipboardText(rowsOf(5000), copied, halt));
}

TEST(ExportSpreadsheet, SaysHowFarItIsAndEndsAnywhere) {
  const QTemporaryDir folder;
  const QString file = folder.filePath("out.xlsx");
  std::vector<int> steps;
  ASSERT_TRUE(exportSpreadsheet(rowsOf(100), file, [&steps](int rows) {
    steps.push_back(rows);
    return true;
  }));
  EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
  EXPECT_EQ(steps.back(), 100);
  EXPECT_TRUE(QFile::remove(file));
  for (const int last : {0, 30, 49, 50, 80}) {
    EXPECT_FALSE(exportSpreadsheet(rowsOf(100), file, [last](int rows) { return rows <= last; })) << last;
    EXPECT_FALSE(QFile::exists(file)) << last;
  }
}

TEST(ExportSpreadsheet, IsWholeOrNotThereWhereverTheDiskIsFull) {
  const QTemporaryDir folder;
  const QString file = folder.filePath("out.xlsx");
  const SExportRows rows = {30, [](int row, int column) {
                              const QByteArray seed = QByteArray::number(row * 100 + column);
                              return QString(QCryptographicHash::hash(seed, QCryptographicHash::Md5).toHex());
                            }};
  ASSERT_TRUE(exportSpreadsheet(rows, file, always()));
  const qint64 size = QFileInfo(file).size();
  ASSERT_TRUE(QFile::remove(file));
  rlim_t limit = 15000;
  for (bool whole = false; !whole && limit < 100000; limit += 64) {
    const test::CFileSizeLimit full(limit);
    whole = exportSpreadsheet(rows, file, always());
    EXPECT_EQ(QFile::exists(file), whole) << limit;
  }
  EXPECT_GT(limit, 16000u) << "the first limits must be too small";
  EXPECT_NEAR(double(QFileInfo(file).size()), double(size), 20) << "no row and no end may be missing";
}

TEST(ExportRoute, FollowsTheLastFourCharactersOfTheNameInTheirCase) {
  const auto text = [](const char* name) {
    const SExportRoute route = exportRoute(QString::fromUtf8(name));
    return route.spreadsheet ? std::string("spreadsheet") : std::string(1, route.separator.toLatin1());
  };
  EXPECT_EQ(text("/home/u/out.txt"), "\t");
  EXPECT_EQ(text("out.csv"), ",");
  EXPECT_EQ(text("./.csv"), ",");
  for (const char* name : {"out.CSV", "out.TXT", "out.Csv", "out.xlsx", "out", "/folder.csv/out", "/folder/csv", "/"}) {
    EXPECT_EQ(text(name), "spreadsheet") << name;
  }
  // The odd character goes before "/".
  EXPECT_EQ(text("a.csv/b⼯.txt"), "\t");
  EXPECT_EQ(text("a⼯b.csv/.txt"), "\t");
  EXPECT_EQ(text("a.csv⼯txt"), "spreadsheet");
}

}  // namespace
}  // namespace TC
