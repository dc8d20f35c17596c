#pragma once

#include <string>

namespace engine {

/// Why an order was not taken.
struct SRefusal {
  std::string m_strText;    ///< for the user
  bool m_bLasting = false;  ///< the same order would be refused all day
  /// The text without an order's own figures, where it has any: by it refusals are summed up.
  std::string m_strReason{};
  bool m_bBroker = false;  ///< for want of money or position: it never went to the market

  const std::string& reason() const { return m_strReason.empty() ? m_strText : m_strReason; }
};

/// Has orders in the market, which it knows by an index of its own, and is told what becomes of each of them. On the
/// engine's thread. Times are seconds since the epoch.
class IOrderOwner {
 public:
  virtual ~IOrderOwner() = default;
  /// Key of the account whose orders they are.
  virtual const std::string& accountKey() const = 0;
  virtual void onAccepted(int order) = 0;
  virtual void onRejected(int order, const SRefusal& refusal, int seconds) = 0;
  /// amount: CNY of this fill.
  virtual void onFilled(int order, int quantity, double amount, int seconds) = 0;
  /// message: why, when nobody asked for it.
  virtual void onCancelled(int order, const std::string& message, int seconds) = 0;
  /// A cancel came to nothing. message: what had become of the order, or why the market takes no cancel.
  virtual void onCancelRejected(int order, const std::string& message) = 0;
};

/// Follows what the tasks of an engine trade. On the engine's thread.
class ITaskFollower {
 public:
  virtual ~ITaskFollower() = default;
  /// Called each time before and after the engine publishes what has changed in its tasks.
  virtual void beforePublishing() = 0;
  virtual void afterPublishing() = 0;
};

}  // namespace engine
