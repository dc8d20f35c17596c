/// Random days, one after the other, each of which is repeated by its seed.
#pragma once

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <string>

namespace test {

using Random = std::mt19937_64;

inline int below(Random& random, int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
/// True in so many of a hundred cases.
inline bool chance(Random& random, int percent) { return below(random, 100) < percent; }
/// One of a list that is not empty.
template <typename List>
const auto& pick(Random& random, const List& list) {
  return *std::next(std::begin(list), below(random, static_cast<int>(std::size(list))));
}

/// How often things happened, in words.
using DayCounts = std::map<std::string, long>;

/// In the environment, NAME_DAYS and NAME_SEED run so many days from a seed on, without them as many as fit into the
/// time, from seed 1 on; a fatal failure ends them. Prints what was counted, and returns the number of days.
template <typename RunDay>
long runRandomDays(const std::string& name, int msec, const DayCounts& counts, RunDay runDay) {
  const auto number = [&name](const char* what, long otherwise) {
    const char* text = std::getenv((name + what).c_str());
    return text ? std::strtol(text, nullptr, 10) : otherwise;
  };
  const long days = number("_DAYS", 0);
  const long first = number("_SEED", 1);
  QElapsedTimer timer;
  timer.start();
  long day = 0;
  for (; days > 0 ? day < days : timer.elapsed() < msec; ++day) {
    runDay(static_cast<std::uint32_t>(first + day));
    if (testing::Test::HasFatalFailure()) break;
  }
  std::cout << day << " days";
  for (const auto& [what, count] : counts) std::cout << ", " << count << " " << what;
  std::cout << std::endl;
  return day;
}

}  // namespace test
