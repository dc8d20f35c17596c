/// The command line. No GUI is needed to read it, since it decides whether there will be one.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "COrderRates.h"
#include "tc/AlgoParams.h"

namespace app {

/// Range of the display's scale.
constexpr int MIN_SCALE_PERCENT = 100;
constexpr int MAX_SCALE_PERCENT = 300;

/// By which index future baskets are hedged, and how much of them.
struct SHedgeOption {
  std::string m_strCode;  ///< IF2612
  double m_dRatio = 1;    ///< part of a basket's traded amount
};

struct SOptions {
  bool m_bHelp = false;
  bool m_bHeadless = false;
  std::optional<double> m_dSeconds;  ///< real seconds after which the run ends; none: when the window is closed
  std::uint64_t m_nSeed = 1;
  std::optional<double> m_dSpeed;      ///< how many times faster than real time the exchange's clock runs
  std::string m_strInstruments;        ///< empty: the project's own
  std::vector<std::string> m_baskets;  ///< empty: the project's own
  int m_nAccounts = 1;
  std::optional<double> m_dCash;         ///< CNY of each account; none: enough for the baskets
  std::string m_strPositions;            ///< file of what accounts hold; empty: what the baskets sell
  std::string m_strFees;                 ///< file of the table of fees; empty: that of exchange::SFeeRates
  std::optional<SHedgeOption> m_hedge;   ///< none: baskets are not hedged
  std::optional<int> m_nHedgeOrders;     ///< after which a hedge pauses; none: what fits its basket and the schedule
  engine::SOrderLimits m_orderLimits;    ///< of each account
  std::optional<TC::EAlgorithm> m_algo;  ///< baskets run as algorithm tasks of the server; none: of the terminal
  std::string m_strConfig;               ///< file that keeps the view; empty: the user's own
  QString m_strTheme = QStringLiteral("dark");
  QString m_strPalette;                ///< of buys and sells; empty: the one that was chosen last
  std::optional<int> m_nScalePercent;  ///< of the display; none: as the screen's resolution says
  int m_nStartMinute = 9 * 60 + 25;    ///< minutes since midnight of the simulated day
  std::string m_strActs;               ///< file of acts at times of the simulated day; empty: none
  std::string m_strDay;                ///< file that keeps the day; empty: the user's own where there is a window
  bool m_bNoDay = false;               ///< it is not kept
  std::string m_strRecord;
  std::string m_strOut;
  std::string m_strScreenshot;
  std::string m_strReplay;               ///< the journal to replay; empty: a live session
  std::string m_strPast;                 ///< the kept day to look back at; empty: a live session
  QString m_strWhy;                      ///< the row of it that is to be explained; empty: it is shown
  std::optional<std::int64_t> m_pastAt;  ///< its moment, milliseconds since midnight; none: its last one
  bool m_bRecordedPace = false;

  /// Whether there is an account for futures even if no basket is hedged; none: where there is a window, since its user
  /// may hedge a basket of his own.
  std::optional<bool> m_bFuturesAccount;
  bool hasFuturesAccount() const { return m_hedge.has_value() || m_bFuturesAccount.value_or(!m_bHeadless); }

  bool keepsDay() const { return m_strReplay.empty() && !m_bNoDay && (!m_bHeadless || !m_strDay.empty()); }

  /// Whether the run restores the view and keeps it: one without a window leaves the user's own alone.
  bool keepsView() const { return m_strReplay.empty() && m_strPast.empty() && (!m_bHeadless || !m_strConfig.empty()); }
};

/// The options of a command line without the program's name, or a one-line error that names the option at fault.
using OptionValues = std::map<std::string, std::vector<std::string>>;  ///< by option, without the dashes
struct SParsedOptions {
  SOptions m_options;
  OptionValues m_ofDay;  ///< those given that decide how a day starts; files by their whole paths
  QString m_strError;    ///< empty: none
};
SParsedOptions parseOptions(const QStringList& arguments);

/// Takes values over as if they had been given. They must be those of m_ofDay.
void applyOptions(const OptionValues& values, SOptions& options);
/// Takes one value over; empty, or what is wrong with it. name: without the dashes.
std::string setOption(const std::string& name, const std::string& value, SOptions& options);
/// Whether an option's values come to the same; none: it is not given.
bool isSameOption(const std::string& name, const std::vector<std::string>& one, const std::vector<std::string>& other);

/// The text of --help.
QString helpText();

}  // namespace app
