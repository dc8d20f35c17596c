/// Clocks, medians and the results of a run.
#pragma once

#include <QElapsedTimer>
#include <QString>
#include <functional>
#include <vector>

namespace bench {

/// What one run of a work cost, in milliseconds.
struct SCost {
  double cpu = 0;  ///< of the calling thread: other programs on the machine do not count
  double wall = 0;
};

class CStopwatch {
 public:
  CStopwatch();
  SCost elapsed() const;

 private:
  double m_dCpu;
  QElapsedTimer m_wall;
};

/// Ends works that take too long: they ask it in their loops.
class CLimit {
 public:
  static constexpr qint64 MSEC = 30000;

  void start() { m_clock.start(); }
  /// From now on nothing is limited.
  void stop() { m_clock.invalidate(); }
  bool isOver() const { return m_clock.isValid() && m_clock.elapsed() > MSEC; }

 private:
  QElapsedTimer m_clock;
};

struct SMedian {
  double cpu = 0;
  double wall = 0;
  int runs = 0;
  bool capped = false;  ///< ended at the limit: the true cost is higher
};

/// Bytes that the heap has handed out.
double heapBytes();

double median(std::vector<double> values);

/// Medians over runs of a work; before each run, prepare, which is not counted. One run at the limit ends it.
SMedian measure(int runs, CLimit& limit, const std::function<void()>& prepare, const std::function<void()>& work);

}  // namespace bench
