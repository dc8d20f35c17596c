#include "gv/SortByKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "Random.h"

namespace {

struct SRow {
  double figure;
  int order;
  int rank;
};

/// As it is asked for, by comparing.
bool isBefore(const SRow& a, const SRow& b, bool descending) {
  if (std::isnan(a.figure) != std::isnan(b.figure)) {
    const SRow& known = std::isnan(a.figure) ? b : a;
    const bool last = std::isinf(known.figure) && (known.figure > 0) != descending;
    if (!last) return std::isnan(b.figure);
  } else if (!std::isnan(a.figure) && a.figure != b.figure) {
    return (a.figure < b.figure) != descending;
  }
  return a.order != b.order ? a.order < b.order : a.rank < b.rank;
}

/// Figures that are equal, missing, tiny, huge or of either sign; ranks in no order.
void sortAndCompare(int count, bool figures, bool descending) {
  using Limits = std::numeric_limits<double>;
  const double odd[] = {
      0.0, -0.0, std::nan(""), -Limits::infinity(), Limits::infinity(), Limits::denorm_min(), -Limits::max(), 100.25};
  test::Random random(static_cast<unsigned>(count));
  std::vector<SRow> rows;
  for (int rank = 0; rank < count; ++rank) {
    const double figure =
        test::chance(random, 25) ? test::pick(random, odd) : test::below(random, 2000000000) / 100.0 - 1e7;
    const int order = test::chance(random, 12) ? std::numeric_limits<int>::min() : test::below(random, 3) - 1;
    rows.push_back({figures ? figure : 0.0, order, rank});
  }
  std::shuffle(rows.begin(), rows.end(), random);
  std::vector<GV::SSortKey> keys;
  keys.reserve(rows.size());
  for (const SRow& row : rows) {
    keys.push_back({GV::figureKey(row.figure, descending), GV::ownOrderKey(row.order, row.rank), row.rank});
  }
  GV::sortByKey(keys);
  std::sort(rows.begin(), rows.end(), [&](const SRow& a, const SRow& b) { return isBefore(a, b, descending); });
  for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(keys[i].node, rows[i].rank) << i << " of " << count;
}

}  // namespace

/// By digits or by comparing, of few keys or many: the same order, to which no other fits.
TEST(SortByKey, SortsAsComparingWould) {
  for (const int count : {1, 2, 63, 64, 300, 5000, 70000}) {
    for (const bool figures : {true, false}) {
      for (const bool descending : {true, false}) sortAndCompare(count, figures, descending);
    }
  }
}
