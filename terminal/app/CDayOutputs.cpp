#include "CDayOutputs.h"

#include "DayOutputFields.h"
#include "JsonAppend.h"

namespace app {
namespace {

constexpr std::int64_t QUOTES_MSEC = 60000;

void appendCommand(std::string& out, const ksservice::COrderCommand& command) {
  std::string fields;
  forCommandFields([&fields](const char* name, const auto& value) { appendField(fields, name, value); }, command);
  fields.front() = '{';
  (out += ",\"command\":").append(fields) += '}';
}

void appendParam(std::string& out, const ksservice::CCodeOrderParam& param) {
  appendArray(out, param.m_pAccount ? param.m_pAccount->getKey() : std::string(), param.m_nType, param.m_nOperation,
              param.m_nOrderType, param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_stock.m_strName,
              param.m_nPriceType, param.m_dPrice, param.m_nVolume, param.m_nHandled);
}

int stateOf(const ksservice::COrderInfo& order, const ksservice::COrderDetail* detail) {
  return (detail ? EOS_Accepted : 0) | (detail && detail->m_bCancelled ? EOS_Cancelled : 0) |
         (order.m_bCompleted ? EOS_Completed : 0) | (order.m_bHasMessage ? EOS_HasMessage : 0);
}

/// Instead of the comma behind the last item.
void close(std::string& items, char end) {
  if (!items.empty() && items.back() == ',') {
    items.back() = end;
  } else {
    items += end;
  }
}

}  // namespace

void CDayOutputs::addMessage(std::int64_t msec, bool warning, const std::string& text) {
  appendArray(m_strLog, msec, warning, text);
  m_strLog += ',';
}

void CDayOutputs::addHedge(const char* what, int id, int value) {
  appendArray(m_strHedges, now(), std::string_view(what), id, value);
  m_strHedges += ',';
}

void CDayOutputs::onHedgeState(int groupId, int status) { addHedge(HEDGE_STATE, groupId, status); }
void CDayOutputs::addHedgeVolume(int taskId, int lots) { addHedge(HEDGE_VOLUME, taskId, lots); }
void CDayOutputs::addHedgeStatus(int taskId, int status) { addHedge(HEDGE_STATUS, taskId, status); }

void CDayOutputs::onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  use(param.m_strMarket, param.m_strCode);
  appendArray(
      m_strHedges, now(), std::string_view(source == desk::EHedgeSource::Manager ? HEDGE_OFFERED : HEDGE_STORED),
      commandId, param.m_bEnabled, param.m_bHandedOver, param.m_strMarket, param.m_strCode, param.m_strAccount,
      param.m_nOperation, param.m_nVolume, param.m_dRatio, param.m_nOrderLots, param.m_nOrderLimit, param.m_nPriceType);
  m_strHedges += ',';
}

/// It comes just before its task's detail.
void CDayOutputs::onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  std::vector<int>& lines = m_tasks[detailKey].m_lines;
  while (lines.size() < progress.m_orders.size()) lines.push_back(progress.m_orders[lines.size()].m_nParamIndex);
}

void CDayOutputs::onTask(const desk::SPublication& publication) {
  STask& known = m_tasks[publication.m_pDetail->getKey()];
  addFacts(publication, known);
  addOrders(publication, known);
  if (!publication.m_fills.empty()) {
    const auto& orders =
        publication.m_pDetail->m_bServerTask ? publication.m_serverOrders : publication.m_pDetail->m_orders;
    m_strTasks += ",\"fills\":[";
    for (const desk::SOrderFill& fill : publication.m_fills) {
      appendArray(m_strTasks, orders[fill.m_nOrder]->getKey(), fill.m_nTime, fill.m_nQuantity, fill.m_dAmount);
      m_strTasks += ',';
    }
    close(m_strTasks, ']');
  }
  m_strTasks += "},";
}

/// Of a detail that follows another one what is new.
void CDayOutputs::addFacts(const desk::SPublication& publication, STask& known) {
  const ksservice::CTaskDetail& detail = *publication.m_pDetail;
  // Not the detail itself: whole ones that are kept would take the place of those that come.
  ksservice::CTaskDetail& told = known.m_told;
  m_strTasks += "{\"at\":";
  appendJson(m_strTasks, now());
  appendField(m_strTasks, "key", detail.getKey());
  forDetailFields(
      [this](const char* name, const auto& value, auto& before) {
        if (value == before) return;
        appendField(m_strTasks, name, value);
        before = value;
      },
      detail, told);
  if (detail.m_pCommand && detail.m_pCommand != told.m_pCommand) appendCommand(m_strTasks, *detail.m_pCommand);
  told.m_pCommand = detail.m_pCommand;
  if (publication.m_bSameParams || detail.m_params.empty()) return;
  m_strTasks += ",\"params\":[";
  for (const ksservice::CCodeOrderParam& param : detail.m_params) {
    use(param.m_stock.m_strMarket, param.m_stock.m_strCode);
    appendParam(m_strTasks, param);
    m_strTasks += ',';
  }
  close(m_strTasks, ']');
}

/// The changes stand in the order of the orders. An order that is over is never touched again.
void CDayOutputs::addOrders(const desk::SPublication& publication, STask& known) {
  const bool server = publication.m_pDetail->m_bServerTask;
  const auto& orders = server ? publication.m_serverOrders : publication.m_pDetail->m_orders;
  const auto& changes = server ? publication.m_serverOrderDetails : publication.m_orderDetails;
  std::string sent;
  std::string changed;
  auto change = changes.begin();
  const std::size_t old = known.m_orders.size();
  known.m_orders.resize(orders.size());
  for (std::size_t i = known.m_nOver; i < orders.size(); ++i) {
    const ksservice::COrderInfo& order = *orders[i];
    if (i == known.m_nOver && order.m_bCompleted) ++known.m_nOver;
    if (known.m_orders[i] == orders[i]) continue;
    if (i >= old) {
      const int at = i - old < publication.m_sent.size() ? publication.m_sent[i - old] : 0;
      appendArray(sent, order.getKey(), order.m_strMarket, order.m_strCode, order.m_nOperation, order.m_nVolume,
                  order.m_dPrice, at, server && i < known.m_lines.size() ? known.m_lines[i] : -1);
      sent += ',';
    }
    known.m_orders[i] = orders[i];
    const ksservice::COrderDetail* detail = nullptr;
    if (change != changes.end() && change->first == order.m_tag) detail = (change++)->second.get();
    if (!detail && i >= old && !order.m_bCompleted && order.m_nTradedVolume == 0) continue;
    appendArray(changed, order.getKey(), order.m_nTradedVolume, order.m_dTradedAmount, stateOf(order, detail));
    if (!order.m_strMessage.empty()) {
      changed.back() = ',';
      appendJson(changed, order.m_strMessage);
      changed += ']';
    }
    changed += ',';
  }
  if (!sent.empty()) close(m_strTasks.append(",\"sent\":[").append(sent), ']');
  if (!changed.empty()) close(m_strTasks.append(",\"orders\":[").append(changed), ']');
}

void CDayOutputs::use(const std::string& market, const std::string& code) {
  if (!code.empty() && m_usedNames.emplace(market, code).second) m_used.push_back({market, code, {}});
}

/// Of what has come into use at once, of everything once a minute. What hangs on the day or on the last price follows
/// only where it has changed otherwise.
void CDayOutputs::addQuotes(std::int64_t msec) {
  for (std::size_t i = msec % QUOTES_MSEC == 0 ? 0 : m_nQuoted; i < m_used.size(); ++i) {
    SUsed& used = m_used[i];
    TC::CQuote quote;
    if (!m_desk.quote(used.m_strMarket, used.m_strCode, quote)) continue;
    const TC::CQuote& told = used.m_told;
    const bool plain = quote.m_dCalc == quote.m_dLast && quote.m_dOrder == quote.m_dLast &&
                       quote.m_dLimitUp == told.m_dLimitUp && quote.m_dLimitDown == told.m_dLimitDown;
    if (!plain) {
      appendArray(m_strQuotes, used.m_strMarket, used.m_strCode, quote.m_dLast, quote.m_dBid, quote.m_dAsk,
                  quote.m_dCalc, quote.m_dOrder, quote.m_dLimitUp, quote.m_dLimitDown);
    } else if (quote.m_dLast != told.m_dLast || quote.m_dBid != told.m_dBid || quote.m_dAsk != told.m_dAsk) {
      appendArray(m_strQuotes, used.m_strMarket, used.m_strCode, quote.m_dLast, quote.m_dBid, quote.m_dAsk);
    } else {
      continue;
    }
    m_strQuotes += ',';
    used.m_told = quote;
  }
  m_nQuoted = m_used.size();
}

void CDayOutputs::addWaits() {
  for (const engine::SOrderWait& wait : m_simulation->engine().router().rates().takeWaits()) {
    appendArray(m_strWaits, wait.m_strAccount, wait.m_nFrom, wait.m_nUntil);
    m_strWaits += ',';
  }
}

std::string CDayOutputs::take(std::int64_t msec) {
  addQuotes(msec);
  addWaits();
  std::string text;
  for (auto& [name, items] : {std::pair<const char*, std::string&>(OUTPUT_TASKS, m_strTasks),
                              {OUTPUT_HEDGES, m_strHedges},
                              {OUTPUT_QUOTES, m_strQuotes},
                              {OUTPUT_LOG, m_strLog},
                              {OUTPUT_WAITS, m_strWaits}}) {
    if (items.empty()) continue;
    close(items, ']');
    text.append(text.empty() ? "{\"" : ",\"").append(name).append("\":[").append(items);
    items.clear();
  }
  if (!text.empty()) text += '}';
  return text;
}

}  // namespace app
