#include "Securities.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Text.h"

namespace basket {
namespace {

using Characters = std::vector<std::string_view>;

/// How many characters must be changed, put in, left out or changed places with the next to make one of the other; a
/// number above `most` when it is more than that.
int distance(const Characters& left, const Characters& right, int most) {
  const auto rows = left.size();
  const auto columns = right.size();
  if (rows > columns + static_cast<std::size_t>(most) || columns > rows + static_cast<std::size_t>(most)) {
    return most + 1;
  }
  std::vector<std::vector<int>> steps(rows + 1, std::vector<int>(columns + 1));
  for (std::size_t i = 0; i <= rows; ++i) steps[i][0] = static_cast<int>(i);
  for (std::size_t j = 0; j <= columns; ++j) steps[0][j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= rows; ++i) {
    for (std::size_t j = 1; j <= columns; ++j) {
      const int changed = steps[i - 1][j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
      steps[i][j] = std::min({changed, steps[i - 1][j] + 1, steps[i][j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (swapped) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[rows][columns];
}

constexpr int FAR = 100;

int codeDistance(std::string_view wanted, const std::string& listed) {
  if (wanted.empty()) return FAR;
  if (wanted == listed) return 0;
  // Two changed places are a likelier slip than a wrong digit.
  const bool samePieces =
      wanted.size() == listed.size() && std::is_permutation(wanted.begin(), wanted.end(), listed.begin());
  return distance(charactersOf(wanted), charactersOf(listed), 1) == 1 ? (samePieces ? 1 : 2) : FAR;
}

int nameDistance(const std::string& wanted, const std::string& listed) {
  if (wanted.empty() || listed.empty()) return FAR;
  if (wanted == listed) return 0;
  const Characters characters = charactersOf(wanted);
  if (characters.size() < 2) return FAR;
  if (contains(listed, wanted) || contains(wanted, listed)) return 1;
  return distance(characters, charactersOf(listed), 1) == 1 ? 2 : FAR;
}

std::vector<int> found(const std::unordered_multimap<std::string, int>& map, const std::string& key) {
  std::vector<int> indexes;
  const auto [begin, end] = map.equal_range(key);
  std::transform(begin, end, std::back_inserter(indexes), [](const auto& entry) { return entry.second; });
  std::sort(indexes.begin(), indexes.end());
  return indexes;
}

}  // namespace

CSecurities::CSecurities(std::vector<SSecurity> list) : m_list(std::move(list)) {
  for (std::size_t i = 0; i < m_list.size(); ++i) {
    if (find(m_list[i].m_strMarket, m_list[i].m_strCode) >= 0) continue;  // given twice, it is no second security
    m_byCode.emplace(m_list[i].m_strCode, static_cast<int>(i));
    m_byName.emplace(folded(m_list[i].m_strName), static_cast<int>(i));
  }
}

int CSecurities::find(std::string_view market, std::string_view code) const {
  const auto [begin, end] = m_byCode.equal_range(std::string(code));
  const auto at =
      std::find_if(begin, end, [&](const auto& entry) { return (*this)[entry.second].m_strMarket == market; });
  return at == end ? -1 : at->second;
}

std::vector<int> CSecurities::withCode(std::string_view code) const { return found(m_byCode, std::string(code)); }

std::vector<int> CSecurities::withName(std::string_view name) const {
  const std::string key = folded(name);
  return key.empty() ? std::vector<int>() : found(m_byName, key);
}

std::vector<int> CSecurities::nearest(std::string_view code, std::string_view name, std::size_t most) const {
  const std::string wanted = folded(name);
  std::vector<std::pair<int, int>> ranked;
  for (std::size_t i = 0; i < m_list.size(); ++i) {
    const int byCode = codeDistance(code, m_list[i].m_strCode);
    const int byName = nameDistance(wanted, folded(m_list[i].m_strName));
    // What fits in both goes before what fits in one.
    const int rank = std::min(byCode, byName) * 4 + std::min(std::max(byCode, byName), 3);
    if (rank < FAR) ranked.emplace_back(rank, static_cast<int>(i));
  }
  std::sort(ranked.begin(), ranked.end());
  std::vector<int> indexes;
  for (std::size_t i = 0; i < ranked.size() && i < most; ++i) indexes.push_back(ranked[i].second);
  return indexes;
}

}  // namespace basket
