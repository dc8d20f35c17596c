#include "Options.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QTime>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>

namespace app {
namespace {

enum EMode : int { LiveMode = 1, ReplayMode = 2, PastMode = 4, AnyMode = 7 };

/// Whether an option decides how a day starts.
enum class EDayPart { None, Value, File };

/// Takes an option's value over; a text says what is wrong with it.
using Setter = QString (*)(SOptions& options, const QString& value);

struct SOptionRow {
  const char* m_pName = nullptr;
  const char* m_pValue = nullptr;  ///< name of the value, null for a flag
  const char* m_pHelp = nullptr;
  EMode m_eModes = AnyMode;
  bool m_bRepeats = false;
  Setter m_pSet = nullptr;
  EDayPart m_eDay = EDayPart::None;
};

constexpr double MAX_SECONDS = 7 * 24 * 3600;
constexpr double MAX_SPEED = 100000;
constexpr int MAX_ACCOUNTS = 100;
constexpr double MAX_HEDGE_RATIO = 10;
constexpr int MAX_HEDGE_ORDERS = 1000000;
constexpr double MAX_CASH = 1e12;
constexpr int MAX_ORDERS_PER_SECOND = 100000;
constexpr int MAX_ORDERS_PER_DAY = 10000000;

QString setPositive(std::optional<double>& target, const QString& value, double limit) {
  bool ok = false;
  const double number = value.toDouble(&ok);
  if (!ok || !std::isfinite(number) || number <= 0 || number > limit) {
    return QStringLiteral("needs a number above 0 and up to %1, not '%2'").arg(limit, 0, 'f', 0).arg(value);
  }
  target = number;
  return {};
}

QString setWhole(int& target, const QString& value, int least, int most) {
  bool ok = false;
  const int number = value.toInt(&ok);
  if (!ok || number < least || number > most) {
    return QStringLiteral("needs a whole number from %1 to %2, not '%3'").arg(least).arg(most).arg(value);
  }
  target = number;
  return {};
}

QString setFile(std::string& target, const QString& value) {
  if (value.isEmpty()) return QStringLiteral("needs a file name");
  target = value.toStdString();
  return {};
}

QString setSeconds(SOptions& options, const QString& value) {
  return setPositive(options.m_dSeconds, value, MAX_SECONDS);
}
QString setSpeed(SOptions& options, const QString& value) { return setPositive(options.m_dSpeed, value, MAX_SPEED); }
QString setInstruments(SOptions& options, const QString& value) { return setFile(options.m_strInstruments, value); }

QString setDay(SOptions& options, const QString& value) {
  options.m_bNoDay = value == QLatin1String("none");
  return options.m_bNoDay ? QString() : setFile(options.m_strDay, value);
}

QString setActs(SOptions& options, const QString& value) { return setFile(options.m_strActs, value); }
QString setRecord(SOptions& options, const QString& value) { return setFile(options.m_strRecord, value); }
QString setOut(SOptions& options, const QString& value) { return setFile(options.m_strOut, value); }
QString setScreenshot(SOptions& options, const QString& value) { return setFile(options.m_strScreenshot, value); }

QString addBasket(SOptions& options, const QString& value) { return setFile(options.m_baskets.emplace_back(), value); }

QString setHeadless(SOptions& options, const QString&) {
  options.m_bHeadless = true;
  return {};
}

QString setHelp(SOptions& options, const QString&) {
  options.m_bHelp = true;
  return {};
}

QString setSeed(SOptions& options, const QString& value) {
  bool ok = false;
  options.m_nSeed = value.toULongLong(&ok);
  return ok ? QString() : QStringLiteral("needs a whole number from 0, not '%1'").arg(value);
}

QString setAccounts(SOptions& options, const QString& value) {
  return setWhole(options.m_nAccounts, value, 1, MAX_ACCOUNTS);
}

QString setCash(SOptions& options, const QString& value) {
  bool ok = false;
  const double number = value.toDouble(&ok);
  if (!ok || !(number >= 0) || number > MAX_CASH) {
    return QStringLiteral("needs a number from 0 to %1, not '%2'").arg(MAX_CASH, 0, 'f', 0).arg(value);
  }
  options.m_dCash = number;
  return {};
}

QString setPositions(SOptions& options, const QString& value) { return setFile(options.m_strPositions, value); }
QString setFees(SOptions& options, const QString& value) { return setFile(options.m_strFees, value); }

QString setOrdersPerSecond(SOptions& options, const QString& value) {
  return setWhole(options.m_orderLimits.m_nPerSecond, value, 1, MAX_ORDERS_PER_SECOND);
}

QString setOrdersPerDay(SOptions& options, const QString& value) {
  return setWhole(options.m_orderLimits.m_nPerDay, value, 1, MAX_ORDERS_PER_DAY);
}

QString setHedge(SOptions& options, const QString& value) {
  const QString code = value.section(QLatin1Char(':'), 0, 0);
  const QString ratio = value.section(QLatin1Char(':'), 1);
  if (code.isEmpty() || !value.contains(QLatin1Char(':'))) {
    return QStringLiteral("needs a future and a ratio like IF2612:1.0, not '%1'").arg(value);
  }
  std::optional<double> number;
  const QString fault = setPositive(number, ratio, MAX_HEDGE_RATIO);
  if (!fault.isEmpty()) return QStringLiteral("for its ratio ") + fault;
  options.m_hedge = {code.toStdString(), *number};
  return {};
}

QString setHedgeOrders(SOptions& options, const QString& value) {
  return setWhole(options.m_nHedgeOrders.emplace(), value, 1, MAX_HEDGE_ORDERS);
}

QString setAlgo(SOptions& options, const QString& value) {
  for (const TC::EAlgorithm each : {TC::EAlgorithm::TWAP, TC::EAlgorithm::VWAP, TC::EAlgorithm::POV}) {
    if (value != QString::fromLatin1(TC::algorithmName(each)).toLower()) continue;
    options.m_algo = each;
    return {};
  }
  return QStringLiteral("is twap, vwap or pov, not '%1'").arg(value);
}

QString setConfig(SOptions& options, const QString& value) { return setFile(options.m_strConfig, value); }

QString setTheme(SOptions& options, const QString& value) {
  options.m_strTheme = value;
  const bool known = value == QLatin1String("dark") || value == QLatin1String("light");
  return known ? QString() : QStringLiteral("is dark or light, not '%1'").arg(value);
}

QString setPalette(SOptions& options, const QString& value) {
  options.m_strPalette = value;
  const bool known = QStringList({"red-buy", "green-buy", "colour-blind"}).contains(value);
  return known ? QString() : QStringLiteral("is red-buy, green-buy or colour-blind, not '%1'").arg(value);
}

QString setScale(SOptions& options, const QString& value) {
  return setWhole(options.m_nScalePercent.emplace(), value, MIN_SCALE_PERCENT, MAX_SCALE_PERCENT);
}

QString setStart(SOptions& options, const QString& value) {
  const QTime time = QTime::fromString(value, QStringLiteral("HH:mm"));
  if (!time.isValid()) return QStringLiteral("needs a time of day as HH:MM, not '%1'").arg(value);
  options.m_nStartMinute = time.hour() * 60 + time.minute();
  return {};
}

QString setAt(SOptions& options, const QString& value) {
  const QTime time = QTime::fromString(value, QStringLiteral("HH:mm:ss"));
  if (!time.isValid()) return QStringLiteral("needs a time of day as HH:MM:SS, not '%1'").arg(value);
  options.m_pastAt = time.msecsSinceStartOfDay();
  return {};
}

QString setPace(SOptions& options, const QString& value) {
  options.m_bRecordedPace = true;
  return value == QLatin1String("recorded") ? QString() : QStringLiteral("is recorded, not '%1'").arg(value);
}

const SOptionRow OPTIONS[] = {
    {"headless", nullptr, "no window; needs no X server", AnyMode, false, setHeadless},
    {"seconds", "N", "end after N seconds; a run without a window ends with the simulated day", LiveMode, false,
     setSeconds},
    {"seed", "N", "seed of the simulated exchange (1)", LiveMode, false, setSeed, EDayPart::Value},
    {"speed", "X", "run the exchange's clock X times faster than real time (default 30)", LiveMode, false, setSpeed},
    {"instruments", "FILE", "the securities that are listed", LiveMode, false, setInstruments, EDayPart::File},
    {"basket", "FILE", "a basket to trade; may be given several times", LiveMode, true, addBasket, EDayPart::File},
    {"accounts", "N", "share each basket out among N accounts (1)", LiveMode, false, setAccounts, EDayPart::Value},
    {"cash", "CNY", "money of each account at the start (enough for the baskets)", LiveMode, false, setCash,
     EDayPart::Value},
    {"positions", "FILE", "what the accounts hold at the start (what the baskets sell)", LiveMode, false, setPositions,
     EDayPart::File},
    {"fees", "FILE", "commission, duty, transfer fee and margin", LiveMode, false, setFees, EDayPart::File},
    {"orders-per-second", "N", "most orders and cancels of an account in a second (280)", LiveMode, false,
     setOrdersPerSecond, EDayPart::Value},
    {"orders-per-day", "N", "most orders and cancels of an account in a day (19000); cancels go on beyond", LiveMode,
     false, setOrdersPerDay, EDayPart::Value},
    {"hedge", "CODE:RATIO", "hedge the baskets by an index future, like IF2612:1.0", LiveMode, false, setHedge,
     EDayPart::Value},
    {"hedge-orders", "N", "pause a hedge after N orders (as many as fit basket and schedule)", LiveMode, false,
     setHedgeOrders, EDayPart::Value},
    {"algo", "twap|vwap|pov", "trade the baskets by an algorithm of the server", LiveMode, false, setAlgo,
     EDayPart::Value},
    {"start", "HH:MM", "time of the simulated day at which the run starts (09:25); 09:15 shows the auction", LiveMode,
     false, setStart, EDayPart::Value},
    {"acts", "FILE", "do at times of the simulated day what FILE says", LiveMode, false, setActs, EDayPart::File},
    {"day", "FILE|none",
     "keep the day in FILE, or go on with the one that it holds (the user's own; none when headless)", LiveMode, false,
     setDay},
    {"record", "FILE", "record the session as a flight journal", LiveMode, false, setRecord},
    {"config", "FILE", "keep the view in FILE (the user's own; none when headless)", LiveMode, false, setConfig},
    {"theme", "dark|light", "colours (dark)", AnyMode, false, setTheme},
    {"palette", "red-buy|green-buy|colour-blind", "colours of buys and sells, rises and falls (as chosen last)",
     AnyMode, false, setPalette},
    {"scale", "PERCENT", "size of all that shows, 100 to 300 (as the screen's resolution says)", AnyMode, false,
     setScale},
    {"out", "FILE", "write what happened, ending with a dump of the table named end", AnyMode, false, setOut},
    {"screenshot", "FILE", "write a picture of the window at the end", AnyMode, false, setScreenshot},
    {"pace", "recorded", "play a journal as fast as it was recorded", ReplayMode, false, setPace},
    {"at", "HH:MM:SS", "the moment of a kept day that shows first (its last one)", PastMode, false, setAt},
    {"help", nullptr, "show this text", AnyMode, false, setHelp},
};

struct SModeWord {
  const char* m_pWord;
  EMode m_eMode;
  const char* m_pNeeds;
  std::string SOptions::*m_pFile;
};
const SModeWord MODE_WORDS[] = {{"replay", ReplayMode, "a journal file", &SOptions::m_strReplay},
                                {"day", PastMode, "the file of a day", &SOptions::m_strPast}};

EMode modeOf(const SOptions& options) {
  for (const SModeWord& each : MODE_WORDS) {
    if (!(options.*each.m_pFile).empty()) return each.m_eMode;
  }
  return LiveMode;
}

/// The modes that an option goes with, beside a live session.
QString otherModes(int modes) {
  QStringList words;
  for (const SModeWord& each : MODE_WORDS) {
    if (modes & each.m_eMode) words << QString::fromLatin1(each.m_pWord);
  }
  return words.join(QStringLiteral(", "));
}

void addRows(QCommandLineParser& parser) {
  for (const SOptionRow& row : OPTIONS) {
    const QString name = QString::fromLatin1(row.m_pName);
    parser.addOption(row.m_pValue ? QCommandLineOption(name, QString(), QString::fromLatin1(row.m_pValue))
                                  : QCommandLineOption(name));
  }
}

/// The words that are no options: none, "replay FILE" or "day FILE".
QString takeWords(const QStringList& words, SOptions& options) {
  if (words.isEmpty()) return {};
  if (words.mid(0, 2) == QStringList({QStringLiteral("day"), QStringLiteral("why")})) {
    if (words.size() != 4) return QStringLiteral("day why needs the file of a day and a row");
    options.m_bHeadless = true;
    options.m_strWhy = words.at(3);
    return setFile(options.m_strPast, words.at(2));
  }
  for (const SModeWord& each : MODE_WORDS) {
    if (words.first() != QLatin1String(each.m_pWord)) continue;
    if (words.size() < 2) return QStringLiteral("%1 needs %2").arg(words.first(), QLatin1String(each.m_pNeeds));
    if (words.size() > 2) return QStringLiteral("unknown argument '%1'").arg(words.at(2));
    return setFile(options.*each.m_pFile, words.at(1));
  }
  return QStringLiteral("unknown argument '%1'").arg(words.first());
}

QString takeRow(const SOptionRow& row, const QCommandLineParser& parser, EMode mode, SParsedOptions& parsed) {
  const QString name = QString::fromLatin1(row.m_pName);
  if (!parser.isSet(name)) return {};
  if (!(row.m_eModes & mode)) {
    return mode == LiveMode ? QStringLiteral("option --%1 goes only with %2").arg(name, otherModes(row.m_eModes))
                            : QStringLiteral("option --%1 does not go with %2").arg(name, otherModes(mode));
  }
  const QStringList values = row.m_pValue ? parser.values(name) : QStringList(QString());
  if (values.size() > 1 && !row.m_bRepeats) return QStringLiteral("option --%1 is given twice").arg(name);
  for (const QString& value : values) {
    const QString fault = row.m_pSet(parsed.m_options, value);
    if (!fault.isEmpty()) return QStringLiteral("option --%1 %2").arg(name, fault);
    if (row.m_eDay == EDayPart::None) continue;
    const QString kept = row.m_eDay == EDayPart::File ? QFileInfo(value).absoluteFilePath() : value;
    parsed.m_ofDay[row.m_pName].push_back(kept.toStdString());
  }
  return {};
}

const SOptionRow* findRow(const std::string& name) {
  const auto found = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                  [&name](const SOptionRow& row) { return name == row.m_pName; });
  return found == std::end(OPTIONS) ? nullptr : found;
}

/// What a day starts with, to be compared.
auto dayPartOf(const SOptions& options) {
  const SHedgeOption hedge = options.m_hedge.value_or(SHedgeOption{});
  return std::make_tuple(options.m_nSeed, options.m_strInstruments, options.m_baskets, options.m_nAccounts,
                         options.m_dCash, options.m_strPositions, options.m_strFees, options.m_hedge.has_value(),
                         hedge.m_strCode, hedge.m_dRatio, options.m_nHedgeOrders, options.m_orderLimits.m_nPerSecond,
                         options.m_orderLimits.m_nPerDay, options.m_algo, options.m_nStartMinute, options.m_strActs);
}

}  // namespace

SParsedOptions parseOptions(const QStringList& arguments) {
  QCommandLineParser parser;
  addRows(parser);
  SParsedOptions parsed;
  // The parser takes its first argument for the program's name.
  if (!parser.parse(QStringList(QString()) + arguments)) {
    parsed.m_strError = parser.errorText();
    return parsed;
  }
  parsed.m_strError = takeWords(parser.positionalArguments(), parsed.m_options);
  const EMode mode = modeOf(parsed.m_options);
  for (const SOptionRow& row : OPTIONS) {
    if (parsed.m_strError.isEmpty()) parsed.m_strError = takeRow(row, parser, mode, parsed);
  }
  return parsed;
}

void applyOptions(const OptionValues& values, SOptions& options) {
  for (const auto& [name, given] : values) {
    const SOptionRow* row = findRow(name);
    if (!row) continue;
    for (const std::string& value : given) row->m_pSet(options, QString::fromStdString(value));
  }
}

std::string setOption(const std::string& name, const std::string& value, SOptions& options) {
  const SOptionRow* row = findRow(name);
  if (!row) return "option --" + name + " is unknown";
  const QString fault = row->m_pSet(options, QString::fromStdString(value));
  return fault.isEmpty() ? std::string() : name + " " + fault.toStdString();
}

bool isSameOption(const std::string& name, const std::vector<std::string>& one, const std::vector<std::string>& other) {
  SOptions of;
  SOptions against;
  applyOptions({{name, one}}, of);
  applyOptions({{name, other}}, against);
  return dayPartOf(of) == dayPartOf(against);
}

QString helpText() {
  QString text = QStringLiteral(
      "Trades baskets on a simulated exchange and shows them in the basket task panel.\n\n"
      "usage: ./run [options]\n"
      "       ./run replay FILE [options]\n"
      "       ./run day FILE [options]              looks back at a day that --day kept, at any of its moments\n"
      "       ./run day verify FILE [--head HASH]   whether a day that --day kept is whole, and the same when run "
      "again\n"
      "       ./run day why FILE ROW [--at HH:MM:SS]   why a row says what it says; ROW: its path, code, or an order\n"
      "       ./run day fork FILE --at HH:MM:SS [--task ID] --with pause|cancel|algo=|limit=|hedge= [--out FILE] "
      "[--show]\n"
      "                                             what would have happened otherwise\n"
      "       ./run day match FILE BROKER [MARKET]  holds its orders and fills against a broker's and a market's file\n"
      "       ./run day head FILE                   what proves its end, to be noted elsewhere\n"
      "       ./run day recover FILE OUT            saves of a damaged day what can be proved\n"
      "       ./run drill [--seed N] [--count N] [--out FOLDER] [--plant FAULT]\n"
      "                                             days with faults put in, and what must hold in them\n\n");
  for (const SOptionRow& row : OPTIONS) {
    const QString usage = QStringLiteral("--%1 %2").arg(QLatin1String(row.m_pName), QLatin1String(row.m_pValue));
    const QString others = otherModes(row.m_eModes);
    const QString note = others.isEmpty()            ? QString()
                         : (row.m_eModes & LiveMode) ? QStringLiteral(" [also %1]").arg(others)
                                                     : QStringLiteral(" [%1 only]").arg(others);
    text += QStringLiteral("  %1 %2%3\n").arg(usage, -20).arg(QLatin1String(row.m_pHelp), note);
  }
  return text;
}

}  // namespace app
