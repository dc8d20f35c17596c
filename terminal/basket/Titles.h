/// Titles of columns, Chinese or English. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "BasketReader.h"

namespace basket {

struct STitle {
  SColumn m_column;  ///< with the title as it is written
  int m_nRank = 0;   ///< 0: no title that is known; 1: what may be meant where nothing better stands; 2: what is meant
};

STitle titleOf(std::string_view text);
/// How many different roles the cells are titles of.
int knownTitles(const std::vector<std::string>& cells);
/// The unit that a title ends in, "数量(手)".
EUnit unitOfTitle(std::string_view text);

}  // namespace basket
