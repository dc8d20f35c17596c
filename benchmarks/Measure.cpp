#include "Measure.h"

#include <malloc.h>

#include <algorithm>
#include <ctime>

namespace bench {
namespace {

double threadCpuMSec() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

}  // namespace

CStopwatch::CStopwatch() : m_dCpu(threadCpuMSec()) { m_wall.start(); }

SCost CStopwatch::elapsed() const {
  return {threadCpuMSec() - m_dCpu, static_cast<double>(m_wall.nsecsElapsed()) / 1e6};
}

double heapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

SMedian measure(int runs, CLimit& limit, const std::function<void()>& prepare, const std::function<void()>& work) {
  SMedian result;
  std::vector<double> cpu;
  std::vector<double> wall;
  for (int run = 0; run < runs && !result.capped; ++run) {
    limit.start();
    prepare();
    limit.start();
    const CStopwatch watch;
    work();
    const SCost cost = watch.elapsed();
    cpu.push_back(cost.cpu);
    wall.push_back(cost.wall);
    result.capped = limit.isOver();
  }
  limit.stop();
  // A capped run stands alone: runs before it that happened to end in time would hide it.
  result.cpu = result.capped ? cpu.back() : median(cpu);
  result.wall = result.capped ? wall.back() : median(wall);
  result.runs = static_cast<int>(cpu.size());
  return result;
}

}  // namespace bench
