/// What a live session is made of before it starts: the day, the user, accounts, instruments and baskets.
#pragma once

#include <boost/shared_ptr.hpp>
#include <optional>
#include <vector>

#include "CDesk.h"
#include "CSimulation.h"
#include "Inputs.h"
#include "Options.h"

namespace app {

/// 00:00 of the simulated trading day, whatever the real date is.
std::int64_t tradingDayStart();
QTimeZone exchangeTimeZone();

desk::SSession makeSession(const SOptions& options);
exchange::SExchangeSettings makeExchangeSettings(const SOptions& options);
engine::SEngineSettings makeEngineSettings(const SOptions& options, const SInputs& inputs);

/// How an account of the session is called.
struct SAccountName {
  std::string m_strKey;
  std::string m_strDisplayId;
  std::string m_strName;
  bool m_bFutures = false;  ///< trades hedges, and no baskets

  bool fits(const std::string& text) const { return text == m_strKey || text == m_strDisplayId; }
};
std::vector<SAccountName> accountNames(const SOptions& options);
using AccountList = std::vector<boost::shared_ptr<ksservice::CAccountInfo>>;
/// What the baskets' algorithm goes by: the day, from the start of the run; none without one.
std::optional<TC::SAlgoParams> makeAlgo(const SOptions& options);
/// Enters the options' accounts; returns those that trade baskets.
AccountList addAccounts(desk::CDesk& desk, const SOptions& options);
/// What the exchange client knows of an instrument.
TC::CCodeInfo toCodeInfo(const exchange::SInstrument& instrument, const exchange::SRules& rules);
/// Enters what the market lists.
void enterInstruments(desk::CDesk& desk, const exchange::CExchange& market);
/// The same; the desk gets the quotes of index futures from the start.
void addInstruments(desk::CDesk& desk, engine::CSimulation& simulation);

std::vector<engine::SBasketOrder> makeBaskets(const SOptions& options, const SInputs& inputs,
                                              const exchange::CExchange& market, const AccountList& accounts);
/// Futures of the session's account are sold short against what a basket of that amount (CNY) buys and sells. orders:
/// after which the hedge pauses; none: what fits.
ksservice::CBasketHedgeParam makeHedge(const SHedgeOption& option, double amount, bool scheduled,
                                       std::optional<int> orders, const exchange::CExchange& market);
/// A line at the opposite best price. The market must list the instrument. Any thread.
engine::SOrderLine makeOrderLine(const exchange::CExchange& market, int instrument, int operation, int quantity);

}  // namespace app
