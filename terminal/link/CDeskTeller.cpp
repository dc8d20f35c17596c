#include "CDeskTeller.h"

#include "Envelope.h"
#include "WireRecord.h"

namespace desklink {

using v1::Envelope;

namespace {

std::string textOf(const Envelope& envelope) { return envelope.SerializeAsString(); }

std::string instrumentName(char kind, const std::string& market, const std::string& code) {
  return kind + market + '\n' + code;
}

std::string hedgeName(desk::EHedgeSource source, int commandId) {
  return (source == desk::EHedgeSource::Stored ? 'h' : 'H') + std::to_string(commandId);
}

}  // namespace

void CDeskTeller::tell(const std::string& name, const std::string& message) {
  const auto [place, isNew] = m_places.try_emplace(name, m_standing.size());
  if (isNew) m_standing.emplace_back();
  m_standing[place->second] = message;
  m_send(message);
}

void CDeskTeller::tellAll(const Send& send) const {
  for (const std::string& message : m_standing) {
    if (!message.empty()) send(message);
  }
  for (const auto& [key, state] : m_details) tellDetail(key, send);
}

bool CDeskTeller::tellDetail(const std::string& key, const Send& send) const {
  const auto known = m_details.find(key);
  if (known == m_details.end()) return false;
  Envelope envelope = newEnvelope();
  known->second.writeAll(*envelope.mutable_detail());
  send(textOf(envelope));
  return true;
}

void CDeskTeller::onSession(const desk::SSession& session) {
  Envelope envelope = newEnvelope();
  v1::Session& message = *envelope.mutable_session();
  writeDifference(desk::SSession(), session, message);
  message.set_time_zone(session.m_timeZone.id().toStdString());
  writeDifference(desk::SSettings(), session.m_settings, *message.mutable_settings());
  for (const auto& [number, value] : session.m_settings.m_tradeSettings) {
    v1::TradeSetting& setting = *message.mutable_settings()->add_trade_settings();
    setting.set_number(number);
    setting.set_value(value);
  }
  tell("S", textOf(envelope));
}

void CDeskTeller::onAccount(const desk::SAccount& account) {
  Envelope envelope = newEnvelope();
  writeDifference(desk::SAccount(), account, *envelope.mutable_account());
  writeDifference(ksservice::CAccountInfo(), *account.m_pInfo, *envelope.mutable_account()->mutable_account());
  tell('A' + account.m_pInfo->getKey(), textOf(envelope));
}

void CDeskTeller::onInstrument(const TC::CCodeInfo& info) {
  Envelope envelope = newEnvelope();
  v1::Instrument& message = *envelope.mutable_instrument();
  writeDifference(TC::CCodeInfo(), info, message);
  message.mutable_types()->Assign(info.m_types.begin(), info.m_types.end());
  message.mutable_market_price_types()->Assign(info.m_marketPriceTypes.begin(), info.m_marketPriceTypes.end());
  tell(instrumentName('I', info.m_strMarket, info.m_strCode), textOf(envelope));
}

void CDeskTeller::onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  Envelope envelope = newEnvelope();
  envelope.mutable_quote()->set_market(market);
  envelope.mutable_quote()->set_code(code);
  writeDifference(TC::CQuote(), quote, *envelope.mutable_quote());
  tell(instrumentName('Q', market, code), textOf(envelope));
}

void CDeskTeller::onCommand(const ksservice::COrderCommand& command) {
  Envelope envelope = newEnvelope();
  writeDifference(ksservice::COrderCommand(), command, *envelope.mutable_command());
  tell('C' + std::to_string(command.m_nCommandId), textOf(envelope));
}

void CDeskTeller::onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  Envelope envelope = newEnvelope();
  envelope.mutable_command_hedge()->set_command_id(commandId);
  envelope.mutable_command_hedge()->set_stored(source == desk::EHedgeSource::Stored);
  writeDifference(ksservice::CBasketHedgeParam(), param, *envelope.mutable_command_hedge()->mutable_param());
  tell(hedgeName(source, commandId), textOf(envelope));
}

void CDeskTeller::onHedgeState(int groupId, int status) {
  Envelope envelope = newEnvelope();
  envelope.mutable_hedge_state()->set_id(groupId);
  envelope.mutable_hedge_state()->set_value(status);
  tell('T' + std::to_string(groupId), textOf(envelope));
}

void CDeskTeller::onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  Envelope envelope = newEnvelope();
  envelope.mutable_progress()->set_detail_key(detailKey);
  for (const TC::CProgressOrder& order : progress.m_orders) {
    v1::ProgressOrder& message = *envelope.mutable_progress()->add_orders();
    message.set_map_key(order.m_strMapKey);
    writeDifference(ksservice::COrderDetail(), order.m_detail, *message.mutable_detail());
    message.set_param_index(order.m_nParamIndex);
  }
  tell('P' + detailKey, textOf(envelope));
}

void CDeskTeller::onTask(const desk::SPublication& publication) {
  Envelope envelope = newEnvelope();
  m_details[publication.m_pDetail->getKey()].write(publication, *envelope.mutable_detail());
  m_send(textOf(envelope));
}

void CDeskTeller::onHedgeVolume(int taskId, int volume) {
  Envelope envelope = newEnvelope();
  envelope.mutable_hedge_volume()->set_id(taskId);
  envelope.mutable_hedge_volume()->set_value(volume);
  m_send(textOf(envelope));
}

void CDeskTeller::onHedgeStatus(int taskId, int status) {
  Envelope envelope = newEnvelope();
  envelope.mutable_hedge_status()->set_id(taskId);
  envelope.mutable_hedge_status()->set_value(status);
  m_send(textOf(envelope));
}

void CDeskTeller::onTradingDay(const std::string& date) {
  Envelope envelope = newEnvelope();
  envelope.set_trading_day(date);
  m_send(textOf(envelope));
}

void CDeskTeller::onStockUnitChange() {
  Envelope envelope = newEnvelope();
  envelope.set_stock_units(true);
  m_send(textOf(envelope));
}

void CDeskTeller::onSetHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam&) {
  m_commands[groupId] = commandId;
}

void CDeskTeller::onStartHedge(int groupId) {
  // Whoever comes later must not start it again.
  const auto command = m_commands.find(groupId);
  if (command == m_commands.end()) return;
  const auto place = m_places.find(hedgeName(desk::EHedgeSource::Manager, command->second));
  if (place != m_places.end()) m_standing[place->second].clear();
}

}  // namespace desklink
