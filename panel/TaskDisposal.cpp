#include "TaskDisposal.h"

#include "CJobQueue.h"
#include "utils/Guarded.h"

namespace TC {

void CTaskDisposal::take(std::shared_ptr<void> rest) noexcept {
  utils::guarded("CTaskDisposal::take", "task", [&] {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_pQueue) return;
    m_rest.push_back(std::move(rest));
    if (m_rest.size() == 1) m_pQueue->postQuietly([self = shared_from_this()] { self->free(); });
  });
}

void CTaskDisposal::end() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_pQueue = nullptr;
}

void CTaskDisposal::free() {
  std::vector<std::shared_ptr<void>> rest;  // goes when the mutex is free again
  const std::lock_guard<std::mutex> lock(m_mutex);
  rest.swap(m_rest);
}

}  // namespace TC
