#include "DayMatch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <map>
#include <set>
#include <sstream>
#include <tuple>

namespace app {
namespace {

constexpr double PRICE_TOLERANCE = 0.0051;  ///< CNY: averages come rounded to two digits
constexpr double AMOUNT_TOLERANCE = 0.011;  ///< CNY for each fill
constexpr std::size_t MOST_TOLD = 200;

enum EGroup : std::size_t { MissingHere, MissingThere, Quantity, Price, GroupCount };
const std::array<const char*, GroupCount> GROUPS{"missing here", "missing there", "quantity", "price"};

/// What was traded at once or of an order, on either side.
struct SItem {
  std::string m_strName;  ///< order and line, for the report
  std::string m_strOrder;
  std::string m_strAccount;  ///< key; empty: any
  std::string m_strMarket;   ///< empty: any
  std::string m_strCode;
  bool m_bBuy = true;
  std::int64_t m_nVolume = 0;
  double m_dAmount = 0;
  double m_dMultiplier = 1;
  int m_nFills = 1;        ///< of here, or rows of there
  bool m_bPriced = false;  ///< there, of prices alone, which may be averages
  bool m_bTaken = false;

  double price() const { return m_nVolume == 0 ? 0 : m_dAmount / static_cast<double>(m_nVolume) / m_dMultiplier; }
};

bool isNearPrice(const SItem& one, const SItem& other) {
  return std::abs(one.price() - other.price()) <= PRICE_TOLERANCE;
}

/// Amounts are exact; only where the other side tells nothing but an average of several fills, or of one at several
/// prices, it may be rounded.
bool isSameAmount(const SItem& here, const SItem& there) {
  if (std::abs(here.m_dAmount - there.m_dAmount) <= AMOUNT_TOLERANCE * std::max(here.m_nFills, there.m_nFills)) {
    return true;
  }
  const double ticks = here.price() * 1000;
  const bool average = there.m_nFills < here.m_nFills || std::abs(ticks - std::round(ticks)) > 1e-6;
  return there.m_bPriced && average && isNearPrice(here, there);
}

bool isSameLine(const SItem& one, const SItem& other) {
  const auto same = [](const std::string& a, const std::string& b) { return a.empty() || b.empty() || a == b; };
  return one.m_strCode == other.m_strCode && one.m_bBuy == other.m_bBuy && same(one.m_strMarket, other.m_strMarket) &&
         same(one.m_strAccount, other.m_strAccount);
}

std::string describe(const SItem& item) {
  std::ostringstream text;
  text << item.m_strName << ": " << (item.m_strAccount.empty() ? "" : item.m_strAccount + " ")
       << (item.m_strMarket.empty() ? "" : item.m_strMarket + ".") << item.m_strCode
       << (item.m_bBuy ? " buy " : " sell ") << item.m_nVolume << " at " << std::fixed << std::setprecision(4)
       << item.price();
  return text.str();
}

class CMatch {
 public:
  CMatch(const std::vector<SMatchOrder>& day, const SBrokerFile& file) : m_day(day), m_file(file) {}

  bool run(std::ostream& out) {
    takeFile();
    std::set<std::string> known;
    for (const SMatchOrder& order : m_day) known.insert(order.m_strKey);
    m_bNumbers = std::any_of(m_there.begin(), m_there.end(),
                             [&known](const SItem& item) { return known.contains(item.m_strOrder); });
    if (m_bNumbers) {
      m_there = summed(m_there);
      m_here = orders();
      matchByNumber();
    } else {
      // A file of fills, or of orders: what fits better tells.
      const std::vector<SItem> there = m_there;
      m_here = fills();
      const std::size_t exactFills = matchExactly();
      const std::vector<SItem> byFills = m_here;
      const std::vector<SItem> thereByFills = m_there;
      m_there = there;
      m_here = orders();
      if (matchExactly() <= exactFills) {
        m_here = byFills;
        m_there = thereByFills;
      }
      matchRest();
    }
    report(out);
    return std::all_of(m_groups.begin(), m_groups.end(), [](const auto& group) { return group.empty(); });
  }

 private:
  /// Whoever calls the accounts otherwise, as a market does, says nothing of them.
  std::string accountOf(const std::string& named) {
    for (const SMatchOrder& order : m_day) {
      if (named == order.m_strAccount || named == order.m_strDisplayId) return order.m_strAccount;
    }
    m_strangers.insert(named);
    return {};
  }

  void takeFile() {
    std::map<std::string, std::string> accounts;
    for (const SBrokerRow& row : m_file.m_rows) {
      SItem item;
      item.m_strName = "line " + std::to_string(row.m_nLine);
      item.m_strOrder = row.m_strOrder;
      const auto [account, isNew] = accounts.try_emplace(row.m_strAccount);
      if (isNew && !row.m_strAccount.empty()) account->second = accountOf(row.m_strAccount);
      item.m_strAccount = account->second;
      item.m_strMarket = row.m_strMarket;
      item.m_strCode = row.m_strCode;
      item.m_bBuy = row.m_bBuy;
      item.m_nVolume = row.m_nVolume;
      item.m_bPriced = !row.m_dAmount;
      item.m_dMultiplier = multiplierOf(row.m_strCode);
      item.m_dAmount =
          row.m_dAmount.value_or(row.m_dPrice.value_or(0) * static_cast<double>(row.m_nVolume) * item.m_dMultiplier);
      m_there.push_back(std::move(item));
    }
  }

  double multiplierOf(const std::string& code) {
    if (m_multipliers.empty()) {
      for (const SMatchOrder& order : m_day) m_multipliers[order.m_strCode] = order.m_dMultiplier;
      m_multipliers.emplace("", 1);
    }
    const auto found = m_multipliers.find(code);
    return found == m_multipliers.end() ? 1 : found->second;
  }

  static SItem itemOf(const SMatchOrder& order) {
    SItem item;
    item.m_strName = "order " + order.m_strKey;
    item.m_strOrder = order.m_strKey;
    item.m_strAccount = order.m_strAccount;
    item.m_strMarket = order.m_strMarket;
    item.m_strCode = order.m_strCode;
    item.m_bBuy = order.m_bBuy;
    item.m_dMultiplier = order.m_dMultiplier;
    return item;
  }

  std::vector<SItem> orders() const {
    std::vector<SItem> items;
    for (const SMatchOrder& order : m_day) {
      SItem item = itemOf(order);
      item.m_nFills = static_cast<int>(order.m_fills.size());
      for (const SMatchFill& fill : order.m_fills) {
        item.m_nVolume += fill.m_nVolume;
        item.m_dAmount += fill.m_dAmount;
      }
      if (item.m_nVolume > 0) items.push_back(std::move(item));
    }
    return items;
  }

  std::vector<SItem> fills() const {
    std::vector<SItem> items;
    for (const SMatchOrder& order : m_day) {
      for (const SMatchFill& fill : order.m_fills) {
        items.push_back(itemOf(order));
        items.back().m_nVolume = fill.m_nVolume;
        items.back().m_dAmount = fill.m_dAmount;
      }
    }
    return items;
  }

  /// Rows of one order and line added up.
  static std::vector<SItem> summed(const std::vector<SItem>& items) {
    std::vector<SItem> sums;
    std::map<std::tuple<std::string, std::string, std::string, std::string, bool>, std::size_t> places;
    for (const SItem& item : items) {
      const auto [place, isNew] = places.emplace(
          std::tuple(item.m_strOrder, item.m_strAccount, item.m_strMarket, item.m_strCode, item.m_bBuy), sums.size());
      if (isNew || item.m_strOrder.empty()) {
        sums.push_back(item);
        continue;
      }
      SItem& sum = sums[place->second];
      sum.m_nVolume += item.m_nVolume;
      sum.m_dAmount += item.m_dAmount;
      sum.m_bPriced = sum.m_bPriced || item.m_bPriced;
      ++sum.m_nFills;
    }
    return sums;
  }

  void compare(const SItem& here, const SItem& there) {
    if (here.m_nVolume != there.m_nVolume) {
      m_groups[Quantity].push_back(describe(here) + "; " + describe(there));
    } else if (!isSameAmount(here, there)) {
      m_groups[Price].push_back(describe(here) + "; " + describe(there));
    }
  }

  void matchByNumber() {
    std::map<std::string, std::vector<SItem*>> there;
    for (SItem& item : m_there) there[item.m_strOrder].push_back(&item);
    for (const SItem& here : m_here) {
      const auto found = there.find(here.m_strOrder);
      if (found == there.end()) {
        m_groups[MissingThere].push_back(describe(here));
        continue;
      }
      for (SItem* item : found->second) {
        item->m_bTaken = true;
        if (isSameLine(here, *item)) {
          compare(here, *item);
        } else {
          m_groups[MissingHere].push_back(describe(*item) + ", which is another line of " + describe(here));
        }
      }
    }
    for (const SItem& item : m_there) {
      if (!item.m_bTaken) m_groups[MissingHere].push_back(describe(item));
    }
  }

  using LineKey = std::tuple<std::string, bool, std::int64_t>;

  /// Pairs those of one line, volume and price; gives how many.
  std::size_t matchExactly() {
    std::map<LineKey, std::vector<SItem*>> waiting;
    for (SItem& item : m_here) waiting[{item.m_strCode, item.m_bBuy, item.m_nVolume}].push_back(&item);
    std::size_t count = 0;
    for (SItem& there : m_there) {
      std::vector<SItem*>& candidates = waiting[{there.m_strCode, there.m_bBuy, there.m_nVolume}];
      const auto found = std::find_if(candidates.begin(), candidates.end(), [&there](const SItem* here) {
        return isSameLine(*here, there) && isSameAmount(*here, there);
      });
      if (found == candidates.end()) continue;
      there.m_bTaken = (*found)->m_bTaken = true;
      candidates.erase(found);
      ++count;
    }
    return count;
  }

  /// What is left of a line is compared by volume, then by price.
  void matchRest() {
    std::map<std::pair<std::string, bool>, std::vector<SItem*>> waiting;
    for (SItem& item : m_here) {
      if (!item.m_bTaken) waiting[{item.m_strCode, item.m_bBuy}].push_back(&item);
    }
    for (const bool sameVolume : {true, false}) {
      for (SItem& there : m_there) {
        if (there.m_bTaken) continue;
        std::vector<SItem*>& candidates = waiting[{there.m_strCode, there.m_bBuy}];
        const auto found = std::find_if(candidates.begin(), candidates.end(), [&](const SItem* here) {
          if (!isSameLine(*here, there)) return false;
          return sameVolume ? here->m_nVolume == there.m_nVolume : isNearPrice(*here, there);
        });
        if (found == candidates.end()) continue;
        compare(**found, there);
        there.m_bTaken = (*found)->m_bTaken = true;
        candidates.erase(found);
      }
    }
    for (const SItem& item : m_here) {
      if (!item.m_bTaken) m_groups[MissingThere].push_back(describe(item));
    }
    for (const SItem& item : m_there) {
      if (!item.m_bTaken) m_groups[MissingHere].push_back(describe(item));
    }
  }

  static void tellTotal(std::ostream& out, const char* who, const std::vector<SItem>& items) {
    std::int64_t volume = 0;
    double amount = 0;
    for (const SItem& item : items) {
      volume += item.m_nVolume;
      amount += item.m_dAmount;
    }
    out << who << ": " << items.size() << (items.size() == 1 ? " item, " : " items, ") << volume << " traded, "
        << std::fixed << std::setprecision(2) << amount << " CNY\n";
  }

  void report(std::ostream& out) const {
    tellTotal(out, "here", m_here);
    tellTotal(out, "there", m_there);
    out << "left out of the file: " << m_file.m_nLeftOut << "; matched by "
        << (m_bNumbers ? "order numbers" : "account, security, side, quantity and price") << "\n";
    if (!m_strangers.empty()) {
      out << "accounts that are none of the day's, and were not compared:";
      for (const std::string& each : m_strangers) out << " " << each;
      out << "\n";
    }
    for (std::size_t group = 0; group < GroupCount; ++group) {
      if (m_groups[group].empty()) continue;
      out << GROUPS[group] << ": " << m_groups[group].size() << "\n";
      for (std::size_t i = 0; i < std::min(m_groups[group].size(), MOST_TOLD); ++i)
        out << "  " << m_groups[group][i] << "\n";
      if (m_groups[group].size() > MOST_TOLD) out << "  and " << m_groups[group].size() - MOST_TOLD << " more\n";
    }
    if (std::all_of(m_groups.begin(), m_groups.end(), [](const auto& each) { return each.empty(); }))
      out << "nothing differs\n";
  }

  const std::vector<SMatchOrder>& m_day;
  const SBrokerFile& m_file;
  std::map<std::string, double> m_multipliers;
  std::set<std::string> m_strangers;
  std::vector<SItem> m_here;
  std::vector<SItem> m_there;
  bool m_bNumbers = false;
  std::array<std::vector<std::string>, GroupCount> m_groups;
};

}  // namespace

bool matchDay(const std::vector<SMatchOrder>& day, const SBrokerFile& file, std::ostream& out) {
  return CMatch(day, file).run(out);
}

}  // namespace app
