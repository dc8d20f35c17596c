#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace basket {

/// A security as it is listed.
struct SSecurity {
  std::string m_strMarket;  ///< "SH", "SZ", "BJ" or "CFFEX"
  std::string m_strCode;
  std::string m_strName;  ///< UTF-8
};

/// What is listed, as people name it. Immutable once made; any thread. Securities are known by their index in the list
/// that they were given in.
class CSecurities {
 public:
  explicit CSecurities(std::vector<SSecurity> list = {});

  std::size_t size() const { return m_list.size(); }
  const SSecurity& operator[](int index) const { return m_list[static_cast<std::size_t>(index)]; }
  /// -1 when it is not listed.
  int find(std::string_view market, std::string_view code) const;
  /// Those of any market with a code.
  std::vector<int> withCode(std::string_view code) const;
  /// Those whose name, without blanks and whatever the width of its letters, is that name.
  std::vector<int> withName(std::string_view name) const;
  /// Those that may be meant by a code or a name that is not listed (either may be empty), the likeliest first: a digit
  /// wrong, missing, too many, or two changed places; the other market; a name that contains it or differs by a
  /// character.
  std::vector<int> nearest(std::string_view code, std::string_view name, std::size_t most) const;

 private:
  std::vector<SSecurity> m_list;
  std::unordered_multimap<std::string, int> m_byCode;
  std::unordered_multimap<std::string, int> m_byName;
};

}  // namespace basket
