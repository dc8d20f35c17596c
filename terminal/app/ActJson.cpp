#include "ActJson.h"

#include <array>
#include <boost/make_shared.hpp>
#include <utility>

#include "Archive.h"
#include "JsonText.h"
#include "RecordFields.h"

namespace app {
namespace {

using journal::CLineFault;
using journal::CReadArchive;
using journal::CWriteArchive;
using journal::STaskParam;

const char* const ACTS_LINE = "actsLine";

// What names accounts by pointers names them by their keys in the text.

struct SPartRecord {
  std::string m_strAccount;
  std::vector<engine::SOrderLine> m_lines;
};
struct SBasketRecord {
  static constexpr const char* KIND = "basket";
  engine::SBasketOrder m_basket;  ///< without accounts and parts
  std::vector<std::string> m_accounts;
  std::vector<SPartRecord> m_parts;
  std::string m_strAlgo;
};
struct SCreateRecord {
  static constexpr const char* KIND = "create";
  desk::SCreateRequest m_request;  ///< without its parameters
  std::vector<STaskParam> m_params;
  std::string m_strProof;
};

constexpr auto LINE_FIELDS = [](auto& a, engine::SOrderLine& line) {
  const engine::SOrderLine usual;
  a.required("market", line.m_stock.m_strMarket);
  a.required("code", line.m_stock.m_strCode);
  a.optional("name", line.m_stock.m_strName);
  a.required("operation", line.m_nOperation);
  a.required("quantity", line.m_nQuantity);
  a.optional("reference", line.m_dReference);
  a.optional("priceType", line.m_nPriceType, usual.m_nPriceType);
  a.optional("ownPrice", line.m_bOwnPrice);
  a.optional("pricedByType", line.m_bPricedByType);
  a.optional("offsetTicks", line.m_nOffsetTicks);
};

constexpr auto HEDGE_FIELDS = [](auto& a, ksservice::CBasketHedgeParam& hedge) {
  a.optional("enabled", hedge.m_bEnabled);
  a.optional("market", hedge.m_strMarket);
  a.optional("code", hedge.m_strCode);
  a.optional("account", hedge.m_strAccount);
  a.required("operation", hedge.m_nOperation);
  a.optional("volume", hedge.m_nVolume);
  journal::hedgeSettingFields(a, hedge);
};

template <typename Archive>
void fields(Archive& a, SBasketRecord& record) {
  a.required("name", record.m_basket.m_strName);
  a.optional("text", record.m_basket.m_strText);
  a.optional("accounts", record.m_accounts);
  a.list("lines", record.m_basket.m_lines, LINE_FIELDS);
  a.list("parts", record.m_parts, [](auto& inner, SPartRecord& part) {
    inner.required("account", part.m_strAccount);
    inner.list("lines", part.m_lines, LINE_FIELDS);
  });
  a.optional("algo", record.m_strAlgo);
  a.object("hedge", record.m_basket.m_hedge, HEDGE_FIELDS);
}

template <typename Archive>
void fields(Archive& a, SCreateRecord& record) {
  desk::SCreateRequest& request = record.m_request;
  journal::commandFields(a, request.m_command);
  a.optional("type", request.m_command.m_nType);
  a.list("params", record.m_params, [](auto& inner, STaskParam& each) { journal::paramFields(inner, each); });
  a.optional("asTraderType", request.m_nTraderType);
  a.optional("hedgeType", request.m_nHedgeType);
  a.optional("ofTask", request.m_nTaskId);
  a.optional("proof", record.m_strProof);
}

template <typename Archive>
void fields(Archive& a, engine::SOperateServerTask& act) {
  a.required("task", act.m_strTaskKey);
  a.required("operation", act.m_nOperation);
}

template <typename Archive>
void fields(Archive& a, engine::SQueryProcess& act) {
  a.required("tasks", act.m_taskKeys);
}

template <typename Archive>
void fields(Archive& a, engine::SOperateTask& act) {
  a.required("task", act.m_nTaskId);
  a.required("account", act.m_strAccount);
  a.required("operation", act.m_nOperation);
}

template <typename Archive>
void fields(Archive& a, engine::SCancelOrders& act) {
  a.required("detail", act.m_strDetailKey);
  a.required("orders", act.m_orderKeys);
}

template <typename Archive>
void fields(Archive& a, engine::SSetHedge& act) {
  a.required("group", act.m_nGroupId);
  a.required("command", act.m_nCommandId);
  HEDGE_FIELDS(a, act.m_param);
}

template <typename Archive>
void fields(Archive& a, engine::SSteerHedge& act) {
  a.required("group", act.m_nGroupId);
  a.choice("act", act.m_eAct, hedgeActNames());
}

// Most acts are their own record.

const char* kindOf(const engine::SOperateServerTask&) { return "operateServer"; }
const char* kindOf(const engine::SQueryProcess&) { return "query"; }
const char* kindOf(const engine::SOperateTask&) { return "operate"; }
const char* kindOf(const engine::SCancelOrders&) { return "cancel"; }
const char* kindOf(const engine::SSetHedge&) { return "setHedge"; }
const char* kindOf(const engine::SSteerHedge&) { return "hedge"; }
template <typename Record>
const char* kindOf(const Record&) {
  return Record::KIND;
}

template <typename Act>
Act toRecord(const Act& act) {
  return act;
}

SBasketRecord toRecord(const engine::SStartBasket& act) {
  SBasketRecord record{act.m_basket, {}, {}, act.m_basket.m_algo ? act.m_basket.m_algo->format() : std::string()};
  for (const auto& account : act.m_basket.m_accounts) record.m_accounts.push_back(account->getKey());
  for (const engine::SAccountLines& part : act.m_basket.m_parts) {
    record.m_parts.push_back({part.m_pAccount->getKey(), part.m_lines});
  }
  return record;
}

SCreateRecord toRecord(const engine::SCreateTask& act) {
  SCreateRecord record{act.m_request, {}, act.m_strProof};
  for (const ksservice::CCodeOrderParam& param : act.m_request.m_params) {
    record.m_params.push_back({param.m_pAccount ? param.m_pAccount->getKey() : std::string(), param});
  }
  return record;
}

boost::shared_ptr<ksservice::CAccountInfo> accountOf(const std::string& key, const desk::CDesk& desk) {
  desk::SAccount account;
  if (!desk.findAccount(key, account)) throw CLineFault("account \"" + key + "\" is unknown");
  // The basket's field is not const, though nobody changes an account.
  return boost::const_pointer_cast<ksservice::CAccountInfo>(account.m_pInfo);
}

template <typename Act>
Act fromRecord(Act&& act, const desk::CDesk&) {
  return std::forward<Act>(act);
}

engine::SStartBasket fromRecord(SBasketRecord&& record, const desk::CDesk& desk) {
  engine::SStartBasket act{std::move(record.m_basket)};
  for (const std::string& key : record.m_accounts) act.m_basket.m_accounts.push_back(accountOf(key, desk));
  for (SPartRecord& part : record.m_parts) {
    act.m_basket.m_parts.push_back({accountOf(part.m_strAccount, desk), std::move(part.m_lines)});
  }
  if (!record.m_strAlgo.empty()) {
    const std::string fault = TC::SAlgoParams::parse(record.m_strAlgo, act.m_basket.m_algo.emplace());
    if (!fault.empty()) throw CLineFault("field \"algo\": " + fault);
  }
  if (act.m_basket.m_accounts.empty() && act.m_basket.m_parts.empty()) throw CLineFault("no account is named");
  return act;
}

engine::SCreateTask fromRecord(SCreateRecord&& record, const desk::CDesk& desk) {
  engine::SCreateTask act{std::move(record.m_request), std::move(record.m_strProof)};
  act.m_request.m_command.m_strKey =
      ksservice::COrderCommand::genKey(act.m_request.m_command.m_nCommandId, act.m_request.m_command.m_nNumber);
  for (STaskParam& each : record.m_params) {
    if (!each.m_strAccount.empty()) each.m_param.m_pAccount = accountOf(each.m_strAccount, desk);
    act.m_request.m_params.push_back(std::move(each.m_param));
  }
  return act;
}

template <typename Record>
engine::Act read(const CReadArchive& archive, const desk::CDesk& desk) {
  Record record;
  fields(archive, record);
  return fromRecord(std::move(record), desk);
}

using Reader = engine::Act (*)(const CReadArchive& archive, const desk::CDesk& desk);

template <typename Record>
std::pair<std::string, Reader> reader() {
  return {kindOf(Record()), &read<Record>};
}

Reader readerOf(const std::string& kind) {
  static const std::array READERS{
      reader<SBasketRecord>(),         reader<SCreateRecord>(),        reader<engine::SOperateServerTask>(),
      reader<engine::SQueryProcess>(), reader<engine::SOperateTask>(), reader<engine::SCancelOrders>(),
      reader<engine::SSetHedge>(),     reader<engine::SSteerHedge>()};
  for (const auto& [name, read] : READERS) {
    if (name == kind) return read;
  }
  throw CLineFault("kind \"" + kind + "\" is unknown");
}

}  // namespace

const journal::Names<engine::EHedgeAct>& hedgeActNames() {
  static const journal::Names<engine::EHedgeAct> NAMES{
      {engine::EHedgeAct::Start, "start"}, {engine::EHedgeAct::Pause, "pause"}, {engine::EHedgeAct::Stop, "stop"}};
  return NAMES;
}

int actsLineOf(const std::string& body) {
  const nlohmann::json json = journal::tryParseJson(body);
  return json.is_object() ? json.value(ACTS_LINE, 0) : 0;
}

SActText toText(const engine::Act& act, int actsLine) {
  return std::visit(
      [actsLine](const auto& each) {
        auto record = toRecord(each);
        nlohmann::ordered_json body = nlohmann::ordered_json::object();
        CWriteArchive archive(body);
        fields(archive, record);
        archive.optional(ACTS_LINE, actsLine);
        return SActText{kindOf(record), body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
      },
      act);
}

std::optional<engine::Act> toAct(const SActText& text, const desk::CDesk& desk, std::string& fault) {
  try {
    const nlohmann::json body = journal::parseJson(text.m_strBody);
    return readerOf(text.m_strKind)(CReadArchive(body), desk);
  } catch (const std::exception& error) {
    fault = error.what();
    return std::nullopt;
  }
}

}  // namespace app
