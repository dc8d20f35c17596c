// Kept days: the bytes of a file, an ordinary day's file of which bytes are others, a day whose rows are others under
// hashes that fit, and such rows without a file, looked back at and run again.
#include <QCoreApplication>
#include <fstream>
#include <sstream>

#include "ActJson.h"
#include "CDayRun.h"
#include "DayLog.h"
#include "DayStart.h"
#include "Fuzz.h"
#include "SessionSetup.h"
#include "past/CPastDay.h"
#include "past/DayMarks.h"
#include "past/DayTrail.h"
#include "past/PatchProofs.h"
#include "past/WhyFacts.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t RUN_MSEC = 20000;
const char* const INSTRUMENTS =
    "market,code,name,volume,prevClose\nSH,600000,浦发银行,1000000,10\nSH,600009,上海机场,500000,31\nCFFEX,IF2612,"
    "沪深300期指2612,50000,4000\n";
const char* const BASKET = "side,code,quantity\n买入,600000,2000\n卖出,600009,1200\n";

/// The rows of a day, and what its panel explains.
struct SRows {
  std::vector<daylog::SEntry> m_entries;
  std::vector<daylog::SMark> m_marks;
  QByteArray m_explanation;
};

/// A day without a file.
class CRowsLog : public daylog::IDayLog {
 public:
  explicit CRowsLog(const SRows& rows) : m_rows(rows) {}
  std::string append(const std::vector<daylog::SEntry>&, const std::vector<daylog::SMark>&) override { return "no"; }
  std::string appendFromReserve(const std::vector<daylog::SEntry>&) override { return "no"; }
  const std::vector<daylog::SEntry>& entries() const override { return m_rows.m_entries; }
  const std::vector<daylog::SMark>& marks() const override { return m_rows.m_marks; }
  std::string follow() override { return {}; }
  std::string finish(std::int64_t) override { return "no"; }
  std::string head() const override { return {}; }

 private:
  const SRows& m_rows;
};

void replaceAll(std::string& text, std::string_view word, const std::string& value) {
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + value.size())) {
    text.replace(at, word.size(), value);
  }
}

/// Puts the files that a day of the corpus names where they are in this process.
void nameFiles(std::string& text) {
  static const std::string instruments = fuzz::writeFile("instruments.csv", INSTRUMENTS);
  static const std::string basket = fuzz::writeFile("basket.csv", BASKET);
  static const std::string instrumentsHash = daylog::contentHash(instruments);
  static const std::string basketHash = daylog::contentHash(basket);
  replaceAll(text, "@instrumentsHash", instrumentsHash);
  replaceAll(text, "@basketHash", basketHash);
  replaceAll(text, "@instruments", instruments);
  replaceAll(text, "@basket", basket);
}

/// A line each: "E msec kind body", "M msec outputs", "X explanation".
SRows rowsOf(std::string text) {
  nameFiles(text);
  SRows rows;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line) && rows.m_entries.size() + rows.m_marks.size() < 200;) {
    std::istringstream words(line);
    char kind = 0;
    std::int64_t msec = 0;
    words >> kind;
    if (kind != 'X') words >> msec;
    if (kind == 'E') {
      daylog::SEntry& entry = rows.m_entries.emplace_back();
      entry.m_nNumber = static_cast<std::int64_t>(rows.m_entries.size());
      entry.m_nMsec = msec;
      words >> entry.m_strKind;
      std::getline(words >> std::ws, entry.m_strBody);
    } else if (kind == 'M') {
      daylog::SMark& mark = rows.m_marks.emplace_back();
      mark.m_nMsec = msec;
      std::getline(words >> std::ws, mark.m_strOutputs);
    } else if (kind == 'X') {
      std::string rest;
      std::getline(words >> std::ws, rest);
      rows.m_explanation = QByteArray::fromStdString(rest);
    }
  }
  return rows;
}

/// One that knows the accounts of a day without options.
const desk::CDesk& desk() {
  static const auto* const made = [] {
    auto* const desk = new desk::CDesk;
    app::addAccounts(*desk, app::SOptions());
    return desk;
  }();
  return *made;
}

/// A moment of a day that cannot be read is told as a std::exception.
app::CPastDay pastOf(const daylog::IDayLog& log) {
  app::CPastDay day;
  try {
    day.read(log, log.marks().size());
  } catch (const std::exception&) {
  }
  return day;
}

void lookBack(const daylog::IDayLog& log, const QByteArray& explanation) {
  const app::CPastDay day = pastOf(log);
  for (const daylog::SEntry& entry : log.entries()) {
    app::entryText(entry);
    std::string fault;
    const auto act = app::toAct({entry.m_strKind, entry.m_strBody}, desk(), fault);
    fuzz::require(act.has_value() == fault.empty(), "an entry is an act, or it is said why not");
  }
  app::SOptions options;
  app::takeStart(log, {}, options);
  app::dayMarks(log, day);
  app::checkProofs(log.entries(), day);
  const app::SWhySources sources{&log, &day, 86400000, 1795363200, {}};
  app::whyText(app::whyFacts(explanation, sources));
  for (const app::SPastTask& task : day.tasks()) {
    app::causeOf(log, day, task.m_facts);
    app::actsOn(log, day, task.m_facts.m_nTaskId, 86400000);
    for (const app::SPastOrder& order : task.m_sent) {
      app::accountIn(task, order);
      app::cancelOf(log, order.m_strKey, 86400000);
    }
  }
  app::ordersOfLine(day, {1, "SH", "600000", "A1", true}, 86400000);
}

/// The first seconds of it.
void runAgain(const daylog::IDayLog& log) {
  app::CDayRun run(log);
  if (run.fault().empty()) run.runAgain(run.now() + RUN_MSEC);
}

/// What is asked of a file that somebody sent. Behind a day that is whole stands what it tells.
void askFile(const std::string& file) {
  const bool whole = daylog::verifyDay(file, {}).empty();
  const daylog::SOpenedDay day = daylog::readDay(file);
  if (whole) fuzz::require(day.m_pLog != nullptr, "a day that is whole can be read");
  if (day.m_pLog) {
    day.m_pLog->head();
    lookBack(*day.m_pLog, {});
  }
  const std::string out = (fuzz::folder() / "recovered.db").string();
  const daylog::SRecovered recovered = daylog::recoverDay(file, out);
  if (recovered.m_strFault.empty()) {
    fuzz::require(daylog::verifyDay(out, {}).empty(), "a recovered day is whole");
    if (whole) fuzz::require(recovered.m_lost.empty(), "of a day that is whole nothing is lost");
  }
}

void removeDays() {
  for (const fs::directory_entry& each : fs::directory_iterator(fuzz::folder())) {
    if (each.path().extension() != ".csv") fs::remove_all(each.path());
  }
}

std::string keepDay(const SRows& rows) {
  std::string file = (fuzz::folder() / "day.db").string();
  const daylog::SOpenedDay day = daylog::openDay(file);
  fuzz::require(day.m_pLog != nullptr, "a new day can be kept");
  day.m_pLog->append(rows.m_entries, rows.m_marks);
  return file;
}

void askBytes(fuzz::CBytes& bytes) { askFile(fuzz::writeFile("day.db", bytes.rest())); }

/// Pages of an ordinary day in which bytes are others, or which end early.
void askDamaged(fuzz::CBytes& bytes) {
  static const std::string whole = [] {
    const std::string file =
        keepDay(rowsOf("E 33900000 day {\"options\":{}}\nE 33901000 basket {\"name\":\"b\"}\nM 33901000 "
                       "{\"log\":[]}\nE 33902000 end {}\n"));
    std::ifstream in(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(in), {}};
    removeDays();
    return content;
  }();
  std::string day = whole;
  if (bytes.below(8) == 7) day.resize(day.size() * bytes.byte() / 256);
  while (!bytes.isEmpty() && !day.empty()) {
    const std::size_t page = bytes.byte();
    const std::size_t place = (page << 12U | bytes.byte() << 4U | bytes.byte() % 16U) % day.size();
    const std::string_view others = bytes.take(1 + bytes.below(8));
    day.replace(place, std::min(others.size(), day.size() - place), others.substr(0, day.size() - place));
  }
  askFile(fuzz::writeFile("day.db", day));
}

void askKept(fuzz::CBytes& bytes) { askFile(keepDay(rowsOf(std::string(bytes.rest())))); }

void askRows(fuzz::CBytes& bytes) {
  const SRows rows = rowsOf(std::string(bytes.rest()));
  lookBack(CRowsLog(rows), rows.m_explanation);
}

void run(fuzz::CBytes& bytes) {
  const SRows rows = rowsOf(std::string(bytes.rest()));
  runAgain(CRowsLog(rows));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static int count = 1;
  static char name[] = "fuzz";
  static char* arguments[] = {name, nullptr};
  static const auto* const application = new QCoreApplication(count, arguments);
  return application ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*KINDS[])(fuzz::CBytes&) = {askBytes, askDamaged, askKept, askRows, run, askRows};
  fuzz::CBytes bytes(data, size);
  bytes.oneOf(KINDS)(bytes);
  removeDays();
  return 0;
}
