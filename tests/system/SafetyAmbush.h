#pragma once

#include <condition_variable>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>

namespace test {

/// Holds the worker at one of the questions that it asks the host, or throws at it.
class CAmbush {
 public:
  /// Numbers of questions from now on, below 0 for none.
  void set(int hold, int fault, int kind) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_nHold = hold;
    m_nFault = fault;
    m_nKind = kind;
    m_bHeld = false;
  }
  bool isHeld() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_bHeld;
  }
  void release() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bHeld = false;
    m_nHold = -1;
    m_released.notify_all();
  }

  void meet() {
    if (std::this_thread::get_id() == m_gui) return;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_nHold >= 0 && m_nHold-- == 0) {
      m_bHeld = true;
      // Not for ever: what the GUI thread does may need the very task that is worked on.
      m_released.wait_for(lock, std::chrono::milliseconds(5), [this] { return !m_bHeld; });
      m_bHeld = false;
    }
    if (m_nFault < 0 || m_nFault-- > 0) return;
    if (m_nKind == 0) throw std::runtime_error("the host fails");
    if (m_nKind == 1) throw std::bad_alloc();
    throw 42;
  }

 private:
  const std::thread::id m_gui = std::this_thread::get_id();
  mutable std::mutex m_mutex;
  std::condition_variable m_released;
  bool m_bHeld = false;
  int m_nHold = -1;
  int m_nFault = -1;
  int m_nKind = 0;
};

}  // namespace test
