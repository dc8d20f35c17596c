#include "past/CPastDay.h"

#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "DayOutputFields.h"
#include "JsonText.h"

namespace app {
namespace {

using nlohmann::json;

constexpr std::int64_t SECOND_MSEC = 1000;

/// One that is left out stays as it is.
template <typename Value>
void take(const json& object, const char* name, Value& value) {
  if (const auto found = object.find(name); found != object.end()) found->get_to(value);
}

const json* listOf(const json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() ? nullptr : &*found;
}

PastParams paramsOf(const json& list) {
  PastParams params;
  for (const json& each : list) {
    ksservice::CCodeOrderParam param;
    each.at(1).get_to(param.m_nType);
    each.at(2).get_to(param.m_nOperation);
    each.at(3).get_to(param.m_nOrderType);
    each.at(4).get_to(param.m_stock.m_strMarket);
    each.at(5).get_to(param.m_stock.m_strCode);
    each.at(6).get_to(param.m_stock.m_strName);
    each.at(7).get_to(param.m_nPriceType);
    each.at(8).get_to(param.m_dPrice);
    each.at(9).get_to(param.m_nVolume);
    each.at(10).get_to(param.m_nHandled);
    params.emplace_back(each.at(0).get<std::string>(), std::move(param));
  }
  return params;
}

SPastOrder orderOf(const json& each) {
  SPastOrder order;
  each.at(0).get_to(order.m_strKey);
  each.at(1).get_to(order.m_strMarket);
  each.at(2).get_to(order.m_strCode);
  each.at(3).get_to(order.m_nOperation);
  each.at(4).get_to(order.m_nVolume);
  each.at(5).get_to(order.m_dPrice);
  each.at(6).get_to(order.m_nSent);
  each.at(7).get_to(order.m_nLine);
  return order;
}

ksservice::CBasketHedgeParam hedgeParamOf(const json& each) {
  ksservice::CBasketHedgeParam param;
  each.at(3).get_to(param.m_bEnabled);
  each.at(4).get_to(param.m_bHandedOver);
  each.at(5).get_to(param.m_strMarket);
  each.at(6).get_to(param.m_strCode);
  each.at(7).get_to(param.m_strAccount);
  each.at(8).get_to(param.m_nOperation);
  each.at(9).get_to(param.m_nVolume);
  each.at(10).get_to(param.m_dRatio);
  each.at(11).get_to(param.m_nOrderLots);
  each.at(12).get_to(param.m_nOrderLimit);
  each.at(13).get_to(param.m_nPriceType);
  return param;
}

}  // namespace

/// Takes in one mark's outputs.
class CPastDay::CReader {
 public:
  explicit CReader(CPastDay& day) : m_day(day) {}

  void read(const daylog::SMark& mark) {
    const json outputs = journal::parseJson(mark.m_strOutputs);
    if (const json* list = listOf(outputs, OUTPUT_QUOTES)) readQuotes(*list, mark.m_nMsec - SECOND_MSEC);
    if (const json* list = listOf(outputs, OUTPUT_TASKS)) {
      for (const json& each : *list) readTask(each);
    }
    if (const json* list = listOf(outputs, OUTPUT_HEDGES)) {
      for (const json& each : *list) readHedge(each);
    }
    if (const json* list = listOf(outputs, OUTPUT_LOG)) {
      for (const json& each : *list) {
        m_day.m_messages.push_back(
            {each.at(0).get<std::int64_t>(), each.at(1).get<bool>(), each.at(2).get<std::string>()});
      }
    }
    if (const json* list = listOf(outputs, OUTPUT_WAITS)) {
      for (const json& each : *list) {
        m_day.m_waits.push_back(
            {each.at(0).get<std::string>(), each.at(1).get<std::int64_t>(), each.at(2).get<std::int64_t>()});
      }
    }
  }

 private:
  void readTask(const json& each) {
    SKnown& known = m_day.m_known[each.at("key").get<std::string>()];
    each.at("key").get_to(known.m_facts.m_strKey);
    forDetailFields([&each](const char* name, auto& value) { take(each, name, value); }, known.m_facts);
    if (const json* command = listOf(each, "command")) {
      auto record = boost::make_shared<ksservice::COrderCommand>();
      forCommandFields([command](const char* name, auto& value) { take(*command, name, value); }, *record);
      known.m_facts.m_pCommand = std::move(record);
    }
    if (const json* list = listOf(each, "params")) known.m_pParams = std::make_shared<PastParams>(paramsOf(*list));
    SPastTask& task = m_day.m_tasks.emplace_back();
    each.at("at").get_to(task.m_nMsec);
    task.m_facts = known.m_facts;
    task.m_pParams = known.m_pParams;
    if (const json* list = listOf(each, "sent")) {
      for (const json& order : *list) {
        task.m_sent.push_back(orderOf(order));
        known.m_orders.emplace(task.m_sent.back().m_strKey, known.m_orders.size());
      }
    }
    if (const json* list = listOf(each, "orders")) {
      for (const json& report : *list) {
        task.m_reports.push_back({known.m_orders.at(report.at(0).get_ref<const std::string&>()),
                                  report.at(1).get<int>(), report.at(2).get<double>(), report.at(3).get<int>(),
                                  report.size() > 4 ? report.at(4).get<std::string>() : std::string()});
      }
    }
    if (const json* list = listOf(each, "fills")) {
      for (const json& fill : *list) {
        task.m_fills.push_back({known.m_orders.at(fill.at(0).get_ref<const std::string&>()), fill.at(1).get<int>(),
                                fill.at(2).get<int>(), fill.at(3).get<double>()});
      }
    }
  }

  void readHedge(const json& each) {
    SPastHedge& hedge = m_day.m_hedges.emplace_back();
    each.at(0).get_to(hedge.m_nMsec);
    each.at(1).get_to(hedge.m_strKind);
    each.at(2).get_to(hedge.m_nId);
    if (hedge.m_strKind == HEDGE_OFFERED || hedge.m_strKind == HEDGE_STORED) {
      hedge.m_param = hedgeParamOf(each);
    } else {
      each.at(3).get_to(hedge.m_nValue);
    }
  }

  void readQuotes(const json& list, std::int64_t msec) {
    SPastQuotes& quotes = m_day.m_quotes.emplace_back();
    quotes.m_nMsec = msec;
    for (const json& each : list) {
      desk::SQuoteUpdate update;
      each.at(0).get_to(update.m_strMarket);
      each.at(1).get_to(update.m_strCode);
      TC::CQuote& quote = m_day.m_knownQuotes[update.m_strMarket + "." + update.m_strCode];
      each.at(2).get_to(quote.m_dLast);
      each.at(3).get_to(quote.m_dBid);
      each.at(4).get_to(quote.m_dAsk);
      const bool plain = each.size() == 5;
      quote.m_dCalc = plain ? quote.m_dLast : each.at(5).get<double>();
      quote.m_dOrder = plain ? quote.m_dLast : each.at(6).get<double>();
      if (!plain) each.at(7).get_to(quote.m_dLimitUp);
      if (!plain) each.at(8).get_to(quote.m_dLimitDown);
      update.m_quote = quote;
      quotes.m_quotes.push_back(std::move(update));
    }
  }

  CPastDay& m_day;
};

bool CPastDay::read(const daylog::IDayLog& log, std::size_t marks) {
  const std::size_t end = std::min(log.marks().size(), m_nMarks + marks);
  for (; m_nMarks < end; ++m_nMarks) {
    const daylog::SMark& mark = log.marks()[m_nMarks];
    try {
      if (!mark.m_strOutputs.empty()) CReader(*this).read(mark);
    } catch (const std::exception& fault) {
      throw std::runtime_error("the outputs of mark " + std::to_string(m_nMarks + 1) +
                               " cannot be read: " + fault.what());
    }
    m_nEnd = mark.m_nMsec;
  }
  return m_nMarks < log.marks().size();
}

}  // namespace app
