#include "Sellable.h"

#include <string>
#include <unordered_map>

namespace draft {

CSellable::CSellable(const std::vector<SLine>& lines, const std::vector<SAccountFacts>& accounts) {
  std::unordered_map<std::string, int> numbers;
  numbers.reserve(lines.size());
  m_securities.reserve(lines.size());
  std::string key;
  for (const SLine& line : lines) {
    key = line.m_strMarket;
    key += '.';
    key += line.m_strCode;
    m_securities.push_back(numbers.try_emplace(key, static_cast<int>(numbers.size())).first->second);
  }
  m_nSecurities = numbers.size();
  m_shares.assign(accounts.size() * m_nSecurities, 0);
  for (std::size_t i = 0; i < accounts.size(); ++i) {
    if (!accounts[i].m_bKnown) continue;
    for (const auto& [security, shares] : accounts[i].m_sellable) {
      const auto found = numbers.find(security);
      if (found == numbers.end()) continue;
      m_shares[i * m_nSecurities + static_cast<std::size_t>(found->second)] = shares;
    }
  }
}

}  // namespace draft
