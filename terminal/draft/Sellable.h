/// What accounts can sell of the securities of a draft's lines. Any thread; made anew for each look.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "Draft.h"

namespace draft {

class CSellable {
 public:
  CSellable(const std::vector<SLine>& lines, const std::vector<SAccountFacts>& accounts);

  /// Lines of one security have one number, from 0.
  int securityOf(std::size_t line) const { return m_securities[line]; }
  std::size_t securities() const { return m_nSecurities; }
  /// Shares; 0 of an account that nothing is known of.
  int of(std::size_t account, std::size_t line) const {
    return m_shares[account * m_nSecurities + static_cast<std::size_t>(m_securities[line])];
  }

 private:
  std::vector<int> m_securities;  ///< by line
  std::size_t m_nSecurities = 0;
  std::vector<int> m_shares;  ///< by account, then by security
};

}  // namespace draft
