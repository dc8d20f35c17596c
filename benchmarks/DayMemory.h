/// What a process holds between two trading days, and whether that grows.
#pragma once

#include <QString>
#include <vector>

namespace bench {

struct SDayMemory {
  double heap = 0;      ///< MB that the heap has handed out
  double resident = 0;  ///< MB, after free pages were given back
  int handles = 0;
  int threads = 0;
  long details = 0;  ///< of the day that is over, still alive
};

SDayMemory readDayMemory();

/// What is wrong with one of the days, in their order; empty: nothing. The first one fills what is kept for good
/// (fonts, pixmaps, the pools of allocators and of Qt), so that the second one is what the others are compared with.
QString faultOfDays(const std::vector<SDayMemory>& days);

}  // namespace bench
