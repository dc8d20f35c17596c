#include "Boards.h"

#include <algorithm>

namespace exchange {

const std::vector<SBoard>& boards() {
  constexpr int million = 1000000;
  static const std::vector<SBoard> list{
      {"上证主板", "SH", {"600", "601", "603", "605"}, 100, 100, million, million, 10, 5, 2},
      {"科创板", "SH", {"688", "689"}, 200, 1, 100000, 50000, 20, 20, 2},
      {"深证主板", "SZ", {"000", "001", "002", "003"}, 100, 100, million, million, 10, 5, 2},
      {"创业板", "SZ", {"300", "301", "302"}, 100, 100, 300000, 150000, 20, 20, 2},
      {"北交所", "BJ", {"43", "83", "87", "88", "92"}, 100, 1, million, million, 30, 30, 5},
  };
  return list;
}

const SBoard& boardOf(std::string_view market, std::string_view code) {
  const auto isOf = [&](const SBoard& board) {
    const auto begins = [code](std::string_view prefix) { return code.substr(0, prefix.size()) == prefix; };
    return board.m_market == market && std::any_of(board.m_prefixes.begin(), board.m_prefixes.end(), begins);
  };
  const auto isMain = [market](const SBoard& board) { return board.m_market == market; };
  auto found = std::find_if(boards().begin(), boards().end(), isOf);
  if (found == boards().end()) found = std::find_if(boards().begin(), boards().end(), isMain);
  return found == boards().end() ? boards().front() : *found;
}

}  // namespace exchange
