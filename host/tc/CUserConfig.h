#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "ksservice/CAccountInfo.h"

namespace TC {

/// The user and what the user set. Any thread.
class CUserConfig {
 public:
  virtual ~CUserConfig() = default;
  virtual std::string userName() const = 0;
  /// Null when the configuration has no data for the account.
  virtual boost::shared_ptr<const ksservice::CAccountInfo> getAccount(const std::string& accountKey) const = 0;
  /// Whether the user may cancel tasks.
  virtual bool hasRevokeTask() const = 0;
  /// Whether the limit price is offered among the price choices.
  virtual bool hasUpStopPrice() const = 0;
  /// Whether quantities are shown as they are, never in trade units.
  virtual bool isRawQuantity() const = 0;
  /// Whether an activated panel stays quiet about its running tasks.
  virtual bool isQuietActivation() const = 0;
};

}  // namespace TC
