#include "CDeskMirror.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "CHostServices.h"
#include "Envelope.h"
#include "WireRecord.h"

namespace desklink {

using ETaken = CDeskMirror::ETaken;
using v1::Envelope;

ETaken CDeskMirror::take(const std::string& message) {
  Envelope envelope;
  if (!envelope.ParseFromString(message) || envelope.version() == 0) return ETaken::Malformed;
  if (envelope.version() > WIRE_VERSION) return ETaken::Newer;
  return takeBody(envelope);
}

ETaken CDeskMirror::takeBody(const Envelope& envelope) {
  switch (envelope.body_case()) {
    case Envelope::kSession:
      return takeSession(envelope);
    case Envelope::kAccount:
      return takeAccount(envelope);
    case Envelope::kInstrument:
      return takeInstrument(envelope);
    case Envelope::kQuote:
      return takeQuote(envelope);
    case Envelope::kCommand:
      return takeCommand(envelope);
    case Envelope::kCommandHedge:
      return takeHedge(envelope);
    case Envelope::kHedgeState:
      m_desk.setHedgeState(envelope.hedge_state().id(), envelope.hedge_state().value());
      return ETaken::Taken;
    case Envelope::kHedgeVolume:
      m_services.announceHedgeVolume(envelope.hedge_volume().id(), envelope.hedge_volume().value());
      return ETaken::Taken;
    case Envelope::kHedgeStatus:
      m_services.announceHedgeStatus(envelope.hedge_status().id(), envelope.hedge_status().value());
      return ETaken::Taken;
    case Envelope::kProgress:
      return takeProgress(envelope);
    case Envelope::kDetail:
      return takeDetail(envelope.detail());
    case Envelope::kTradingDay:
      m_services.announceTradingDay(envelope.trading_day());
      return ETaken::Taken;
    case Envelope::kStockUnits:
      m_services.announceStockUnitChange();
      return ETaken::Taken;
    case Envelope::BODY_NOT_SET:
      break;
  }
  // A kind that came later, of the same version: who does not know it needs none of it.
  return ETaken::Newer;
}

ETaken CDeskMirror::takeSession(const Envelope& envelope) {
  const v1::Session& message = envelope.session();
  desk::SSession session;
  readDifference(message, session);
  readDifference(message.settings(), session.m_settings);
  for (const v1::TradeSetting& setting : message.settings().trade_settings()) {
    session.m_settings.m_tradeSettings[setting.number()] = setting.value();
  }
  session.m_timeZone = QTimeZone(QByteArray::fromStdString(message.time_zone()));
  if (!session.m_timeZone.isValid()) return ETaken::Malformed;
  m_desk.setSession(session);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeAccount(const Envelope& envelope) {
  auto info = boost::make_shared<ksservice::CAccountInfo>();
  readDifference(envelope.account().account(), *info);
  desk::SAccount account;
  readDifference(envelope.account(), account);
  account.m_pInfo = std::move(info);
  m_desk.addAccount(account);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeInstrument(const Envelope& envelope) {
  const v1::Instrument& message = envelope.instrument();
  TC::CCodeInfo info;
  readDifference(message, info);
  info.m_types.assign(message.types().begin(), message.types().end());
  info.m_marketPriceTypes.assign(message.market_price_types().begin(), message.market_price_types().end());
  m_desk.setInstrument(info);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeQuote(const Envelope& envelope) {
  TC::CQuote quote;
  readDifference(envelope.quote(), quote);
  m_desk.setQuote(envelope.quote().market(), envelope.quote().code(), quote);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeCommand(const Envelope& envelope) {
  auto command = boost::make_shared<ksservice::COrderCommand>();
  readDifference(envelope.command(), *command);
  m_desk.setCommand(command);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeHedge(const Envelope& envelope) {
  const v1::CommandHedge& message = envelope.command_hedge();
  ksservice::CBasketHedgeParam param;
  readDifference(message.param(), param);
  m_desk.setHedgeParam(message.stored() ? desk::EHedgeSource::Stored : desk::EHedgeSource::Manager,
                       message.command_id(), param);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeProgress(const Envelope& envelope) {
  TC::CTaskProgress progress;
  for (const v1::ProgressOrder& message : envelope.progress().orders()) {
    TC::CProgressOrder& order = progress.m_orders.emplace_back();
    order.m_strMapKey = message.map_key();
    readDifference(message.detail(), order.m_detail);
    order.m_nParamIndex = message.param_index();
  }
  m_desk.setProgress(envelope.progress().detail_key(), progress);
  return ETaken::Taken;
}

ETaken CDeskMirror::takeDetail(const v1::DetailUpdate& update) {
  CDetailState& state = m_details[update.key()];
  // All of it, of a state that has been passed, would take newer fills away; the same state does no harm.
  const bool old = update.whole() ? update.sequence() < state.sequence() : update.sequence() <= state.sequence();
  if (old) return ETaken::Known;
  desk::SPublication publication;
  if (!state.read(update, publication)) {
    state = CDetailState();
    m_strGap = update.key();
    return ETaken::Gap;
  }
  m_desk.publishTask(publication);
  return ETaken::Taken;
}

}  // namespace desklink
