// The fields of every kind of line, each described once for reading and for writing.
#include "Archive.h"
#include "JsonText.h"
#include "RecordFields.h"

namespace journal {
namespace {

using ksservice::UNSET_INT;

const Names<desk::EVia> VIAS = {
    {desk::EVia::Feed, "feed"}, {desk::EVia::Signal, "signal"}, {desk::EVia::Store, "store"}};
const Names<desk::EHedgeSource> HEDGE_SOURCES = {{desk::EHedgeSource::Manager, "manager"},
                                                 {desk::EHedgeSource::Stored, "stored"}};
const Names<EHostAct> HOST_ACTS = {{EHostAct::SetParam, "setParam"},
                                   {EHostAct::SetTradeType, "setTradeType"},
                                   {EHostAct::SetUiLock, "setUiLock"},
                                   {EHostAct::PrepareActive, "prepareActive"},
                                   {EHostAct::RequestAccount, "requestAccount"},
                                   {EHostAct::LoadAccountGroupSettings, "loadAccountGroupSettings"},
                                   {EHostAct::Patch, "patch"}};
const Names<EUserAct> USER_ACTS = {{EUserAct::ToolBar, "toolbar"}, {EUserAct::FilterFinished, "filterFinished"},
                                   {EUserAct::Button, "button"},   {EUserAct::DoubleClick, "doubleClick"},
                                   {EUserAct::Click, "click"},     {EUserAct::Key, "key"},
                                   {EUserAct::Expand, "expand"},   {EUserAct::Collapse, "collapse"},
                                   {EUserAct::Export, "export"},   {EUserAct::Copy, "copy"},
                                   {EUserAct::Event, "event"},     {EUserAct::Dialog, "dialog"}};
const Names<EDialogAct> DIALOG_ACTS = {{EDialogAct::Press, "press"}, {EDialogAct::Check, "check"},
                                       {EDialogAct::Edit, "edit"},   {EDialogAct::Dump, "dump"},
                                       {EDialogAct::Close, "close"}, {EDialogAct::Play, "play"}};

void readZone(const CReadArchive& archive, QTimeZone& zone) {
  std::string id;
  archive.optional("timeZone", id, std::string("UTC"));
  zone = QTimeZone(QByteArray::fromStdString(id));
  if (!zone.isValid()) archive.fail("timeZone", "'" + id + "' is no time zone");
}

void readZone(CWriteArchive& archive, const QTimeZone& zone) {
  archive.optional("timeZone", zone.id().toStdString(), std::string("UTC"));
}

void checkVersion(const CReadArchive& archive, int version) {
  if (version != JOURNAL_VERSION) archive.fail("version", "must be " + std::to_string(JOURNAL_VERSION));
}

void checkVersion(const CWriteArchive&, int) {}

template <typename Archive>
void fields(Archive& a, SSessionLine& line) {
  desk::SSession& session = line.m_session;
  a.required("version", line.m_nVersion);
  checkVersion(a, line.m_nVersion);
  a.optional("user", session.m_strUser);
  a.optional("login", session.m_strLogin);
  a.optional("traderType", session.m_nTraderType);
  a.optional("now", session.m_nNow);
  readZone(a, session.m_timeZone);
  std::optional<desk::SSettings> settings = session.m_settings;
  a.object("settings", settings, [](auto& inner, desk::SSettings& each) {
    inner.optional("hasRevokeTask", each.m_bHasRevokeTask, true);
    inner.optional("hasUpStopPrice", each.m_bHasUpStopPrice, true);
    inner.optional("rawQuantity", each.m_bRawQuantity);
    inner.optional("quietActivation", each.m_bQuietActivation);
    inner.optional("orderSetting", each.m_strOrderSetting);
  });
  session.m_settings = settings.value_or(desk::SSettings());
}

template <typename Archive>
void fields(Archive& a, SAccountLine& line) {
  a.required("key", line.m_info.m_strKey);
  a.optional("type", line.m_info.m_nType);
  a.optional("displayId", line.m_info.m_strDisplayId);
  a.optional("name", line.m_info.m_strName);
  a.optional("configured", line.m_account.m_bConfigured, true);
  a.optional("loginReady", line.m_account.m_bLoginReady, true);
  a.optional("filtered", line.m_account.m_bFiltered);
  a.optional("brokerMatches", line.m_account.m_bBrokerMatches, true);
}

template <typename Archive>
void fields(Archive& a, SInstrumentLine& line) {
  TC::CCodeInfo& info = line.m_info;
  a.required("market", info.m_strMarket);
  a.required("code", info.m_strCode);
  a.optional("name", info.m_strName);
  a.optional("pinyin", info.m_strPinyin);
  a.optional("multiplier", info.m_dMultiplier, 1.0);
  a.optional("types", info.m_types);
  a.optional("special", info.m_bSpecial);
  a.optional("tradeMinUnit", info.m_nTradeMinUnit, 1);
  a.optional("uiMinUnit", info.m_nUiMinUnit, 1);
  a.optional("tradeUnit", info.m_nTradeUnit, 1);
  a.optional("marketPriceTypes", info.m_marketPriceTypes);
}

template <typename Archive>
void fields(Archive& a, SQuoteLine& line) {
  a.required("market", line.m_strMarket);
  a.required("code", line.m_strCode);
  a.optional("last", line.m_dLast);
  a.optional("bid", line.m_dBid);
  a.optional("ask", line.m_dAsk);
  a.optional("calc", line.m_dCalc);
  a.optional("order", line.m_dOrder);
  a.optional("limitUp", line.m_dLimitUp);
  a.optional("limitDown", line.m_dLimitDown);
}

template <typename Archive>
void fields(Archive& a, SCommandLine& line) {
  commandFields(a, line.m_command);
  a.optional("type", line.m_command.m_nType);
}

template <typename Archive>
void fields(Archive& a, SHedgeParamLine& line) {
  a.required("command", line.m_nCommand);
  a.choice("where", line.m_eWhere, HEDGE_SOURCES);
  a.optional("enabled", line.m_param.m_bEnabled);
  a.optional("market", line.m_param.m_strMarket);
  a.optional("code", line.m_param.m_strCode);
  a.optional("account", line.m_param.m_strAccount);
  a.optional("operation", line.m_param.m_nOperation);
  a.optional("volume", line.m_param.m_nVolume);
  hedgeSettingFields(a, line.m_param);
}

template <typename Archive>
void fields(Archive& a, SHedgeStateLine& line) {
  a.required("group", line.m_nGroup);
  a.required("status", line.m_nStatus);
}

template <typename Archive>
void orderFields(Archive& a, STaskOrder& each) {
  ksservice::COrderInfo& order = each.m_order;
  a.required("key", order.m_strKey);
  std::string tag = order.m_tag.text();
  a.optional("tag", tag, order.m_strKey);
  order.m_tag = ksservice::CMavOrderTag(tag);
  a.optional("market", order.m_strMarket);
  a.optional("code", order.m_strCode);
  a.optional("operation", order.m_nOperation);
  a.optional("volume", order.m_nVolume);
  a.optional("traded", order.m_nTradedVolume);
  a.optional("price", order.m_dPrice);
  a.optional("amount", order.m_dTradedAmount);
  std::optional<std::string> message;
  if (order.m_bHasMessage) message = order.m_strMessage;
  a.optional("message", message);
  order.m_bHasMessage = message.has_value();
  order.m_strMessage = message.value_or(std::string());
  a.optional("completed", order.m_bCompleted);
  // A detail that says nothing of its own has traded what its order has.
  a.object("detail", each.m_detail, [&order](auto& inner, ksservice::COrderDetail& detail) {
    inner.optional("cancelled", detail.m_bCancelled);
    inner.optional("market", detail.m_strMarket, order.m_strMarket);
    inner.optional("code", detail.m_strCode, order.m_strCode);
    inner.optional("traded", detail.m_nTradedVolume, order.m_nTradedVolume);
    inner.optional("amount", detail.m_dTradedAmount, order.m_dTradedAmount);
  });
}

template <typename Archive>
void fields(Archive& a, STaskLine& line) {
  ksservice::CTaskDetail& detail = line.m_detail;
  a.choice("via", line.m_eVia, VIAS);
  a.optional("key", line.m_strKey);
  a.optional("id", line.m_nId);
  a.optional("number", detail.m_nNumber);
  a.optional("businessNumber", detail.m_nBusinessNumber, UNSET_INT);
  a.optional("status", detail.m_nStatus);
  a.optional("message", detail.m_strMessage);
  a.optional("startTime", detail.m_nStartTime, UNSET_INT);
  a.optional("endTime", detail.m_nEndTime, UNSET_INT);
  a.optional("server", detail.m_bServerTask);
  a.optional("instance", detail.m_strInstance);
  a.object("command", line.m_command, [](auto& inner, STaskCommand& command) {
    commandFields(inner, command.m_command);
    inner.optional("type", command.m_nType);
  });
  a.optional("unknown", line.m_bUnknown);
  a.list("params", line.m_params, [](auto& inner, STaskParam& each) { paramFields(inner, each); });
  a.list("orders", line.m_orders, [](auto& inner, STaskOrder& each) { orderFields(inner, each); });
}

template <typename Archive>
void fields(Archive& a, SProgressLine& line) {
  a.required("task", line.m_strTask);
  a.optional("partial", line.m_bPartial);
  a.list("orderDetails", line.m_progress.m_orders, [&line](auto& inner, TC::CProgressOrder& each) {
    if (line.m_bPartial) {
      inner.required("key", each.m_detail.m_strKey);
    } else {
      inner.optional("key", each.m_detail.m_strKey);
    }
    inner.optional("mapKey", each.m_strMapKey);
    inner.optional("market", each.m_detail.m_strMarket);
    inner.optional("code", each.m_detail.m_strCode);
    inner.optional("traded", each.m_detail.m_nTradedVolume);
    inner.optional("amount", each.m_detail.m_dTradedAmount);
    inner.optional("cancelled", each.m_detail.m_bCancelled);
    inner.optional("param", each.m_nParamIndex);
  });
}

template <typename Archive>
void fields(Archive& a, SHedgeVolumeLine& line) {
  a.required("task", line.m_nTask);
  a.required("volume", line.m_nVolume);
}

template <typename Archive>
void fields(Archive& a, SHedgeStatusLine& line) {
  a.required("task", line.m_nTask);
  a.required("status", line.m_nStatus);
}

template <typename Archive>
void fields(Archive& a, STradingDayLine& line) {
  a.required("date", line.m_strDate);
}

template <typename Archive>
void fields(Archive&, SStockUnitChangeLine&) {}
template <typename Archive>
void fields(Archive&, SOpenLine&) {}
template <typename Archive>
void fields(Archive&, SCloseLine&) {}
template <typename Archive>
void fields(Archive&, SRefreshLine&) {}

template <typename Archive>
void fields(Archive& a, SServerReplyLine& line) {
  a.optional("error", line.m_strError);
  a.optional("document", line.m_document);
}

template <typename Archive>
void fields(Archive& a, SCreateReplyLine& line) {
  a.optional("error", line.m_strError);
  a.optional("taskId", line.m_nTaskId);
}

template <typename Archive>
void fields(Archive& a, SOrderProcessLine& line) {
  a.optional("data", line.m_data);
  a.optional("error", line.m_strError);
  a.optional("document", line.m_document);
}

template <typename Archive>
void fields(Archive& a, SHostLine& line) {
  a.choice("do", line.m_eAct, HOST_ACTS);
  switch (line.m_eAct) {
    case EHostAct::SetParam:
      return a.required("text", line.m_strText);
    case EHostAct::SetTradeType:
      return a.required("traderType", line.m_nTraderType);
    case EHostAct::SetUiLock:
      return a.required("on", line.m_bOn);
    case EHostAct::RequestAccount:
      return a.required("account", line.m_strAccount);
    case EHostAct::Patch:
      a.required("row", line.m_strRow);
      return a.optional("priceType", line.m_nPriceType);
    case EHostAct::PrepareActive:
    case EHostAct::LoadAccountGroupSettings:
      return;
  }
}

template <typename Archive>
void dialogActFields(Archive& a, SDialogAct& act) {
  a.alternative(act.m_eAct, DIALOG_ACTS);
  switch (act.m_eAct) {
    case EDialogAct::Press:
      return a.required("press", act.m_strName);
    case EDialogAct::Check:
      a.required("check", act.m_strName);
      return a.required("on", act.m_bOn);
    case EDialogAct::Edit:
      a.required("edit", act.m_strName);
      return a.required("text", act.m_strText);
    case EDialogAct::Dump:
      return a.required("dump", act.m_strName);
    case EDialogAct::Close:
      return a.required("close", act.m_bOn);
    case EDialogAct::Play:
      return a.required("play", act.m_nLines);
  }
}

template <typename Archive>
void fields(Archive& a, SUserLine& line) {
  a.choice("do", line.m_eAct, USER_ACTS);
  switch (line.m_eAct) {
    case EUserAct::ToolBar:
      return a.required("id", line.m_nId);
    case EUserAct::FilterFinished:
      return a.required("on", line.m_bOn);
    case EUserAct::Button:
      a.required("row", line.m_strRow);
      return a.required("id", line.m_nId);
    case EUserAct::DoubleClick:
      return a.required("column", line.m_nColumn);
    case EUserAct::Click:
      a.required("row", line.m_strRow);
      return a.required("column", line.m_nColumn);
    case EUserAct::Key:
      return a.required("keys", line.m_strKeys);
    case EUserAct::Expand:
    case EUserAct::Collapse:
      return a.required("row", line.m_strRow);
    case EUserAct::Export:
      return a.required("file", line.m_strFile);
    case EUserAct::Copy:
      return;
    case EUserAct::Event:
      a.required("event", line.m_nEvent);
      a.optional("id", line.m_nId);
      a.optional("text", line.m_strText);
      return a.optional("task", line.m_nTask);
    case EUserAct::Dialog:
      return a.list("acts", line.m_acts, [](auto& inner, SDialogAct& act) { dialogActFields(inner, act); });
  }
}

template <typename Archive>
void fields(Archive& a, SDumpLine& line) {
  a.required("name", line.m_strName);
}

using BodyParser = SLine::Body (*)(const CReadArchive&);

template <typename Body>
SLine::Body parseBody(const CReadArchive& archive) {
  Body body;
  fields(archive, body);
  return body;
}

/// One parser for each kind, in the order of the variant.
template <typename... Bodies>
std::map<std::string, BodyParser> makeParsers(const std::variant<Bodies...>*) {
  return {{Bodies::KIND, &parseBody<Bodies>}...};
}

BodyParser parserOf(const std::string& kind) {
  static const std::map<std::string, BodyParser> parsers = makeParsers(static_cast<const SLine::Body*>(nullptr));
  const auto found = parsers.find(kind);
  if (found != parsers.end()) return found->second;
  throw CLineFault("unknown kind '" + kind + "'");
}

template <typename Archive>
void commonFields(Archive& a, SLine& line) {
  a.optional("t", line.m_nT);
  // The time of a session line is the session's own.
  if (!std::holds_alternative<SSessionLine>(line.m_body)) a.optional("now", line.m_nNow);
}

}  // namespace

int STaskLine::taskIdentifier() const {
  if (m_nId) return *m_nId;
  const bool hedge = m_command && m_command->m_command.m_nBasketType == ksservice::ECBT_Hedge;
  if (hedge) return UNSET_INT;
  return m_command ? m_command->m_command.m_nTaskId : 0;
}

std::variant<SLine, std::string> parseLine(const std::string& text) {
  try {
    const nlohmann::json json = parseObject(text);
    const CReadArchive archive(json);
    std::string kind;
    archive.required("kind", kind);
    SLine line;
    line.m_body = parserOf(kind)(archive);
    commonFields(archive, line);
    return line;
  } catch (const CLineFault& fault) {
    return std::string(fault.what());
  }
}

std::string writeLine(SLine line) {
  CWriteArchive::Json json = CWriteArchive::Json::object();
  CWriteArchive archive(json);
  std::visit([&](auto& body) { json["kind"] = std::decay_t<decltype(body)>::KIND; }, line.m_body);
  commonFields(archive, line);
  std::visit([&](auto& body) { fields(archive, body); }, line.m_body);
  return json.dump(-1, ' ', false, CWriteArchive::Json::error_handler_t::replace);
}

}  // namespace journal
