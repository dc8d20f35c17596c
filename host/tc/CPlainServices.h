#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {

/// A user with accounts, who has set nothing. Any thread.
class CPlainUserConfig : public CUserConfig {
 public:
  using Account = boost::shared_ptr<const ksservice::CAccountInfo>;

  CPlainUserConfig(std::string userName, std::vector<Account> accounts);

  std::string userName() const override { return m_strUserName; }
  Account getAccountData(const std::string& accountKey) const override;
  std::vector<Account> getAccounts() const override { return m_accounts; }
  bool isAccountFilter(const std::string&) const override { return false; }
  bool isBrokerMatched(const std::string&, EMavTraderType) const override { return true; }
  std::vector<std::string> getOrderSettings() const override { return {}; }
  int getTradeSetting(EMavTraderType, int) const override { return 0; }
  bool hasRevokeTask() const override { return true; }
  bool hasUpStopPrice() const override { return true; }
  bool isRawQuantity() const override { return false; }
  bool isQuietActivation() const override { return false; }

 private:
  std::string m_strUserName;
  std::vector<Account> m_accounts;
};

/// Services for a host that has nothing of its own to say there, to begin with or to keep: the machine's clock, no
/// server, no hedges, no trading calendar; messages go to the log. Must outlive every panel. GUI thread, except what
/// the services themselves allow.
class CPlainServices {
 public:
  CPlainServices();
  ~CPlainServices();
  CPlainServices(const CPlainServices&) = delete;
  CPlainServices& operator=(const CPlainServices&) = delete;

  /// Without dataCenter, taskCenter, exchangeClient, quoteClient and userConfig: these are the host's. Whatever else it
  /// has it sets instead of what stands there.
  SServices services() const;

 private:
  struct SFaces;
  std::unique_ptr<SFaces> m_pFaces;
};

}  // namespace TC
