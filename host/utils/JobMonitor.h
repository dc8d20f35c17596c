#pragma once

namespace utils {

/// The kinds of job that a panel runs in its queue.
enum class EPanelJob { Refresh, FirstLoad, AccountReload, Staging };

/// Told by a panel about its jobs, so that a recording can hold deliveries back while a job reads the host's state,
/// and a replay can wait until nothing is left to run. Implemented by the terminal.
class IJobMonitor {
 public:
  virtual ~IJobMonitor() = default;

  /// A job was put into the queue. Any thread.
  virtual void jobPosted(EPanelJob job) = 0;
  /// The worker starts the job. It may be held back here while the host's state is being changed. Worker thread.
  virtual void jobBegins(EPanelJob job) = 0;
  /// The worker has ended the job, or the job was dropped with its queue. Any thread.
  virtual void jobEnded(EPanelJob job) = 0;
};

}  // namespace utils
