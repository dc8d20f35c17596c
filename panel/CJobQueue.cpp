#include "CJobQueue.h"

#include <boost/asio/post.hpp>
#include <memory>
#include <utility>

#include "tc/Services.h"
#include "utils/Guarded.h"

namespace TC {
namespace {

/// Reports a job from posting to its end, also when it is dropped with its queue.
class CMonitoredJob {
 public:
  CMonitoredJob(utils::EPanelJob kind, std::function<void()> job) : m_eKind(kind), m_job(std::move(job)) {
    getJobMonitor().jobPosted(m_eKind);
  }
  CMonitoredJob(const CMonitoredJob&) = delete;
  CMonitoredJob& operator=(const CMonitoredJob&) = delete;
  ~CMonitoredJob() { getJobMonitor().jobEnded(m_eKind); }

  void run() const {
    getJobMonitor().jobBegins(m_eKind);
    // A fault in one job must not end the terminal.
    utils::guarded("CJobQueue::run", "panel job", m_job);
  }

 private:
  utils::EPanelJob m_eKind;
  std::function<void()> m_job;
};

}  // namespace

CJobQueue::CJobQueue() : m_work(m_io.get_executor()), m_worker([this] { m_io.run(); }) {}

CJobQueue::~CJobQueue() {
  m_io.stop();
  m_worker.join();
}

void CJobQueue::post(utils::EPanelJob kind, std::function<void()> job) {
  boost::asio::post(m_io, [monitored = std::make_shared<CMonitoredJob>(kind, std::move(job))] { monitored->run(); });
}

void CJobQueue::postQuietly(std::function<void()> work) {
  boost::asio::post(m_io, [done = std::move(work)] { utils::guarded("CJobQueue::run", "work", done); });
}

}  // namespace TC
