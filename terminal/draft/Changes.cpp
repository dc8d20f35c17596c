#include "Changes.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>

#include "Texts.h"

namespace draft {
namespace {

std::string sideText(ESide side) {
  if (side == ESide::None) return "无方向";
  return side == ESide::Buy ? "买入" : "卖出";
}

/// A quantity in its measure. A weight has no unit: only its part of the sum means anything.
std::string quantityText(const SLine& line) {
  if (line.m_measure == basket::EMeasure::Amount) return amountText(line.m_dQuantity);
  if (line.m_measure == basket::EMeasure::Weight) return "权重 " + priceText(line.m_dQuantity);
  return line.m_measure == basket::EMeasure::None ? "无" : countText(std::llround(line.m_dQuantity));
}

std::string limitText(double price) {
  if (price < 0) return "读不出";
  return price > 0 ? priceText(price) : "无";
}

/// What of a line is another than it was.
std::string changeText(const SLine& before, const SLine& after) {
  std::string text;
  const auto add = [&text](const std::string& what, const std::string& was, const std::string& is) {
    text += (text.empty() ? "" : "；") + what + " " + was + " → " + is;
  };
  if (before.m_side != after.m_side) add("方向", sideText(before.m_side), sideText(after.m_side));
  if (before.m_measure != after.m_measure || before.m_dQuantity != after.m_dQuantity) {
    add("数量", quantityText(before), quantityText(after));
  }
  if (before.m_dPrice != after.m_dPrice) add("限价", limitText(before.m_dPrice), limitText(after.m_dPrice));
  if (before.m_strName != after.m_strName) add("名称", before.m_strName, after.m_strName);
  return text;
}

using Security = std::pair<std::string, std::string>;
using Places = std::map<Security, std::vector<int>>;

Security securityOf(const SLine& line) { return {line.m_strMarket, line.m_strCode}; }

Places placesOf(const std::vector<SLine>& lines) {
  Places places;
  for (std::size_t i = 0; i < lines.size(); ++i) places[securityOf(lines[i])].push_back(static_cast<int>(i));
  return places;
}

}  // namespace

std::vector<SMerged> merge(const std::vector<SLine>& lines, const std::vector<int>& kinds) {
  using Key = std::tuple<std::string, std::string, ESide, basket::EMeasure, double, int>;
  std::map<Key, std::size_t> places;
  std::vector<SMerged> merged;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const SLine& line = lines[i];
    const bool known = line.m_bChecked && !line.m_strCode.empty() && line.m_side != ESide::None;
    const Key key{line.m_strMarket, line.m_strCode, line.m_side, line.m_measure, line.m_dPrice, kinds[i]};
    const auto found =
        known && line.m_strFault.empty() ? places.try_emplace(key, merged.size()) : std::pair(places.end(), true);
    if (found.second) {
      merged.push_back({line, {static_cast<int>(i)}});
      continue;
    }
    SMerged& first = merged[found.first->second];
    first.m_line.m_dQuantity += line.m_dQuantity;
    if (first.m_line.m_strName.empty()) first.m_line.m_strName = line.m_strName;
    first.m_lines.push_back(static_cast<int>(i));
  }
  return merged;
}

SChanges changesOf(const std::vector<SLine>& before, const std::vector<SLine>& after) {
  SChanges changes;
  changes.m_marks.assign(after.size(), "新增");
  Places gone = placesOf(before);
  const auto mark = [&](int index, std::vector<int>& candidates, std::vector<int>::iterator was) {
    const SLine& line = after[static_cast<std::size_t>(index)];
    changes.m_marks[static_cast<std::size_t>(index)] = changeText(before[static_cast<std::size_t>(*was)], line);
    candidates.erase(was);
  };
  for (auto& [security, places] : placesOf(after)) {
    std::vector<int>& candidates = gone[security];
    std::vector<int> others;
    for (const int index : places) {
      const ESide side = after[static_cast<std::size_t>(index)].m_side;
      const auto sameSide = [&](int i) { return before[static_cast<std::size_t>(i)].m_side == side; };
      const auto was = std::find_if(candidates.begin(), candidates.end(), sameSide);
      if (was == candidates.end()) {
        others.push_back(index);
      } else {
        mark(index, candidates, was);
      }
    }
    for (const int index : others) {
      if (!candidates.empty()) mark(index, candidates, candidates.begin());
    }
  }
  for (const auto& [security, places] : gone) changes.m_gone.insert(changes.m_gone.end(), places.begin(), places.end());
  std::sort(changes.m_gone.begin(), changes.m_gone.end());
  return changes;
}

}  // namespace draft
