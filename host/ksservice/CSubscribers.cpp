#include "ksservice/CSubscribers.h"

#include <algorithm>
#include <utility>

namespace ksservice {

class CSubscribers::CSubscriber {
 public:
  explicit CSubscriber(DataCallback callback) : m_callback(std::move(callback)) {}

  void deliver(const boost::shared_ptr<IData>& data) {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_bActive) m_callback(data);
  }

  /// Waits for a callback that runs on another thread. A callback may end its own subscription.
  void end() {
    const std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_bActive = false;
  }

 private:
  std::recursive_mutex m_mutex;
  bool m_bActive = true;
  DataCallback m_callback;
};

class CSubscribers::CHandle : public utils::ISubscription {
 public:
  explicit CHandle(std::shared_ptr<CSubscriber> subscriber) : m_pSubscriber(std::move(subscriber)) {}
  ~CHandle() override { m_pSubscriber->end(); }

 private:
  std::shared_ptr<CSubscriber> m_pSubscriber;
};

utils::CSubscriptionHandle CSubscribers::add(DataCallback callback) {
  auto subscriber = std::make_shared<CSubscriber>(std::move(callback));
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_subscribers.erase(std::remove_if(m_subscribers.begin(), m_subscribers.end(),
                                     [](const std::weak_ptr<CSubscriber>& weak) { return weak.expired(); }),
                      m_subscribers.end());
  m_subscribers.push_back(subscriber);
  return std::make_unique<CHandle>(std::move(subscriber));
}

void CSubscribers::deliver(const boost::shared_ptr<IData>& data) {
  std::vector<std::shared_ptr<CSubscriber>> subscribers;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& weak : m_subscribers) {
      if (auto subscriber = weak.lock()) subscribers.push_back(std::move(subscriber));
    }
  }
  for (const auto& subscriber : subscribers) subscriber->deliver(data);
}

}  // namespace ksservice
