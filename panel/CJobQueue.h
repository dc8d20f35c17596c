#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <functional>
#include <thread>

#include "utils/JobMonitor.h"

namespace TC {

/// The panel's queue of jobs: one worker thread runs them one at a time, in the order in which they were posted. The
/// host's job monitor is told of each.
class CJobQueue {
 public:
  CJobQueue();
  CJobQueue(const CJobQueue&) = delete;
  CJobQueue& operator=(const CJobQueue&) = delete;
  /// Waits for the job that is running; those that wait are dropped.
  ~CJobQueue();

  /// Any thread.
  void post(utils::EPanelJob kind, std::function<void()> job);
  /// The same for what is no job of the panel's, so that the monitor is not told.
  void postQuietly(std::function<void()> work);

 private:
  boost::asio::io_context m_io;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
  std::thread m_worker;
};

}  // namespace TC
