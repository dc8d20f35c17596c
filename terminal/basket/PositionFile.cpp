#include <strings.h>

#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "AccountFiles.h"
#include "Fields.h"

namespace basket {
namespace {

constexpr long long MOST_SHARES = 1'000'000'000;
constexpr double LARGEST_COST = 1e6;

enum EColumn { Market, Code, Quantity, Account, Side, Yesterday, Today, Cost };

const std::vector<SColumnTitles>& columns() {
  static const std::vector<SColumnTitles> titles{MARKET_COLUMN,
                                                 CODE_COLUMN,
                                                 {{"quantity", "数量", "持仓", "持仓数量", "volume"}},
                                                 {{"account", "账户", "资金账号"}, false},
                                                 {{"side", "方向", "多空", "direction"}, false},
                                                 {{"yesterday", "昨仓", "昨日持仓"}, false},
                                                 {{"today", "今仓", "今日持仓"}, false},
                                                 {{"cost", "成本", "成本价"}, false}};
  return titles;
}

constexpr std::array<std::pair<std::string_view, bool>, 5> SIDES{
    {{"", false}, {"多", false}, {"long", false}, {"空", true}, {"short", true}}};

class CPositionRows {
 public:
  CPositionRows(const AccountTest& isAccount, const ListedTest& isListed, CFaults& faults)
      : m_isAccount(isAccount), m_isListed(isListed), m_faults(faults) {}

  void read(const STextRow& row) {
    SPositionLine line;
    line.m_strAccount = row.m_fields[Account];
    if (!line.m_strAccount.empty() && !m_isAccount(line.m_strAccount)) {
      m_faults.add(row.m_nLine, "there is no account " + quoted(line.m_strAccount));
    }
    if (readInstrument(row, line) && readSide(row, line)) checkRepeated(row, line);
    readQuantities(row, line);
    if (const std::string& cost = row.m_fields[Cost]; !cost.empty()) {
      line.m_dCost = numberOf(cost);
      if (!line.m_dCost || *line.m_dCost > LARGEST_COST) {
        m_faults.add(row.m_nLine, "the cost " + quoted(cost) + " is no number from 0 to 1000000");
      }
    }
    m_lines.push_back(std::move(line));
  }

  std::vector<SPositionLine> take() { return std::move(m_lines); }

 private:
  bool readInstrument(const STextRow& row, SPositionLine& line) {
    line.m_strMarket = marketOf(row.m_fields[Market]);
    line.m_strCode = row.m_fields[Code];
    std::string fault = line.m_strMarket.empty() ? "unknown market " + quoted(row.m_fields[Market])
                                                 : codeFault(line.m_strMarket, line.m_strCode);
    if (fault.empty() && m_isListed && !m_isListed(line.m_strMarket, line.m_strCode)) {
      fault = "the market " + line.m_strMarket + " lists no instrument " + line.m_strCode;
    }
    if (!fault.empty()) m_faults.add(row.m_nLine, fault);
    return fault.empty();
  }

  bool readSide(const STextRow& row, SPositionLine& line) {
    const std::string& side = row.m_fields[Side];
    for (const auto& [text, isShort] : SIDES) {
      if (side.size() != text.size() || strncasecmp(side.data(), text.data(), text.size()) != 0) continue;
      line.m_bShort = isShort;
      if (!isShort || line.m_strMarket == exchange::FUTURES_MARKET) return true;
      m_faults.add(row.m_nLine, "only futures are held short");
      return false;
    }
    m_faults.add(row.m_nLine, "unknown side " + quoted(side) + ": it is 多 or 空");
    return false;
  }

  /// A quantity from a least one on; nothing, and a fault, for any other text.
  std::optional<int> whole(const STextRow& row, EColumn column, int least) {
    const auto quantity = wholeNumberOf(row.m_fields[column]);
    if (quantity && *quantity >= least && *quantity <= MOST_SHARES) return static_cast<int>(*quantity);
    m_faults.add(row.m_nLine, std::string(columns()[column].m_titles.front()) + " " + quoted(row.m_fields[column]) +
                                  " is no whole number from " + std::to_string(least) + " to " +
                                  std::to_string(MOST_SHARES));
    return std::nullopt;
  }

  /// What was bought today stands there, or is what is not of yesterday.
  void readQuantities(const STextRow& row, SPositionLine& line) {
    const auto quantity = whole(row, Quantity, 1);
    const auto of = [&](EColumn column, int missing) {
      return row.m_fields[column].empty() ? std::optional<int>(missing) : whole(row, column, 0);
    };
    if (!quantity) return;
    const auto yesterday = of(Yesterday, -1);
    const auto today = of(Today, yesterday.value_or(-1) < 0 ? 0 : *quantity - *yesterday);
    if (!yesterday || !today) return;
    line.m_nQuantity = *quantity;
    line.m_nToday = *today;
    const int before = *yesterday < 0 ? *quantity - *today : *yesterday;
    if (before >= 0 && *today >= 0 && before + *today == *quantity) return;
    m_faults.add(row.m_nLine, "yesterday and today are not together the quantity " + std::to_string(*quantity));
  }

  void checkRepeated(const STextRow& row, const SPositionLine& line) {
    const auto [earlier, added] =
        m_seen.try_emplace({line.m_strAccount, line.m_strMarket, line.m_strCode, line.m_bShort}, row.m_nLine);
    if (added) return;
    m_faults.add(row.m_nLine, line.m_strMarket + " " + line.m_strCode + " stands in line " +
                                  std::to_string(earlier->second) + " already, for the same account");
  }

  const AccountTest& m_isAccount;
  const ListedTest& m_isListed;
  CFaults& m_faults;
  std::map<std::tuple<std::string, std::string, std::string, bool>, int> m_seen;
  std::vector<SPositionLine> m_lines;
};

}  // namespace

SPositionFile readPositionFile(const std::string& path, const AccountTest& isAccount, const ListedTest& isListed) {
  CFaults faults(path);
  CPositionRows rows(isAccount, isListed, faults);
  for (const STextRow& row : readTextTable(path, columns(), faults)) rows.read(row);
  SPositionFile file;
  if (faults.isEmpty()) file.m_lines = rows.take();
  file.m_faults = faults.take();
  return file;
}

}  // namespace basket
