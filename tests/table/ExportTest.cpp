/// The status table's exports from the user's act to the file and the clipboard, offscreen.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QMenu>
#include <QProcess>
#include <QProgressDialog>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>
#include <optional>

#include "BasketColumns.h"
#include "CHpfBasketStatusTable.h"
#include "EHpfBasketTaskStatus.h"
#include "FileTraps.h"
#include "TableExport.h"
#include "Tasks.h"
#include "TestHost.h"
#include "gv/CFileDialog.h"

namespace TC {
namespace {

QByteArray contentOf(const QString& name) {
  QFile file(name);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

void put(const QString& name, const QByteArray& content) {
  QFile file(name);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(content);
}

std::vector<std::pair<std::string, int>> codes(int count) {
  std::vector<std::pair<std::string, int>> list;
  list.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) list.emplace_back(std::to_string(600000 + i), i % 3 == 0 ? 1000 : i % 1000);
  return list;
}

class Export : public testing::Test {
 public:
  Export() {
    GV::CFileDialog::setPresenter([this](QWidget*, const QString&) { return m_answer; });
  }
  ~Export() override { GV::CFileDialog::setPresenter({}); }
  Export(const Export&) = delete;
  Export& operator=(const Export&) = delete;

 protected:
  QString path(const QString& name) const { return m_folder.filePath(name); }
  QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden); }
  bool exportTo(const QString& name) {
    m_answer = path(name);
    return m_table->exportData();
  }

  test::TaskPtr addTask(int id, const std::vector<std::pair<std::string, int>>& traded) {
    test::TaskPtr task = test::makeTask(id);
    test::update(task, 1, "A1", "00" + std::to_string(id), traded);
    m_table->updateTask(task);
    m_table->applyStaged();
    return task;
  }
  void addRows(int tasks, int rows) {
    for (int id = 1; id <= tasks; ++id) addTask(id, codes(rows));
    m_table->expandAll(true);
  }

  /// The export as the table shows itself: titles and cells joined by the separator, lines by line ends.
  QString shown(const QString& separator) const {
    QStringList lines;
    for (int row = -1; row < m_table->rowCount(); ++row) {
      QStringList cells;
      for (const int column : {4, 5, 1, 6, 7, 10, 11, 13, 3, 15, 16}) {
        cells << (row < 0 ? m_table->columnHeader(column) : m_table->itemText(row, column));
      }
      lines << cells.join(separator);
    }
    return lines.join('\n');
  }

  test::CTestHost m_host;
  QTemporaryDir m_folder;
  std::unique_ptr<CHpfBasketStatusTable> m_table = std::make_unique<CHpfBasketStatusTable>(1, nullptr);
  QString m_answer;
};

TEST_F(Export, WritesAPipeAsItIs) {
  addRows(1, 2);
  for (const char* name : {"pipe.csv", "pipe.xlsx"}) {
    ASSERT_EQ(::mkfifo(path(name).toUtf8(), 0600), 0);
    QFile pipe;
    const int descriptor = ::open(path(name).toUtf8(), O_RDWR | O_NONBLOCK);
    ASSERT_TRUE(pipe.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    EXPECT_TRUE(exportTo(name));
    struct stat state {};
    ASSERT_EQ(::stat(path(name).toUtf8(), &state), 0);
    EXPECT_TRUE(S_ISFIFO(state.st_mode)) << name;
    EXPECT_EQ(pipe.read(2), QByteArray(name).endsWith("csv") ? shown(",").toUtf8().left(2) : "PK");
  }
}

TEST_F(Export, KeysAndMenuReachBothUnlessTheTableIsLocked) {
  addRows(1, 2);
  m_answer = path("out.txt");
  QApplication::clipboard()->setText("before");
  m_table->setUiLock(true);
  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier);
  QTest::keyClick(m_table.get(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_TRUE(files().isEmpty());
  EXPECT_EQ(QApplication::clipboard()->text(), "before");
  m_table->setUiLock(false);

  QTest::keyClick(m_table.get(), Qt::Key_E);
  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_TRUE(files().isEmpty());
  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier);
  EXPECT_EQ(contentOf(path("out.txt")), shown("\t").toUtf8());
  QTest::keyClick(m_table.get(), Qt::Key_C, Qt::ControlModifier);
  const QString copied = QApplication::clipboard()->text();
  EXPECT_TRUE(copied.startsWith(shown("\t").section('\n', 0, 0) + '\n'));
  EXPECT_EQ(copied.count('\n'), m_table->rowCount() + 1);
  EXPECT_TRUE(copied.contains("\t    \t")) << "the rows have no end time";

  const QList<QAction*> actions = m_table->contextMenu()->actions().mid(m_table->contextMenu()->actions().size() - 2);
  EXPECT_EQ(actions[0]->text(), QStringLiteral("导出数据"));
  EXPECT_EQ(actions[1]->text(), QStringLiteral("复制"));
  m_answer = path("menu.csv");
  actions[0]->trigger();
  EXPECT_EQ(contentOf(path("menu.csv")), shown(",").toUtf8());
  QApplication::clipboard()->clear();
  actions[1]->trigger();
  EXPECT_EQ(QApplication::clipboard()->text(), copied);
}

/// Not the rows that are hidden or folded away, in the order of the table, whatever stood in the file.
TEST_F(Export, TheFileHoldsTheRowsThatShowThoughTheyChangeMeanwhile) {
  addRows(20, 1000);
  const test::TaskPtr hidden = addTask(98, codes(2));
  m_table->hideTask(*hidden);
  m_table->endUpdate();
  m_table->expandItem(m_table->baseModel()->rowAt(0).key(), false);
  m_table->sortByColumn(EBC_Amount, Qt::DescendingOrder);
  put(path("out.txt"), QByteArray(5000000, '-'));
  const QByteArray before = shown("\t").toUtf8();
  bool ran = false;
  std::optional<bool> second;
  QTimer::singleShot(0, m_table.get(), [&] {
    ran = true;
    second = m_table->exportData();
    addTask(1, codes(3));
    addTask(99, codes(3));
    m_table->sortByColumn(EBC_Unfilled, Qt::DescendingOrder);
  });
  EXPECT_TRUE(exportTo("out.txt"));
  ASSERT_TRUE(ran);
  EXPECT_EQ(second, false) << "one at a time";
  EXPECT_NE(shown("\t").toUtf8(), before);
  EXPECT_EQ(contentOf(path("out.txt")), before);
}

TEST_F(Export, OutlivesItsTable) {
  addRows(20, 1000);
  const QByteArray before = shown(",").toUtf8();
  QTimer::singleShot(0, [this] { m_table.reset(); });
  EXPECT_TRUE(exportTo("out.csv"));
  ASSERT_FALSE(m_table);
  EXPECT_EQ(contentOf(path("out.csv")), before);
}

TEST_F(Export, CancelledLeavesTheOldFile) {
  addRows(20, 1000);
  for (const char* name : {"out.txt", "out.xlsx"}) {
    put(path(name), "old");
    // The end of the program cancels as the button does, but need not be waited for.
    QTimer::singleShot(0, [this, name] {
      QTimer::singleShot(0, qApp, &QApplication::quit);
      EXPECT_FALSE(exportTo(name));
    });
    QApplication::exec();
    EXPECT_EQ(files(), QStringList{name});
    EXPECT_EQ(contentOf(path(name)), "old");
    QFile::remove(path(name));
  }
}

TEST_F(Export, AReadOnlyFolderStaysAsItIs) {
  addRows(1, 5);
  put(path("old.txt"), "old");
  // The old file may be written by all, but nothing may be written beside it.
  ASSERT_EQ(chmod(path("old.txt").toLocal8Bit(), 0666), 0);
  ASSERT_EQ(chmod(m_folder.path().toLocal8Bit(), 0555), 0);
  {
    const test::COrdinaryUser user;
    for (const char* name : {"old.txt", "new.txt", "new.csv", "new.CSV", "new.xlsx", "missing/new.txt"}) {
      EXPECT_FALSE(exportTo(name)) << name;
    }
  }
  ASSERT_EQ(chmod(m_folder.path().toLocal8Bit(), 0700), 0);
  EXPECT_EQ(files(), QStringList{"old.txt"});
  EXPECT_EQ(contentOf(path("old.txt")), "old");
  EXPECT_FALSE(exportTo(".")) << "a folder";
}

TEST_F(Export, AFileThatCannotGrowLeavesTheOldOneOrNone) {
  addRows(4, 1000);
  for (const char* name : {"out.txt", "out.csv", "out.CSV", "out.xlsx"}) {
    ASSERT_TRUE(exportTo(name));
    const auto whole = static_cast<rlim_t>(QFileInfo(path(name)).size());
    QFile::remove(path(name));
    // Also where there is no room for the last bytes alone.
    for (const rlim_t room : {whole / 2, whole - 100}) {
      const test::CFileSizeLimit limit(room);
      EXPECT_FALSE(exportTo(name)) << name;
      EXPECT_TRUE(files().isEmpty()) << name << ": " << files().join(" ").toStdString();
      put(path(name), "old");
      EXPECT_FALSE(exportTo(name)) << name;
      EXPECT_EQ(contentOf(path(name)), "old") << name;
      QFile::remove(path(name));
    }
  }
}

TEST(ExportRefusal, OnlyASheetHasAnEnd) {
  constexpr int MOST = 1048575;
  EXPECT_EQ(exportRefusal("a.xlsx", MOST), QString());
  EXPECT_EQ(exportRefusal("a.xlsx", MOST + 1).toStdString(), "1048576 行超过表格的上限 1048575 行，没有导出");
  for (const char* name : {"a.txt", "a.csv", "a.CSV"}) EXPECT_EQ(exportRefusal(name, MOST + 1), QString()) << name;
}

/// Texts quoted, numbers as they are shown and not quoted.
QByteArray throughLibreOffice(const QString& program, const QTemporaryDir& folder, const QString& file) {
  QProcess office;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("HOME", folder.filePath("home"));
  office.setProcessEnvironment(environment);
  office.setWorkingDirectory(folder.path());
  office.start(program,
               {"--headless", "--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,true,false,true", file});
  EXPECT_TRUE(office.waitForFinished(180000)) << office.errorString().toStdString();
  return contentOf(folder.filePath("sheet.csv"));
}

TEST_F(Export, LibreOfficeReadsTheSameCells) {
  const QString program = QStandardPaths::findExecutable("soffice");
  if (program.isEmpty()) GTEST_SKIP() << "LibreOffice is not there";
  addRows(2, 30);
  ASSERT_TRUE(shown(",").contains("\n001")) << "accounts start with zeros";
  ASSERT_TRUE(exportTo("sheet.xlsx"));
  QString expected;
  for (const QString& line : shown("\t").split('\n')) {
    const QStringList cells = line.split('\t');
    for (int i = 0; i < cells.size(); ++i) {
      const bool number = (i == 4 || i == 9) && !expected.isEmpty() && expected.contains('\n');
      if (i > 0) expected += ',';
      expected += number || cells[i].isEmpty() ? cells[i] : '"' + cells[i] + '"';
    }
    expected += '\n';
  }
  EXPECT_EQ(throughLibreOffice(program, m_folder, path("sheet.xlsx")).toStdString(), expected.toStdString());
}

}  // namespace
}  // namespace TC
