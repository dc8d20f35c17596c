#include "Remainder.h"

#include <algorithm>

namespace TC {
namespace {

struct SLineSum {
  int rows = 0;
  long long target = 0;
  long long finished = 0;
  long long orders = 0;
  long long answered = 0;
};

long long volumeOf(const LineVolumes& volumes, const PatchLine& line) {
  const auto known = volumes.find(line);
  return known == volumes.end() ? 0 : known->second;
}

std::map<PatchLine, SLineSum> sumsOf(const std::vector<SRemainderRow>& rows) {
  std::map<PatchLine, SLineSum> sums;
  for (const SRemainderRow& row : rows) {
    SLineSum& sum = sums[row.line];
    ++sum.rows;
    if (!row.unset) sum.target += row.target;
    sum.finished += row.finished;
    sum.orders += row.orders;
    // An answer speaks of the security, whichever row it is shown on.
    sum.answered = std::max(sum.answered, row.answered);
  }
  return sums;
}

/// Takes a row's part of what is left of its line.
long long share(long long& left, const SRemainderRow& row, bool alone) {
  if (row.unset) return 0;
  if (alone) return left;
  const long long part = std::clamp<long long>(left, 0, std::max<long long>(0, row.target - row.finished));
  left -= part;
  return part;
}

}  // namespace

std::map<PatchLine, SRest> lineRests(const std::vector<SRemainderRow>& rows, const LineVolumes& taken,
                                     const LineVolumes& held) {
  std::map<PatchLine, SRest> rests;
  for (const auto& [line, sum] : sumsOf(rows)) {
    const long long known = std::max({sum.answered + sum.orders, volumeOf(taken, line), sum.finished});
    rests[line] = {sum.target - known, sum.target - known - volumeOf(held, line)};
  }
  return rests;
}

std::vector<SRest> restsOf(const std::vector<SRemainderRow>& rows, const LineVolumes& taken, const LineVolumes& held) {
  const std::map<PatchLine, SLineSum> sums = sumsOf(rows);
  std::map<PatchLine, SRest> left = lineRests(rows, taken, held);
  std::vector<SRest> rests(rows.size());
  for (const bool first : {true, false}) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i].first != first) continue;
      SRest& line = left[rows[i].line];
      const bool alone = sums.at(rows[i].line).rows == 1;
      rests[i] = {share(line.open, rows[i], alone), share(line.free, rows[i], alone)};
    }
  }
  return rests;
}

}  // namespace TC
