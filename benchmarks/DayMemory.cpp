#include "DayMemory.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "Measure.h"

namespace bench {
namespace {

/// One basket task of 300 rows takes 0.3 MB with its table's rows: of twenty days one that stays would show.
constexpr double HEAP_BOUND = 0.25;
/// Pages hang on where the last small pieces lie that are kept for good; a part of the process, and no less than this.
constexpr double RESIDENT_BOUND = 2;
constexpr double RESIDENT_SHARE = 0.02;

int entriesOf(const char* folder) {
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++entries;
  return entries;
}

}  // namespace

SDayMemory readDayMemory() {
  SDayMemory memory;
  malloc_trim(0);
  memory.heap = heapBytes() / 1e6;
  std::ifstream statm("/proc/self/statm");
  double pages = 0;
  statm >> pages >> pages;
  statm.close();
  memory.resident = pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
  memory.handles = entriesOf("/proc/self/fd");
  memory.threads = entriesOf("/proc/self/task");
  return memory;
}

QString faultOfDays(const std::vector<SDayMemory>& days) {
  for (std::size_t day = 0; day < days.size(); ++day) {
    if (days[day].details == 0) continue;
    return QStringLiteral("%1 details of day %2 are kept").arg(days[day].details).arg(day + 1);
  }
  if (days.size() < 3) return {};
  const SDayMemory& second = days[1];
  const SDayMemory& last = days.back();
  for (std::size_t day = 2; day < days.size(); ++day) {
    if (days[day].handles != second.handles || days[day].threads != second.threads) {
      return QStringLiteral("handles or threads of day %1 are not those of day 2").arg(day + 1);
    }
  }
  if (last.heap > second.heap + HEAP_BOUND) {
    return QStringLiteral("the heap has grown by %1 MB, more than %2").arg(last.heap - second.heap).arg(HEAP_BOUND);
  }
  const double bound = std::max(RESIDENT_BOUND, RESIDENT_SHARE * second.resident);
  if (last.resident > second.resident + bound) {
    return QStringLiteral("the resident memory has grown by %1 MB, more than %2")
        .arg(last.resident - second.resident)
        .arg(bound);
  }
  return {};
}

}  // namespace bench
