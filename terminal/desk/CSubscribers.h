#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "ksservice/TraderCenter.h"
#include "utils/Subscription.h"

namespace desk {

/// Those who want each new record. Any thread.
class CSubscribers {
 public:
  /// The handle may outlive this object.
  utils::CSubscriptionHandle add(ksservice::DataCallback callback);
  /// Calls everybody on this thread. Deliveries to one subscriber never overlap.
  void deliver(const boost::shared_ptr<ksservice::IData>& data);

 private:
  class CSubscriber;
  class CHandle;

  std::mutex m_mutex;
  std::vector<std::weak_ptr<CSubscriber>> m_subscribers;
};

}  // namespace desk
