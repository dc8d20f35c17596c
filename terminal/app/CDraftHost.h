#pragma once

#include <QObject>

#include "CEngineThread.h"
#include "IDraftHost.h"
#include "SessionSetup.h"

namespace app {

/// What drafts of baskets ask of a live session. GUI thread; answers come back from the engine's thread by queued
/// calls.
class CDraftHost : public QObject, public preview::IDraftHost {
  Q_OBJECT

 public:
  /// All must outlive this object, the thread until it has stopped. accounts: those that trade baskets.
  CDraftHost(desk::CDesk& desk, const exchange::CExchange& market, CEngineThread& thread, AccountList accounts,
             const SOptions& options, const exchange::SFeeRates& fees);

  const basket::CSecurities& securities() const override { return m_securities; }
  draft::SMarketFacts listed(int security) const override;
  void askPrices(const std::vector<int>& securities,
                 std::function<void(std::vector<preview::SPrices>)> answer) override;
  std::vector<draft::SAccountFacts> accounts() const override;
  exchange::SFeeRates fees() const override { return m_fees; }
  preview::SRateUse rates() const override;
  double frozenAt(const draft::SLine& line, const draft::SMarketFacts& facts,
                  const preview::STradeParams& trade) const override;
  std::vector<std::string> hedgeFutures() const override;
  void send(const preview::SSentBasket& basket) override;

  /// What the engine is asked to start of a basket.
  engine::SBasketOrder orderOf(const preview::SSentBasket& basket) const;

 private:
  engine::SOrderLine orderLine(const preview::SSendLine& line, const preview::STradeParams& trade) const;

  desk::CDesk& m_desk;
  const exchange::CExchange& m_market;
  CEngineThread& m_thread;
  AccountList m_accounts;
  SOptions m_options;
  exchange::SFeeRates m_fees;
  basket::CSecurities m_securities;  ///< by the market's numbers of instruments
};

}  // namespace app
