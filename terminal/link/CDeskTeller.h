#pragma once

#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CDetailState.h"
#include "IDeskObserver.h"

namespace desklink {

/// Tells what happens on an engine's desk, message by message: tasks by what has changed of them, everything else as it
/// is now. An observer of the desk, on the thread that changes it.
class CDeskTeller : public desk::IDeskObserver {
 public:
  /// Takes one message, which CDeskMirror reads.
  using Send = std::function<void(const std::string& message)>;

  explicit CDeskTeller(Send send) : m_send(std::move(send)) {}

  /// Everything that holds by now, for a terminal that knows nothing: what is told next goes on from there. What has
  /// only happened, as a new trading day, is not told again.
  void tellAll(const Send& send) const;
  /// All of one detail, for a terminal that has missed something of it; false for an unknown key.
  bool tellDetail(const std::string& key, const Send& send) const;

  void onSession(const desk::SSession& session) override;
  void onAccount(const desk::SAccount& account) override;
  void onInstrument(const TC::CCodeInfo& info) override;
  void onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) override;
  void onCommand(const ksservice::COrderCommand& command) override;
  void onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onHedgeState(int groupId, int status) override;
  void onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) override;
  void onTask(const desk::SPublication& publication) override;
  void onHedgeVolume(int taskId, int volume) override;
  void onHedgeStatus(int taskId, int status) override;
  void onTradingDay(const std::string& date) override;
  void onStockUnitChange() override;
  void onSetHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onStartHedge(int groupId) override;

 private:
  /// What is told and takes the place of what was told under the name before.
  void tell(const std::string& name, const std::string& message);

  Send m_send;
  std::vector<std::string> m_standing;                    ///< messages, in the order of their names' first one
  std::unordered_map<std::string, std::size_t> m_places;  ///< by name; an empty message stands for none
  std::map<std::string, CDetailState> m_details;          ///< by key
  std::unordered_map<int, int> m_commands;                ///< of hedges, by group
};

}  // namespace desklink
