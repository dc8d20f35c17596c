// What the documents show of the command line is what the program and the scripts take.
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <map>
#include <memory>
#include <vector>

#include "TerminalRun.h"

namespace {

constexpr std::size_t RUNS_AT_ONCE = 8;
const QDir SOURCES(QStringLiteral(PBT_SOURCE_DIR));
const QString KEPT_DAY = QStringLiteral("kept.db");
const QString FENCE = QStringLiteral("```");

struct SDocumentLine {
  QString m_strPlace;  ///< "README.md:24"
  QString m_strText;
};

/// README.md and the documents beside it.
std::vector<std::vector<SDocumentLine>> documents() {
  QStringList names{"README.md", "CONTRIBUTING.md"};
  for (const QString& name : QDir(SOURCES.filePath("docs")).entryList({"*.md"})) names << "docs/" + name;
  std::vector<std::vector<SDocumentLine>> all;
  for (const QString& name : names) {
    std::vector<SDocumentLine>& document = all.emplace_back();
    for (const QByteArray& line : readFile(SOURCES.filePath(name)).split('\n')) {
      const int number = static_cast<int>(document.size()) + 1;
      document.push_back({name + ":" + QString::number(number), QString::fromUtf8(line)});
    }
  }
  return all;
}

/// The blocks of a document that are fenced as the language, each with the place of its first line.
std::vector<SDocumentLine> blocksOf(const QString& name, const QString& language) {
  std::vector<SDocumentLine> blocks;
  bool inside = false;
  for (const std::vector<SDocumentLine>& document : documents()) {
    if (!document.front().m_strPlace.startsWith(name)) continue;
    for (const SDocumentLine& line : document) {
      if (line.m_strText.startsWith(FENCE)) {
        inside = !inside && line.m_strText == FENCE + language;
        if (inside) blocks.push_back({line.m_strPlace, {}});
      } else if (inside) {
        blocks.back().m_strText += line.m_strText + "\n";
      }
    }
  }
  return blocks;
}

/// A line of a document that begins with ./run, as the shell takes it.
struct SShownRun {
  QString m_strPlace;
  QStringList m_arguments;

  bool is(const QStringList& words) const { return m_arguments.mid(0, words.size()) == words; }
  bool looksBack() const { return is({"day"}); }
  bool isLive() const { return !looksBack() && !is({"replay"}) && !is({"drill"}); }
  /// Whether the program ends by itself, without a window: a drill, the words behind "day" that are no file.
  bool isCommand() const {
    static const QStringList COMMANDS{"verify", "head", "recover", "match", "fork"};
    return is({"drill"}) || (looksBack() && COMMANDS.contains(m_arguments.value(1)));
  }
  /// A broker's file that is made here differs from the day, a planted fault is found: both are told by 1.
  bool tellsFinding() const { return is({"day", "match"}) || m_arguments.contains("--plant"); }
};

std::vector<SShownRun> shownRuns() {
  static const QRegularExpression SHOWN("^\\s*\\./run(\\s.*)?$");
  static const QRegularExpression COMMENT("\\s#.*$");
  std::vector<SShownRun> runs;
  for (const std::vector<SDocumentLine>& document : documents()) {
    for (const SDocumentLine& line : document) {
      if (!SHOWN.match(line.m_strText).hasMatch()) continue;
      QString text = line.m_strText;
      runs.push_back({line.m_strPlace, QProcess::splitCommand(text.remove(COMMENT)).mid(1)});
    }
  }
  return runs;
}

class Documented : public Terminal {
 protected:
  /// What lines may say instead of a value. A word in capitals that is not among these fails the test.
  std::map<QString, QString> m_placeholders;

  /// A day that is over, with a basket that is being traded at the moments that the documents name.
  void keepDay() {
    writeFile("small.csv", "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n");
    const SResult kept = runTerminal({"--headless", "--basket", "small.csv", "--algo", "twap", "--hedge", "IF2612:1.0",
                                      "--speed", "100000", "--day", KEPT_DAY});
    ASSERT_EQ(kept.m_nStatus, 0) << kept.m_strErrors.toStdString();
    const SResult head = runTerminal({"day", "head", KEPT_DAY});
    ASSERT_EQ(head.m_nStatus, 0) << head.m_strErrors.toStdString();
    m_placeholders["HASH"] = head.m_strOut.trimmed();
  }

  /// A folder in which the files that the documents' lines read are what the documents say of them.
  void furnish(const QDir& folder, const SShownRun& run) {
    ASSERT_TRUE(folder.mkpath("."));
    ASSERT_TRUE(QFile::link(SOURCES.filePath("data"), folder.filePath("data")));
    ASSERT_TRUE(QFile::copy(SOURCES.filePath("data/baskets/basket50.csv"), folder.filePath("basket50.csv")));
    writeFile(folder.filePath("mine.csv"), "market,code,quantity\nSH,600000,1000\n");
    writeFile(folder.filePath("broker.csv"), "代码,方向,成交数量,成交均价\n600000,买入,100,10.00\n");
    writeFile(folder.filePath("market.csv"), "代码,方向,成交数量,成交均价\n600009,卖出,100,10.00\n");
    writeFile(folder.filePath("acts.jsonl"), blocksOf("docs/daylog.md", "json").at(0).m_strText.toUtf8());
    if (run.is({"replay"})) {
      writeFile(folder.filePath(run.m_arguments.value(1)),
                blocksOf("docs/journal.md", "jsonl").at(0).m_strText.toUtf8());
    }
    // A line that keeps a day begins it.
    if (run.looksBack()) {
      ASSERT_TRUE(QFile::copy(KEPT_DAY, folder.filePath("today.db")));
    }
  }

  /// The arguments with which a test runs a line: placeholders have values, there is no window, and the end is near.
  QStringList toRun(const SShownRun& run) const {
    static const QRegularExpression PLACEHOLDER("(^|[=:\\[])[A-Z]{2,}");
    QStringList arguments = run.m_arguments;
    for (QString& each : arguments) {
      const auto known = m_placeholders.find(each);
      if (known != m_placeholders.end()) {
        each = known->second;
      } else if (!each.startsWith("IF")) {
        EXPECT_FALSE(PLACEHOLDER.match(each).hasMatch()) << run.m_strPlace.toStdString() << ": " << each.toStdString();
      }
    }
    // A window of its own, which nobody would close.
    arguments.removeAll("--show");
    if (!run.isCommand() && !arguments.contains("--headless")) arguments << "--headless";
    if (!run.isLive()) return arguments;
    const int seconds = arguments.indexOf("--seconds");
    if (seconds >= 0) arguments.erase(arguments.begin() + seconds, arguments.begin() + seconds + 2);
    return arguments + QStringList{"--seconds", "0.5"};
  }

  static void checkEnd(const SShownRun& run, const QDir& folder, const SResult& result) {
    const std::string line = run.m_strPlace.toStdString() + ": ./run " + run.m_arguments.join(' ').toStdString();
    EXPECT_EQ(result.m_nStatus, run.tellsFinding() ? 1 : 0) << line << "\n" << result.m_strErrors.toStdString();
    EXPECT_EQ(result.m_strErrors.toStdString(), "") << line;
    for (const char* output : {"--out", "--record", "--screenshot", "--day"}) {
      const int place = run.m_arguments.indexOf(output);
      if (place < 0) continue;
      const QString file = run.m_arguments.value(place + 1);
      EXPECT_GT(QFileInfo(folder.filePath(file)).size(), 0) << line << " writes no " << file.toStdString();
    }
  }
};

}  // namespace

TEST_F(Documented, EveryLineShownIsTaken) {
  const std::vector<SShownRun> runs = shownRuns();
  ASSERT_GT(runs.size(), 20U);
  ASSERT_NO_FATAL_FAILURE(keepDay());
  for (std::size_t first = 0; first < runs.size(); first += RUNS_AT_ONCE) {
    const std::size_t end = std::min(first + RUNS_AT_ONCE, runs.size());
    std::vector<std::unique_ptr<QProcess>> started;
    for (std::size_t i = first; i < end; ++i) {
      const QDir folder(m_folder.filePath(QString::number(i)));
      ASSERT_NO_FATAL_FAILURE(furnish(folder, runs[i]));
      started.push_back(std::make_unique<QProcess>());
      started.back()->setWorkingDirectory(folder.path());
      startTerminal(*started.back(), toRun(runs[i]));
    }
    for (std::size_t i = first; i < end; ++i) {
      checkEnd(runs[i], QDir(m_folder.filePath(QString::number(i))), resultOf(*started[i - first]));
    }
  }
}

TEST_F(Documented, EveryJournalShownPlaysAndPutsOutWhatIsShown) {
  const std::vector<SDocumentLine> journals = blocksOf("docs/journal.md", "jsonl");
  const std::vector<SDocumentLine> outputs = blocksOf("docs/journal.md", "json");
  ASSERT_GT(journals.size(), 0U);
  ASSERT_EQ(journals.size(), outputs.size());
  for (std::size_t i = 0; i < journals.size(); ++i) {
    const std::string place = journals[i].m_strPlace.toStdString();
    writeFile("shown.jsonl", journals[i].m_strText.toUtf8());
    const SResult result = runTerminal({"replay", "shown.jsonl", "--headless", "--out", "out.jsonl"});
    ASSERT_EQ(result.m_nStatus, 0) << place << ": " << result.m_strErrors.toStdString();
    const QList<QByteArray> put = readFile("out.jsonl").split('\n');
    int from = 0;
    for (const QByteArray& line : outputs[i].m_strText.toUtf8().trimmed().split('\n')) {
      const int found = put.indexOf(line, from);
      ASSERT_GE(found, 0) << place << " does not put out, or not in this order: " << line.toStdString();
      from = found + 1;
    }
  }
}

TEST_F(Documented, EveryScriptTellsItsUsageAndDoesNothingElse) {
  QStringList scripts{"run", "test", "bench", "fuzz"};
  for (const QFileInfo& each : QDir(SOURCES.filePath("scripts")).entryInfoList(QDir::Files | QDir::Executable)) {
    scripts << "scripts/" + each.fileName();
  }
  ASSERT_GT(scripts.size(), 10);
  // Whatever could build, install or change something tells that it was asked to.
  ASSERT_TRUE(QDir().mkpath("bin"));
  for (const char* tool :
       {"cmake", "ninja", "ctest", "git", "dpkg-query", "apt-get", "sudo", "clang-format", "flock"}) {
    const QString file = QStringLiteral("bin/") + tool;
    writeFile(file, "#!/bin/sh\necho \"$0 was asked\" >&2\n");
    ASSERT_TRUE(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
  }
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("PATH", m_folder.filePath("bin") + ":" + environment.value("PATH"));
  for (const QString& script : scripts) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(SOURCES.filePath(script), {"--help"});
    process.waitForStarted();
    const SResult result = resultOf(process);
    EXPECT_EQ(result.m_nStatus, 0) << script.toStdString() << ": " << result.m_strErrors.toStdString();
    EXPECT_EQ(result.m_strErrors.toStdString(), "") << script.toStdString();
    const QRegularExpression usage(
        QStringLiteral("^(usage: )?(\\./|scripts/)?%1( \\[.*\\]| [A-Z_]+.*)?(:|$| )").arg(script.section('/', -1)),
        QRegularExpression::MultilineOption);
    EXPECT_TRUE(usage.match(result.m_strOut).hasMatch())
        << script.toStdString() << ": " << result.m_strOut.toStdString();
  }
}
