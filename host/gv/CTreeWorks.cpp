#include "gv/CTreeWorks.h"

#include <utility>

#include "utils/Guarded.h"

namespace GV {

CTreeWorks::~CTreeWorks() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bEnd = true;
  }
  m_wake.notify_one();
  m_thread.join();
}

void CTreeWorks::run(Work work) {
  m_bBusy = true;
  if (!m_thread.joinable()) m_thread = std::thread([this] { loop(); });
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_work = std::move(work);
  }
  m_wake.notify_one();
}

void CTreeWorks::loop() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (true) {
    m_wake.wait(lock, [this] { return m_bEnd || m_work; });
    if (m_bEnd) return;
    Work work = std::exchange(m_work, nullptr);
    lock.unlock();
    // Whoever forms the rows' texts may fail; then what stood stands until the rows change again.
    Done done;
    utils::guarded("CTreeWorks::loop", "rows", [&] { done = work(); });
    work = nullptr;  // what it holds is freed here
    // A call that is still queued goes with its receiver.
    QMetaObject::invokeMethod(
        this,
        [this, done = std::move(done)] {
          m_bBusy = false;
          if (done) done();
        },
        Qt::QueuedConnection);
    lock.lock();
  }
}

}  // namespace GV
