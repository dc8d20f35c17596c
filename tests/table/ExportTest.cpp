/// Exports: the lines of given cells, and the status table's from the user's act to the file and the clipboard.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QClipboard>
#include <QCryptographicHash>
#include <QMenu>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <csignal>
#include <optional>

#include "BasketColumns.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "FolderTest.h"
#include "TableExport.h"
#include "Tasks.h"
#include "gv/CFileDialog.h"

using namespace TC;

namespace {

/// While what it gives lives, root is an ordinary user, who may not write everywhere.
[[nodiscard]] auto asOrdinaryUser() {
  constexpr uid_t NOBODY = 65534;
  const bool switched = geteuid() == 0 && seteuid(NOBODY) == 0;
  return qScopeGuard([switched] {
    if (switched && seteuid(0) != 0) std::abort();
  });
}

/// ... no file can grow beyond a size: a write beyond it fails as on a full disk.
[[nodiscard]] auto withFilesUpTo(rlim_t bytes) {
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit = {bytes, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  return qScopeGuard([before, handler = std::signal(SIGXFSZ, SIG_IGN)] {
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  });
}

bool always(int /*rows*/) { return true; }

/// Rows whose cells are their number and column.
SExportRows rowsOf(int count) {
  return {count, [](int row, int column) { return QString("%1.%2").arg(row).arg(column); }};
}

TEST(ExportLines, ComeInBatchesOfAThousandTheTitlesIncluded) {
  const auto batches = [](int rows) {
    QStringList written;
    const auto write = [&written](const QString& text) {
      written.append(text);
      return true;
    };
    EXPECT_TRUE(exportLines(rowsOf(rows), ',', write, always));
    return written;
  };
  const auto line = [](int row) {
    return QString("%1.4,%1.5,%1.1,%1.6,%1.7,%1.10,%1.11,%1.13,%1.3,%1.15,%1.16").arg(row);
  };
  QString full =
      " 账号 , 账号名称 , 名称 , 交易类型 , 金额 , 开始时间 , 结束时间 , 状态 , 投资备注,未成交数量,智能算法标识\n";
  for (int row = 0; row < 999; ++row) full += line(row) + '\n';
  EXPECT_EQ(batches(998), QStringList(full.left(full.size() - line(998).size() - 2)));
  EXPECT_EQ(batches(999), QStringList(full)) << "one write that ends with a line end";
  EXPECT_EQ(batches(1000), (QStringList{full, line(999)}));
  EXPECT_EQ(batches(1001), (QStringList{full, line(999) + '\n' + line(1000)}));
  const QStringList twice = batches(1999);
  ASSERT_EQ(twice.size(), 2);
  EXPECT_EQ(twice[1].count('\n'), 1000);
  EXPECT_TRUE(twice[1].endsWith(line(1998) + '\n'));
}

TEST(ExportLines, EndWhenTheyMayNotGoOnOrCannotBeWritten) {
  int written = 0;
  const auto most = [&written](int batches) { return [&written, batches](auto&) { return ++written < batches; }; };
  const auto halt = [](int rows) { return rows < 1999; };
  EXPECT_FALSE(exportLines(rowsOf(5000), ',', most(3), always));
  EXPECT_EQ(written, 3);
  EXPECT_FALSE(exportLines(rowsOf(5000), ',', most(100), halt));
  EXPECT_EQ(written, 5);
  QString copied;
  EXPECT_FALSE(clipboardText(rowsOf(5000), copied, halt));
}

using ExportSpreadsheet = test::CFolderTest;

TEST_F(ExportSpreadsheet, SaysHowFarItIsAndEndsAnywhere) {
  std::vector<int> steps;
  ASSERT_TRUE(exportSpreadsheet(rowsOf(100), path("out.xlsx"), [&steps](int rows) {
    steps.push_back(rows);
    return true;
  }));
  EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
  EXPECT_EQ(steps.back(), 100);
  EXPECT_TRUE(QFile::remove(path("out.xlsx")));
  for (const int last : {0, 30, 49, 50, 80}) {
    EXPECT_FALSE(exportSpreadsheet(rowsOf(100), path("out.xlsx"), [last](int rows) { return rows <= last; })) << last;
    EXPECT_EQ(files(), QStringList()) << last;
  }
}

TEST_F(ExportSpreadsheet, IsWholeOrNotThereWhereverTheDiskIsFull) {
  const SExportRows rows = {30, [](int row, int column) {
                              const QByteArray seed = QByteArray::number(row * 100 + column);
                              return QString(QCryptographicHash::hash(seed, QCryptographicHash::Md5).toHex());
                            }};
  ASSERT_TRUE(exportSpreadsheet(rows, path("out.xlsx"), always));
  const double size = contentOf("out.xlsx").size();
  ASSERT_TRUE(QFile::remove(path("out.xlsx")));
  rlim_t limit = 15000;
  for (bool whole = false; !whole && limit < 100000; limit += 64) {
    const auto full = withFilesUpTo(limit);
    whole = exportSpreadsheet(rows, path("out.xlsx"), always);
    EXPECT_EQ(files().size(), whole ? 1 : 0) << limit;
  }
  EXPECT_GT(limit, 16000u) << "the first limits must be too small";
  EXPECT_NEAR(contentOf("out.xlsx").size(), size, 20) << "no row and no end may be missing";
}

TEST(ExportRoute, FollowsTheLastFourCharactersOfTheNameInTheirCase) {
  const auto text = [](const char* name) {
    const SExportRoute route = exportRoute(name);
    return route.spreadsheet ? std::string("spreadsheet") : std::string(1, route.separator.toLatin1());
  };
  // An odd character goes before "/".
  for (const char* name : {"/home/u/out.txt", "a.csv/b⼯.txt", "a⼯b.csv/.txt"}) EXPECT_EQ(text(name), "\t") << name;
  for (const char* name : {"out.csv", "./.csv"}) EXPECT_EQ(text(name), ",") << name;
  for (const char* name :
       {"out.CSV", "out.TXT", "out.Csv", "out.xlsx", "out", "/folder.csv/out", "/folder/csv", "/", "a.csv⼯txt"}) {
    EXPECT_EQ(text(name), "spreadsheet") << name;
  }
}

TEST(ExportRefusal, OnlyASheetHasAnEnd) {
  constexpr int MOST = 1048575;
  EXPECT_EQ(exportRefusal("a.xlsx", MOST), QString());
  EXPECT_EQ(exportRefusal("a.xlsx", MOST + 1), "1048576 行超过表格的上限 1048575 行，没有导出");
  for (const char* name : {"a.txt", "a.csv", "a.CSV"}) EXPECT_EQ(exportRefusal(name, MOST + 1), QString()) << name;
}

class Export : public test::CFolderTest {
 public:
  Export() {
    GV::CFileDialog::setPresenter([this](QWidget*, const QString&) { return m_answer; });
  }
  ~Export() override { GV::CFileDialog::setPresenter({}); }

 protected:
  bool exportTo(const QString& name) {
    m_answer = path(name);
    return m_table->exportData();
  }

  test::TaskPtr addTask(int id, int rows) {
    std::vector<std::pair<std::string, int>> traded;
    traded.reserve(static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i) traded.emplace_back(std::to_string(600000 + i), i % 3 == 0 ? 1000 : i % 1000);
    test::TaskPtr task = test::makeTask(id);
    test::update(task, 1, "A1", "00" + std::to_string(id), traded);
    m_table->updateTask(task);
    m_table->applyStaged();
    return task;
  }
  void addRows(int tasks, int rows) {
    for (int id = 1; id <= tasks; ++id) addTask(id, rows);
    m_table->expandAll(true);
  }

  /// The export as the table shows itself: titles and cells joined by the separator, lines by line ends.
  QByteArray shown(const QString& separator) const {
    QStringList lines;
    for (int row = -1; row < m_table->rowCount(); ++row) {
      QStringList cells;
      for (const int column : {4, 5, 1, 6, 7, 10, 11, 13, 3, 15, 16}) {
        cells << (row < 0 ? m_table->columnHeader(column) : m_table->itemText(row, column));
      }
      lines << cells.join(separator);
    }
    return lines.join('\n').toUtf8();
  }

  testkit::CTestHost m_host;
  std::unique_ptr<CHpfBasketStatusTable> m_table = std::make_unique<CHpfBasketStatusTable>(1, nullptr);
  QString m_answer;
};

TEST_F(Export, AHostsTextIsAppendedWholeOrSaidNotToBe) {
  EXPECT_TRUE(CHpfBasketStatusTable::writeDataToFile(QStringLiteral("一\n"), path("host.txt")));
  EXPECT_TRUE(CHpfBasketStatusTable::writeDataToFile(QStringLiteral("two"), path("host.txt")));
  EXPECT_EQ(contentOf("host.txt"), QByteArray("一\ntwo"));
  EXPECT_FALSE(CHpfBasketStatusTable::writeDataToFile(QStringLiteral("x"), path("nowhere/host.txt")));
  const auto full = withFilesUpTo(20);
  EXPECT_FALSE(CHpfBasketStatusTable::writeDataToFile(QString(100, 'x'), path("host.txt")));
}

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
    EXPECT_EQ(pipe.read(2), QByteArray(name).endsWith("csv") ? shown(",").left(2) : "PK");
  }
}

TEST_F(Export, KeysAndMenuReachBothUnlessTheTableIsLocked) {
  addRows(1, 2);
  m_answer = path("out.txt");
  QClipboard& clipboard = *QApplication::clipboard();
  clipboard.setText("before");
  m_table->setUiLock(true);
  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier);
  QTest::keyClick(m_table.get(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard.text(), "before");
  m_table->setUiLock(false);
  QTest::keyClick(m_table.get(), Qt::Key_E);
  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(files(), QStringList());

  QTest::keyClick(m_table.get(), Qt::Key_E, Qt::ControlModifier);
  EXPECT_EQ(contentOf("out.txt"), shown("\t"));
  QTest::keyClick(m_table.get(), Qt::Key_C, Qt::ControlModifier);
  const QString copied = clipboard.text();
  EXPECT_EQ(copied.count('\n'), m_table->rowCount() + 1);

  const QList<QAction*> actions = m_table->contextMenu()->actions().mid(m_table->contextMenu()->actions().size() - 2);
  EXPECT_EQ(actions[0]->text() + actions[1]->text(), "导出数据复制");
  m_answer = path("menu.csv");
  actions[0]->trigger();
  EXPECT_EQ(contentOf("menu.csv"), shown(","));
  clipboard.clear();
  actions[1]->trigger();
  EXPECT_EQ(clipboard.text(), copied);
}

/// Not the rows that are hidden or folded away, in the order of the table, whatever stood in the file.
TEST_F(Export, TheFileHoldsTheRowsThatShowThoughTheyChangeMeanwhile) {
  addRows(20, 1000);
  m_table->hideTask(*addTask(98, 2));
  m_table->endUpdate();
  m_table->expandItem(m_table->baseModel()->rowAt(0).key(), false);
  m_table->sortByColumn(EBC_Amount, Qt::DescendingOrder);
  put("out.txt", QByteArray(5000000, '-'));
  const QByteArray before = shown("\t");
  std::optional<bool> second;
  QTimer::singleShot(0, m_table.get(), [&] {
    second = m_table->exportData();
    addTask(1, 3);
    addTask(99, 3);
    m_table->sortByColumn(EBC_Unfilled, Qt::DescendingOrder);
  });
  EXPECT_TRUE(exportTo("out.txt"));
  EXPECT_EQ(second, false) << "one at a time";
  EXPECT_NE(shown("\t"), before);
  EXPECT_EQ(contentOf("out.txt"), before);
}

TEST_F(Export, OutlivesItsTable) {
  addRows(20, 1000);
  const QByteArray before = shown(",");
  QTimer::singleShot(0, [this] { m_table.reset(); });
  EXPECT_TRUE(exportTo("out.csv"));
  ASSERT_FALSE(m_table);
  EXPECT_EQ(contentOf("out.csv"), before);
}

TEST_F(Export, CancelledLeavesTheOldFile) {
  addRows(20, 1000);
  for (const char* name : {"out.txt", "out.xlsx"}) {
    put(name, "old");
    // The end of the program cancels as the button does, but need not be waited for.
    QTimer::singleShot(0, [this, name] {
      QTimer::singleShot(0, qApp, &QApplication::quit);
      EXPECT_FALSE(exportTo(name));
    });
    QApplication::exec();
    EXPECT_EQ(files(), QStringList(name));
    EXPECT_EQ(contentOf(name), "old");
    QFile::remove(path(name));
  }
}

TEST_F(Export, AReadOnlyFolderStaysAsItIs) {
  addRows(1, 5);
  put("old.txt", "old");
  // The old file may be written by all, but nothing may be written beside it.
  ASSERT_EQ(chmod(path("old.txt").toLocal8Bit(), 0666), 0);
  ASSERT_EQ(chmod(m_folder.path().toLocal8Bit(), 0555), 0);
  {
    const auto user = asOrdinaryUser();
    for (const char* name : {"old.txt", "new.txt", "new.csv", "new.CSV", "new.xlsx", "missing/new.txt"}) {
      EXPECT_FALSE(exportTo(name)) << name;
    }
  }
  ASSERT_EQ(chmod(m_folder.path().toLocal8Bit(), 0700), 0);
  EXPECT_EQ(files(), QStringList("old.txt"));
  EXPECT_EQ(contentOf("old.txt"), "old");
  EXPECT_FALSE(exportTo(".")) << "a folder";
}

TEST_F(Export, AFileThatCannotGrowLeavesTheOldOneOrNone) {
  addRows(4, 1000);
  for (const char* name : {"out.txt", "out.csv", "out.CSV", "out.xlsx"}) {
    ASSERT_TRUE(exportTo(name));
    const auto whole = static_cast<rlim_t>(contentOf(name).size());
    QFile::remove(path(name));
    // Also where there is no room for the last bytes alone.
    for (const rlim_t room : {whole / 2, whole - 100}) {
      const auto limit = withFilesUpTo(room);
      EXPECT_FALSE(exportTo(name)) << name;
      EXPECT_EQ(files().join(' '), "") << name;
      put(name, "old");
      EXPECT_FALSE(exportTo(name)) << name;
      EXPECT_EQ(contentOf(name), "old") << name;
      QFile::remove(path(name));
    }
  }
}

TEST_F(Export, LibreOfficeReadsTheSameCells) {
  const QString program = QStandardPaths::findExecutable("soffice");
  if (program.isEmpty()) GTEST_SKIP() << "LibreOffice is not there";
  addRows(2, 30);
  ASSERT_TRUE(shown(",").contains("\n001")) << "accounts start with zeros";
  ASSERT_TRUE(exportTo("sheet.xlsx"));
  // Texts quoted, numbers as they are shown and not quoted.
  QString expected;
  for (const QString& line : QString(shown("\t")).split('\n')) {
    QStringList cells = line.split('\t');
    for (int i = 0; i < cells.size(); ++i) {
      const bool number = (i == 4 || i == 9) && !expected.isEmpty();
      if (!number && !cells[i].isEmpty()) cells[i] = '"' + cells[i] + '"';
    }
    expected += cells.join(',') + '\n';
  }
  QProcess office;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("HOME", path("home"));
  office.setProcessEnvironment(environment);
  office.setWorkingDirectory(m_folder.path());
  office.start(program, {"--headless", "--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,true,false,true",
                         path("sheet.xlsx")});
  EXPECT_TRUE(office.waitForFinished(180000)) << office.errorString().toStdString();
  EXPECT_EQ(contentOf("sheet.csv").toStdString(), expected.toStdString());
}

}  // namespace
