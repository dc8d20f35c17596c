#include "Remainder.h"

#include <algorithm>
#include <map>

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

/// What is left of each line as a whole: the highest of what is known counts.
SRest restOf(const SRemainderFacts& facts, const PatchLine& line, const SLineSum& sum) {
  const long long known = std::max({sum.answered + sum.orders, volumeOf(facts.taken, line), sum.finished});
  const long long held =
      volumeOf(facts.accepted, line) + volumeOf(facts.handedOver, line) + volumeOf(facts.unknown, line);
  return {sum.target - known, sum.target - known - held};
}

/// Takes a row's part of what is left of its line.
long long share(long long& left, const SRemainderRow& row, bool alone) {
  if (row.unset) return 0;
  if (alone) return left;
  const long long part = std::clamp<long long>(left, 0, std::max<long long>(0, row.target - row.finished));
  left -= part;
  return part;
}

/// The part of a remainder that the exchange takes; none where that cannot be told.
std::optional<int> inLots(const SRemainderRow& row, long long remainder) {
  const int rest = orderVolume(remainder);
  return rest <= 0 || !row.lots ? rest : roundToLots(rest, row.lots->unit, row.lots->none);
}

ERefusal refusalOf(const SRemainderFacts& facts, const SRemainderRow& row, const SRest& rest) {
  if (rest.open <= 0) return ERefusal::None;
  if (!row.hasAccount) return ERefusal::NoAccount;
  if (!row.hasInstrument) return ERefusal::NoInstrument;
  const std::optional<int> open = inLots(row, rest.open);
  if (!open) return ERefusal::NoUnit;
  if (*open <= 0) return ERefusal::None;
  if (facts.unanswered.contains(row.line)) return ERefusal::NoProgress;
  if (inLots(row, rest.free).value_or(0) > 0) return ERefusal::None;
  return facts.accepted.contains(row.line) ? ERefusal::Accepted : ERefusal::HandedOver;
}

}  // namespace

QString refusalText(ERefusal refusal) {
  switch (refusal) {
    case ERefusal::None:
      return {};
    case ERefusal::NoAccount:
      return QStringLiteral("没有账号数据");
    case ERefusal::NoInstrument:
      return QStringLiteral("没有合约信息");
    case ERefusal::NoUnit:
      return QStringLiteral("没有有效的最小交易单位");
    case ERefusal::NoProgress:
      return QStringLiteral("算法任务没有成交数据");
    case ERefusal::Accepted:
      return QStringLiteral("上次补单还没有回报");
    case ERefusal::HandedOver:
      return QStringLiteral("已交给新篮子");
    case ERefusal::NoPrice:
      return QStringLiteral("没有价格");
    case ERefusal::NoOrderSetting:
      return QStringLiteral("没有委托设置");
    case ERefusal::NoCommand:
      return QStringLiteral("没有指令");
    case ERefusal::Nothing:
      return QStringLiteral("可补单量为0");
  }
  return {};
}

std::vector<SRemainder> remaindersOf(const SRemainderFacts& facts) {
  const std::map<PatchLine, SLineSum> sums = sumsOf(facts.rows);
  std::map<PatchLine, SRest> left;
  for (const auto& [line, sum] : sums) left[line] = restOf(facts, line, sum);
  std::vector<SRemainder> remainders(facts.rows.size());
  for (const bool first : {true, false}) {
    for (std::size_t i = 0; i < facts.rows.size(); ++i) {
      const SRemainderRow& row = facts.rows[i];
      if (row.first != first) continue;
      SRest& line = left[row.line];
      const bool alone = sums.at(row.line).rows == 1;
      const SRest rest = {share(line.open, row, alone), share(line.free, row, alone)};
      remainders[i] = {rest,
                       std::max(0, inLots(row, rest.free).value_or(0)),
                       refusalOf(facts, row, rest),
                       volumeOf(facts.accepted, row.line),
                       volumeOf(facts.handedOver, row.line),
                       volumeOf(facts.unknown, row.line)};
    }
  }
  return remainders;
}

bool fits(const SRemainderFacts& facts, const LineVolumes& planned) {
  const std::map<PatchLine, SLineSum> sums = sumsOf(facts.rows);
  return std::all_of(planned.begin(), planned.end(), [&](const auto& line) {
    const auto sum = sums.find(line.first);
    return line.second == 0 || (sum != sums.end() && line.second <= restOf(facts, line.first, sum->second).free);
  });
}

}  // namespace TC
