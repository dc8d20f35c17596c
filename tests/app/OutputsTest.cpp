// What a run writes: where it may, whole, and told when it could not.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "TerminalRun.h"

namespace {

const QStringList SHORT_RUN = {"--headless", "--seconds", "1", "--speed", "600"};

TEST_F(Terminal, RefusesTwoOutputsOnOneFileAndAnOutputThatIsAnInput) {
  writeFile("old", "yesterday");
  writeFile("basket.csv", "市场,代码,方向,数量\nSH,600000,买入,100\n");
  ASSERT_EQ(::link("old", "hard"), 0);
  ASSERT_EQ(::symlink("old", "soft"), 0);
  ASSERT_EQ(::symlink("new", "dangling"), 0);
  ASSERT_EQ(::symlink(".", "folder"), 0);
  const QStringList cases[] = {
      {"--out", "old", "--record", "old"},       {"--out", "old", "--record", "hard"},
      {"--out", "old", "--screenshot", "soft"},  {"--out", "new", "--record", "./new"},
      {"--out", "new", "--record", "dangling"},  {"--out", "new", "--record", "folder/new"},
      {"--out", "old", "--config", "old"},       {"--record", "basket.csv", "--basket", "basket.csv"},
      {"--out", "hard", "--instruments", "old"}, {"replay", "old", "--out", "soft"},
  };
  for (const QStringList& each : cases) {
    const QStringList run = each.first() == "replay" ? QStringList("--headless") : SHORT_RUN;
    const std::string what = each.join(' ').toStdString();
    EXPECT_TRUE(refusalOf(each + run).contains("is the file of")) << what;
    EXPECT_EQ(readFile("old"), "yesterday") << what;
    EXPECT_FALSE(QFile::exists("new")) << what;
  }
}

TEST_F(Terminal, SaysWhatItCouldNotWriteInOneLineAndEndsWithStatusOne) {
  writeFile("old", "yesterday");
  const std::pair<QStringList, const char*> cases[] = {
      {{"--out", "/dev/full"}, "/dev/full: No space left on device"},
      {{"--record", "/dev/full"}, "/dev/full: No space left on device"},
      {{"--screenshot", "/dev/full"}, "/dev/full: No space left on device"},
      {{"--out", "none/x"}, "none/x: No such file or directory"},
      {{"--out", "old", "--record", "none/x"}, "none/x: No such file or directory"},
      {{"--record", "old", "--screenshot", "none/x"}, "none/x: No such file or directory"},
      {{"--out", "old", "--config", "none/x"}, "none/x: No such file or directory"},
      {{"--out", "old/x"}, "old/x: Not a directory"},
      {{"--out", "."}, ".: Is a directory"},
  };
  for (const auto& [arguments, reason] : cases) {
    const SResult result = runTerminal(SHORT_RUN + arguments);
    EXPECT_EQ(result.m_nStatus, 1) << reason;
    EXPECT_EQ(result.m_strErrors.toStdString(), std::string("cannot write ") + reason + "\n");
    EXPECT_EQ(readFile("old"), "yesterday") << "nothing is begun where one cannot be";
    EXPECT_EQ(QDir().entryList(QDir::Files), QStringList("old"));
  }
  writeFile("a.jsonl", R"({"kind":"session","version":1}
{"kind":"open"}
{"kind":"dump","name":"d"}
)");
  const SResult replay = runTerminal({"replay", "a.jsonl", "--headless", "--out", "/dev/full"});
  EXPECT_EQ(replay.m_nStatus, 1);
  EXPECT_EQ(replay.m_strErrors, "cannot write /dev/full: No space left on device\n");
}

/// No file can grow, as on a full disk; the terminal itself has to say so, and the log must not end it.
TEST_F(Terminal, OutlivesAFullDiskAndSaysWhatWasNotKept) {
  writeFile("old", "a picture");
  QProcess process;
  process.start("/bin/sh",
                QStringList{"-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" \"$@\"", PBT_TERMINAL} + SHORT_RUN +
                    QStringList{"--config", "view.ini", "--out", "out", "--record", "journal", "--screenshot", "old"});
  const SResult result = resultOf(process);
  EXPECT_EQ(result.m_nStatus, 1);
  EXPECT_EQ(result.m_strErrors.toStdString(),
            "cannot write view.ini\ncannot write out: File too large\ncannot write journal: File too large\n"
            "cannot write old: File too large\n");
  EXPECT_EQ(readFile("old"), "a picture");
}

TEST_F(Terminal, WritesDevicesAndPipesAsTheyAre) {
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  QByteArray read;
  std::thread reader([&read] { read = readFile("pipe"); });
  const SResult result =
      runTerminal(SHORT_RUN + QStringList{"--out", "/dev/stdout", "--record", "pipe", "--screenshot", "/dev/null"});
  reader.join();
  EXPECT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
  EXPECT_TRUE(read.startsWith("{\"kind\":\"session\"")) << read.left(100).toStdString();
  EXPECT_TRUE(read.endsWith("}\n") && read.contains("{\"kind\":\"close\"")) << read.right(100).toStdString();
  EXPECT_TRUE(result.m_strOut.contains(QLatin1String("{\"dump\":\"end\"")));
  struct stat state {};
  ASSERT_EQ(::stat("/dev/null", &state), 0);
  EXPECT_TRUE(S_ISCHR(state.st_mode));
}

/// Never to one that has ended, whose number is that of this test's own group.
void send(const QProcess& process, int number) {
  ASSERT_EQ(process.state(), QProcess::Running);
  ::kill(static_cast<pid_t>(process.processId()), number);
}

class EndBySignal : public Terminal, public testing::WithParamInterface<int> {};

TEST_P(EndBySignal, EndsASessionAndAReplayAsTheirNormalEndDoes) {
  QProcess session;
  startTerminal(session, {"--headless", "--seconds", "600", "--speed", "100", "--start", "09:31", "--out", "a.jsonl",
                          "--record", "journal.jsonl", "--screenshot", "a.png", "--config", "view.ini"});
  ASSERT_TRUE(waitFor([] { return readFile("journal.jsonl").count("\"refresh\"") > 1; }));
  send(session, GetParam());
  const SResult live = resultOf(session);
  EXPECT_EQ(live.m_nStatus, 0);
  EXPECT_EQ(live.m_strErrors.toStdString(), "");
  const nlohmann::json end = lastDump("a.jsonl");
  ASSERT_TRUE(end.is_object());
  EXPECT_EQ(end["dump"], "end");
  EXPECT_GT(end["rows"].size(), 300u);
  EXPECT_GT(QFile("a.png").size(), 1000);
  EXPECT_TRUE(readFile("view.ini").contains("param"));
  EXPECT_EQ(endOf({"replay", "journal.jsonl"}), end);

  // A line for which the replay would wait an hour.
  QByteArray journal = readFile("journal.jsonl");
  journal = journal.left(journal.lastIndexOf("{\"kind\":\"dump\"")) +
            "{\"kind\":\"dump\",\"name\":\"reached\"}\n{\"kind\":\"dump\",\"t\":3600000,\"name\":\"late\"}\n";
  writeFile("journal.jsonl", journal.constData());
  QProcess replay;
  startTerminal(replay, {"replay", "journal.jsonl", "--pace", "recorded", "--headless", "--out", "c.jsonl",
                         "--screenshot", "c.png"});
  ASSERT_TRUE(waitFor([] { return readFile("c.jsonl").contains("\"reached\""); }));
  send(replay, GetParam());
  EXPECT_EQ(resultOf(replay).m_nStatus, 0);
  EXPECT_EQ(lastDump("c.jsonl"), end);
  EXPECT_GT(QFile("c.png").size(), 1000);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndBySignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(Terminal, ASecondSignalEndsItAtOnce) {
  // A pipe that is full, and that nobody reads: the end cannot write.
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  const int pipe = ::open("pipe", O_RDWR | O_NONBLOCK);
  while (::write(pipe, "x", 1) == 1) {
  }
  QProcess session;
  startTerminal(session, {"--headless", "--seconds", "600", "--out", "pipe"});
  const QString state = QStringLiteral("/proc/%1/status").arg(session.processId());
  ASSERT_TRUE(waitFor([&state] {
    const QByteArray text = readFile(state);
    const QByteArray caught = text.mid(text.indexOf("SigCgt:") + 7, 18).trimmed();
    return caught.toULongLong(nullptr, 16) & (1U << (SIGINT - 1));
  }));
  send(session, SIGINT);
  EXPECT_FALSE(session.waitForFinished(2000));
  send(session, SIGTERM);
  EXPECT_TRUE(session.waitForFinished(5000));
  EXPECT_EQ(session.exitStatus(), QProcess::CrashExit);
  ::close(pipe);
}

TEST_F(Terminal, WithoutAWindowItEndsWithTheSimulatedDay) {
  const nlohmann::json end = endOf({"--start", "14:50", "--speed", "600", "--algo", "twap"});
  ASSERT_TRUE(end.is_object());
  EXPECT_EQ(end["running"], 0) << "nothing runs after the close";
}

TEST_F(Terminal, EachProcessHasALogOfItsOwn) {
  const auto logs = [] { return QDir("PanelBasketTasks").entryInfoList({"terminal.*log"}, QDir::Files, QDir::Time); };
  QProcess first;
  startTerminal(first, {"--headless", "--seconds", "5", "--speed", "600"});
  ASSERT_TRUE(waitFor([&] { return logs().size() == 1 && logs().first().size() > 0; }));
  const QString name = logs().first().filePath();
  const QByteArray before = readFile(name);
  EXPECT_EQ(runTerminal(SHORT_RUN).m_nStatus, 0);
  EXPECT_EQ(logs().size(), 2);
  EXPECT_EQ(resultOf(first).m_nStatus, 0);
  EXPECT_TRUE(readFile(name).startsWith(before));

  // Those of processes that are gone do not heap up.
  for (int i = 40000000; i < 40000030; ++i) writeFile(QString("PanelBasketTasks/terminal.%1.log").arg(i), "old");
  EXPECT_EQ(runTerminal(SHORT_RUN).m_nStatus, 0);
  EXPECT_EQ(logs().size(), 21);

  // One that has grown long is put aside.
  QProcess process;
  const char* const grow = "cd PanelBasketTasks; rm *; truncate -s 10485760 terminal.$$.log; exec \"$0\" \"$@\"";
  process.start("/bin/sh", QStringList{"-c", grow, PBT_TERMINAL} + SHORT_RUN);
  EXPECT_EQ(resultOf(process).m_nStatus, 0);
  ASSERT_EQ(logs().size(), 1);
  EXPECT_LT(logs().first().size(), 100000);
  EXPECT_EQ(QFile(logs().first().filePath() + ".1").size(), 10485760);
}

}  // namespace
