#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace TC {

class CJobQueue;

/// Has the panel's worker free what tasks leave behind, since a trading day leaves hundreds of thousands of rows.
/// Shared with the tasks, which may outlive the panel. Any thread.
class CTaskDisposal : public std::enable_shared_from_this<CTaskDisposal> {
 public:
  explicit CTaskDisposal(CJobQueue& queue) : m_pQueue(&queue) {}

  void take(std::shared_ptr<void> rest) noexcept;
  /// The queue goes: from now on what is taken is freed at once.
  void end();

 private:
  void free();

  std::mutex m_mutex;  ///< guards the rest; under it only the queue is called
  CJobQueue* m_pQueue;
  std::vector<std::shared_ptr<void>> m_rest;
};

}  // namespace TC
