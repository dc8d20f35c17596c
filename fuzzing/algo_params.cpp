// Texts of algorithm parameters, and what is planned by them through a day.
#include <algorithm>

#include "CAlgoSchedule.h"
#include "Fuzz.h"
#include "tc/AlgoParams.h"

namespace {

constexpr std::int64_t DAY_MSEC = 86400000;

/// What is planned never falls, and is never more than the target.
void plan(const TC::SAlgoParams& params, std::int64_t made, int target) {
  if (!engine::CAlgoSchedule::fault(params, made).empty()) return;
  const engine::CAlgoSchedule schedule(params, made);
  int slice = 0;
  int planned = 0;
  for (std::int64_t now = made; now < DAY_MSEC; now += 977000) {
    const int nextSlice = schedule.slice(now);
    fuzz::require(nextSlice >= slice, "the number of the slice does not fall");
    slice = nextSlice;
    const int next = schedule.planned(target, now, (now - made) / 10);
    fuzz::require(next >= planned && next <= target, "what is planned does not fall, nor is it above the target");
    planned = next;
  }
  const bool byTime = params.m_eAlgorithm != TC::EAlgorithm::POV;
  fuzz::require(!byTime || planned == target, "a schedule by time ends with all of it");
}

void readTimes(const std::string& text) {
  const int second = TC::parseSecondOfDay(text);
  fuzz::require(second >= -1 && second < 86400, "a second of the day lies in it");
  if (second >= 0) {
    fuzz::require(TC::parseSecondOfDay(TC::formatSecondOfDay(second)) == second,
                  "a second of the day is told as it is");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::CBytes bytes(data, size);
  const std::int64_t made = bytes.byte() * std::int64_t{330000};
  const int target = bytes.number();
  const std::string text(bytes.rest());
  readTimes(text);
  TC::SAlgoParams params;
  if (!TC::SAlgoParams::parse(text, params).empty()) return 0;
  fuzz::require(params.check().empty(), "what was read can be sent");
  TC::SAlgoParams again;
  fuzz::require(TC::SAlgoParams::parse(params.format(), again).empty(), "what is told can be read");
  fuzz::require(again.format() == params.format(), "what is read is what was told");
  if (target > 0 && made < DAY_MSEC) plan(params, made, target);
  return 0;
}
