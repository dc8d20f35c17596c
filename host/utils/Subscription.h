#pragma once

#include <memory>

namespace utils {

/// A subscription that ends when its handle goes. The destructor waits for a callback that is running on another
/// thread; after it no callback comes.
class ISubscription {
 public:
  ISubscription() = default;
  ISubscription(const ISubscription&) = delete;
  ISubscription& operator=(const ISubscription&) = delete;
  virtual ~ISubscription() = default;
};

using CSubscriptionHandle = std::unique_ptr<ISubscription>;

}  // namespace utils
