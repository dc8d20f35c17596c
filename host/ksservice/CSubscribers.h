#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "ksservice/TraderCenter.h"
#include "utils/Subscription.h"

namespace ksservice {

/// Those who want each new record: what stands behind IDataCenter::subscribe. Any thread.
class CSubscribers {
 public:
  /// The handle ends the subscription as IDataCenter demands, and may outlive this object.
  utils::CSubscriptionHandle add(DataCallback callback);
  /// Calls everybody on this thread. Deliveries to one subscriber never overlap. Hold no lock that a service takes.
  void deliver(const boost::shared_ptr<IData>& data);

 private:
  class CSubscriber;
  class CHandle;

  std::mutex m_mutex;
  std::vector<std::weak_ptr<CSubscriber>> m_subscribers;
};

}  // namespace ksservice
