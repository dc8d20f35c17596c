#include "gv/SortByKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

struct SRow {
  double figure;
  int order;
  int rank;
};

/// Figures that are equal, missing, tiny, huge or of either sign; ranks in no order.
std::vector<SRow> someRows(std::size_t count, bool figures) {
  const double odd[] = {0.0,
                        -0.0,
                        std::nan(""),
                        -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::denorm_min(),
                        -std::numeric_limits<double>::max(),
                        100.25};
  std::mt19937 random(static_cast<unsigned>(count));
  std::uniform_real_distribution<double> amount(-1e7, 1e7);
  std::vector<SRow> rows;
  for (std::size_t i = 0; i < count; ++i) {
    const bool isOdd = random() % 4 == 0;
    const double figure = isOdd ? odd[random() % std::size(odd)] : std::round(amount(random) * 100) / 100;
    const int order = random() % 8 == 0 ? std::numeric_limits<int>::min() : static_cast<int>(random() % 3) - 1;
    rows.push_back({figures ? figure : 0.0, order, static_cast<int>(i)});
  }
  std::shuffle(rows.begin(), rows.end(), random);
  return rows;
}

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

std::vector<int> sortedRanks(const std::vector<SRow>& rows, bool descending) {
  std::vector<GV::SSortKey> keys;
  keys.reserve(rows.size());
  for (const SRow& row : rows) {
    keys.push_back({GV::figureKey(row.figure, descending), GV::ownOrderKey(row.order, row.rank), row.rank});
  }
  GV::sortByKey(keys);
  std::vector<int> ranks(keys.size());
  std::transform(keys.begin(), keys.end(), ranks.begin(), [](const GV::SSortKey& key) { return key.node; });
  return ranks;
}

}  // namespace

/// By digits or by comparing, of few keys or many: the same order, to which no other fits.
TEST(SortByKey, SortsAsComparingWould) {
  for (const std::size_t count : {1, 2, 63, 64, 300, 5000, 70000}) {
    for (const bool figures : {true, false}) {
      for (const bool descending : {true, false}) {
        std::vector<SRow> rows = someRows(count, figures);
        const std::vector<int> ranks = sortedRanks(rows, descending);
        std::sort(rows.begin(), rows.end(),
                  [descending](const SRow& a, const SRow& b) { return isBefore(a, b, descending); });
        std::vector<int> expected(rows.size());
        std::transform(rows.begin(), rows.end(), expected.begin(), [](const SRow& row) { return row.rank; });
        ASSERT_EQ(ranks, expected) << count << (figures ? " figures" : " alike") << (descending ? " descending" : "");
      }
    }
  }
}
