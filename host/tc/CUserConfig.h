#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "ksservice/CAccountInfo.h"
#include "ksservice/Enumerations.h"

namespace TC {

/// The user and what the user set. Any thread.
class CUserConfig {
 public:
  virtual ~CUserConfig() = default;
  virtual std::string userName() const = 0;
  /// Null when the configuration has no data for the account.
  virtual boost::shared_ptr<const ksservice::CAccountInfo> getAccountData(const std::string& accountKey) const = 0;
  /// Every account of the configuration, in its order.
  virtual std::vector<boost::shared_ptr<const ksservice::CAccountInfo>> getAccounts() const = 0;
  /// Whether the user filtered the account out.
  virtual bool isAccountFilter(const std::string& accountKey) const = 0;
  /// Whether the account's broker serves the trader type; see isBrokerTypeMatchTradeType.
  virtual bool isBrokerMatched(const std::string& accountKey, EMavTraderType type) const = 0;
  /// The stored order settings, the one in use first (tc/OrderSetting.h).
  virtual std::vector<std::string> getOrderSettings() const = 0;
  /// A setting of the trader type by its number, 0 when it is missing.
  virtual int getTradeSetting(EMavTraderType type, int setting) const = 0;
  /// Whether the user may cancel tasks.
  virtual bool hasRevokeTask() const = 0;
  /// Whether the limit price is offered among the price choices.
  virtual bool hasUpStopPrice() const = 0;
  /// Whether quantities are shown as they are, never in trade units.
  virtual bool isRawQuantity() const = 0;
  /// Whether an activated panel stays quiet about its running tasks.
  virtual bool isQuietActivation() const = 0;
};

/// Settings of a trader type: the groups that the two account-group selectors of a panel stand on.
enum ETradeSetting : int { ETRS_AccountGroup = 7, ETRS_AccountGroup2 = 8 };

/// Whether the broker of an account serves the trader type. Any thread.
bool isBrokerTypeMatchTradeType(const ksservice::CAccountInfo& account, EMavTraderType type);

}  // namespace TC
