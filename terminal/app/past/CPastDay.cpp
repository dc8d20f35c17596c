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
  if (const auto found = object.find(name); found != object.end()) journal::readInto(*found, value);
}

const json* listOf(const json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() ? nullptr : &*found;
}

PastParams paramsOf(const json& list) {
  PastParams params;
  for (const json& each : list) {
    ksservice::CCodeOrderParam param;
    journal::readInto(each.at(1), param.m_nType);
    journal::readInto(each.at(2), param.m_nOperation);
    journal::readInto(each.at(3), param.m_nOrderType);
    journal::readInto(each.at(4), param.m_stock.m_strMarket);
    journal::readInto(each.at(5), param.m_stock.m_strCode);
    journal::readInto(each.at(6), param.m_stock.m_strName);
    journal::readInto(each.at(7), param.m_nPriceType);
    journal::readInto(each.at(8), param.m_dPrice);
    journal::readInto(each.at(9), param.m_nVolume);
    journal::readInto(each.at(10), param.m_nHandled);
    params.emplace_back(journal::valueOf<std::string>(each.at(0)), std::move(param));
  }
  return params;
}

SPastOrder orderOf(const json& each) {
  SPastOrder order;
  journal::readInto(each.at(0), order.m_strKey);
  journal::readInto(each.at(1), order.m_strMarket);
  journal::readInto(each.at(2), order.m_strCode);
  journal::readInto(each.at(3), order.m_nOperation);
  journal::readInto(each.at(4), order.m_nVolume);
  journal::readInto(each.at(5), order.m_dPrice);
  journal::readInto(each.at(6), order.m_nSent);
  journal::readInto(each.at(7), order.m_nLine);
  return order;
}

ksservice::CBasketHedgeParam hedgeParamOf(const json& each) {
  ksservice::CBasketHedgeParam param;
  journal::readInto(each.at(3), param.m_bEnabled);
  journal::readInto(each.at(4), param.m_bHandedOver);
  journal::readInto(each.at(5), param.m_strMarket);
  journal::readInto(each.at(6), param.m_strCode);
  journal::readInto(each.at(7), param.m_strAccount);
  journal::readInto(each.at(8), param.m_nOperation);
  journal::readInto(each.at(9), param.m_nVolume);
  journal::readInto(each.at(10), param.m_dRatio);
  journal::readInto(each.at(11), param.m_nOrderLots);
  journal::readInto(each.at(12), param.m_nOrderLimit);
  journal::readInto(each.at(13), param.m_nPriceType);
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
        m_day.m_messages.push_back({journal::valueOf<std::int64_t>(each.at(0)), journal::valueOf<bool>(each.at(1)),
                                    journal::valueOf<std::string>(each.at(2))});
      }
    }
    if (const json* list = listOf(outputs, OUTPUT_WAITS)) {
      for (const json& each : *list) {
        m_day.m_waits.push_back({journal::valueOf<std::string>(each.at(0)), journal::valueOf<std::int64_t>(each.at(1)),
                                 journal::valueOf<std::int64_t>(each.at(2))});
      }
    }
  }

 private:
  void readTask(const json& each) {
    SKnown& known = m_day.m_known[each.at("key").get<std::string>()];
    journal::readInto(each.at("key"), known.m_facts.m_strKey);
    forDetailFields([&each](const char* name, auto& value) { take(each, name, value); }, known.m_facts);
    if (const json* command = listOf(each, "command")) {
      auto record = boost::make_shared<ksservice::COrderCommand>();
      forCommandFields([command](const char* name, auto& value) { take(*command, name, value); }, *record);
      known.m_facts.m_pCommand = std::move(record);
    }
    if (const json* list = listOf(each, "params")) known.m_pParams = std::make_shared<PastParams>(paramsOf(*list));
    SPastTask& task = m_day.m_tasks.emplace_back();
    journal::readInto(each.at("at"), task.m_nMsec);
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
                                  journal::valueOf<int>(report.at(1)), journal::valueOf<double>(report.at(2)),
                                  journal::valueOf<int>(report.at(3)),
                                  report.size() > 4 ? journal::valueOf<std::string>(report.at(4)) : std::string()});
      }
    }
    if (const json* list = listOf(each, "fills")) {
      for (const json& fill : *list) {
        task.m_fills.push_back({known.m_orders.at(fill.at(0).get_ref<const std::string&>()),
                                journal::valueOf<int>(fill.at(1)), journal::valueOf<int>(fill.at(2)),
                                journal::valueOf<double>(fill.at(3))});
      }
    }
  }

  void readHedge(const json& each) {
    SPastHedge& hedge = m_day.m_hedges.emplace_back();
    journal::readInto(each.at(0), hedge.m_nMsec);
    journal::readInto(each.at(1), hedge.m_strKind);
    journal::readInto(each.at(2), hedge.m_nId);
    if (hedge.m_strKind == HEDGE_OFFERED || hedge.m_strKind == HEDGE_STORED) {
      hedge.m_param = hedgeParamOf(each);
    } else {
      journal::readInto(each.at(3), hedge.m_nValue);
    }
  }

  void readQuotes(const json& list, std::int64_t msec) {
    SPastQuotes& quotes = m_day.m_quotes.emplace_back();
    quotes.m_nMsec = msec;
    for (const json& each : list) {
      desk::SQuoteUpdate update;
      journal::readInto(each.at(0), update.m_strMarket);
      journal::readInto(each.at(1), update.m_strCode);
      TC::CQuote& quote = m_day.m_knownQuotes[update.m_strMarket + "." + update.m_strCode];
      journal::readInto(each.at(2), quote.m_dLast);
      journal::readInto(each.at(3), quote.m_dBid);
      journal::readInto(each.at(4), quote.m_dAsk);
      const bool plain = each.size() == 5;
      quote.m_dCalc = plain ? quote.m_dLast : journal::valueOf<double>(each.at(5));
      quote.m_dOrder = plain ? quote.m_dLast : journal::valueOf<double>(each.at(6));
      if (!plain) journal::readInto(each.at(7), quote.m_dLimitUp);
      if (!plain) journal::readInto(each.at(8), quote.m_dLimitDown);
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
