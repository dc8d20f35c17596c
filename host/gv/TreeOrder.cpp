#include "gv/TreeOrder.h"

#include <algorithm>
#include <numeric>

#include "gv/SortByKey.h"

namespace GV {

namespace {

struct STextKey {
  QString text;
  std::uint64_t own;
  int place;
};

/// Ties keep the own order, which at the top is that of sortOrder().
std::uint64_t ownKey(const STopRow& row, bool top) {
  return ownOrderKey(top ? row.state->sortOrder(row.row) : 0, row.rank);
}

bool isByText(const STreeSort& sort, bool top) {
  return sort.by == ESortBy::Text || (sort.by == ESortBy::Name && !top);
}

/// Puts the places 0.. of rows into order, each of which is given by at(place).
template <typename At>
void sortByText(std::vector<int>& places, const At& at, const STreeSort& sort, bool top) {
  std::vector<STextKey> keys;
  keys.reserve(places.size());
  for (const int place : places) {
    const STopRow& row = at(place);
    keys.push_back({sort.by == ESortBy::Name ? row.state->name(row.row) : row.state->sortText(row.row, sort.column),
                    ownKey(row, top), place});
  }
  const bool ascending = sort.order == Qt::AscendingOrder;
  std::sort(keys.begin(), keys.end(), [ascending](const STextKey& a, const STextKey& b) {
    const int difference = a.text.compare(b.text);
    return difference != 0 ? (difference < 0) == ascending : a.own < b.own;
  });
  std::transform(keys.begin(), keys.end(), places.begin(), [](const STextKey& key) { return key.place; });
}

template <typename At>
void sortByNumber(std::vector<int>& places, const At& at, const STreeSort& sort, bool top) {
  static thread_local std::vector<SSortKey> keys;
  keys.clear();
  for (const int place : places) {
    const STopRow& row = at(place);
    double figure = 0;
    if (sort.by == ESortBy::Number) figure = row.state->sortNumber(row.row, sort.column);
    if (sort.by == ESortBy::Name) figure = row.state->sortOrder(row.row);
    keys.push_back({figureKey(figure, sort.order == Qt::DescendingOrder), ownKey(row, top), place});
  }
  if (std::is_sorted(keys.begin(), keys.end())) return;
  sortByKey(keys);
  std::transform(keys.begin(), keys.end(), places.begin(), [](const SSortKey& key) { return key.node; });
}

template <typename At>
void sortFamily(std::vector<int>& places, const At& at, const STreeSort& sort, bool top) {
  if (places.size() < 2 || (sort.by == ESortBy::Own && !top)) return;
  if (isByText(sort, top)) {
    sortByText(places, at, sort, top);
  } else {
    sortByNumber(places, at, sort, top);
  }
}

/// The rows below each row, in their own order: those of row i from starts[i + 1], of the top from starts[0].
struct SFamilies {
  std::vector<int> starts;
  std::vector<int> rows;

  explicit SFamilies(const ITreeState& state) {
    const auto count = static_cast<std::size_t>(state.rowCount());
    std::vector<int> parents(count);
    starts.resize(count + 2);
    for (std::size_t row = 0; row < count; ++row) {
      parents[row] = state.parentOf(static_cast<int>(row));
      ++starts[static_cast<std::size_t>(parents[row]) + 2];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::vector<int> next = starts;
    rows.resize(count);
    for (std::size_t row = 0; row < count; ++row) {
      rows[static_cast<std::size_t>(next[static_cast<std::size_t>(parents[row]) + 1]++)] = static_cast<int>(row);
    }
  }
  std::vector<int> below(int row) const {
    const std::size_t family = static_cast<std::size_t>(row) + 1;
    return {rows.begin() + starts[family], rows.begin() + starts[family + 1]};
  }
};

bool matches(const ITreeState& state, int row, const STreeFilter& filter) {
  return std::all_of(filter.columns.begin(), filter.columns.end(), [&](const SColumnFilter& wanted) {
    const QString text = wanted.column == filter.nameColumn ? state.name(row) : state.text(row, wanted.column);
    return text.contains(wanted.text, Qt::CaseInsensitive);
  });
}

}  // namespace

std::vector<int> orderOf(const ITreeState& state, const STreeSort& sort) {
  const SFamilies families(state);
  const auto at = [&state](int row) { return STopRow{&state, row, row}; };
  std::vector<int> order;
  order.reserve(families.rows.size());
  // The rows that wait for their turn, the next one last.
  std::vector<int> waiting;
  const auto push = [&](int row) {
    std::vector<int> below = families.below(row);
    sortFamily(below, at, sort, row < 0);
    waiting.insert(waiting.end(), below.rbegin(), below.rend());
  };
  push(-1);
  while (!waiting.empty()) {
    const int row = waiting.back();
    waiting.pop_back();
    order.push_back(row);
    push(row);
  }
  int own = 0;
  const bool isOwn = std::all_of(order.begin(), order.end(), [&own](int row) { return row == own++; });
  return isOwn ? std::vector<int>() : order;
}

std::vector<int> orderOf(const std::vector<STopRow>& tops, const STreeSort& sort) {
  std::vector<int> places(tops.size());
  std::iota(places.begin(), places.end(), 0);
  sortFamily(
      places, [&tops](int place) -> const STopRow& { return tops[static_cast<std::size_t>(place)]; }, sort, true);
  return places;
}

RowFlags filteredRows(const ITreeState& state, const STreeFilter& filter) {
  const int count = state.rowCount();
  RowFlags accepted(static_cast<std::size_t>(count));
  std::vector<int> parents(static_cast<std::size_t>(count));
  const auto parentOf = [&parents](int row) { return parents[static_cast<std::size_t>(row)]; };
  const auto isIn = [&accepted](int row) { return row >= 0 && accepted[static_cast<std::size_t>(row)]; };
  for (int row = 0; row < count; ++row) {
    parents[static_cast<std::size_t>(row)] = state.parentOf(row);
    if (isIn(parentOf(row)) || matches(state, row, filter)) accepted.set(static_cast<std::size_t>(row));
  }
  // Not before all have been looked at: what is accepted below takes those above with it, but not what is beside.
  for (int row = count - 1; row >= 0; --row) {
    if (isIn(row) && parentOf(row) >= 0) accepted.set(static_cast<std::size_t>(parentOf(row)));
  }
  return ~accepted;
}

}  // namespace GV
