#include "LineRecords.h"

#include <boost/make_shared.hpp>
#include <unordered_map>

namespace journal {
namespace {

using ksservice::CTaskDetail;

boost::shared_ptr<ksservice::COrderCommand> toCommand(const STaskCommand& line, const desk::CDesk& desk) {
  auto command = boost::make_shared<ksservice::COrderCommand>(line.m_command);
  const auto known = desk.command(command->m_nCommandId);
  command->m_nType = line.m_nType.value_or(known ? known->m_nType : 0);
  command->m_strKey = ksservice::COrderCommand::genKey(command->m_nCommandId, command->m_nNumber);
  return command;
}

ksservice::CCodeOrderParam toParam(const STaskParam& line, const desk::CDesk& desk) {
  ksservice::CCodeOrderParam param = line.m_param;
  desk::SAccount account;
  if (desk.findAccount(line.m_strAccount, account)) {
    // The record's field is not const, though nobody changes an account.
    param.m_pAccount = boost::const_pointer_cast<ksservice::CAccountInfo>(account.m_pInfo);
  }
  return param;
}

desk::OrderDetailEntry toOrderDetail(const STaskOrder& line) {
  if (!line.m_detail) return {line.m_order.m_tag, nullptr};
  auto detail = boost::make_shared<ksservice::COrderDetail>(*line.m_detail);
  detail->m_strKey = line.m_order.getKey();
  return {line.m_order.m_tag, detail};
}

}  // namespace

desk::SPublication toPublication(const STaskLine& line, const desk::CDesk& desk) {
  desk::SPublication publication;
  auto detail = boost::make_shared<CTaskDetail>(line.m_detail);
  detail->m_nTaskId = line.taskIdentifier();
  detail->m_strKey = line.m_strKey.empty() ? CTaskDetail::genKey(detail->m_nTaskId, detail->m_nNumber) : line.m_strKey;
  if (line.m_command) detail->m_pCommand = toCommand(*line.m_command, desk);
  for (const STaskParam& each : line.m_params) detail->m_params.push_back(toParam(each, desk));
  for (const STaskOrder& each : line.m_orders) {
    detail->m_orders.push_back(boost::make_shared<ksservice::COrderInfo>(each.m_order));
    publication.m_orderDetails.push_back(toOrderDetail(each));
  }
  publication.m_pDetail = detail;
  publication.m_eVia = line.m_eVia;
  publication.m_bCommandKnown = !line.m_bUnknown;
  return publication;
}

STaskLine toTaskLine(const desk::SPublication& publication, const desk::CDesk& desk) {
  const CTaskDetail& detail = *publication.m_pDetail;
  STaskLine line;
  line.m_eVia = publication.m_eVia;
  line.m_bUnknown = !publication.m_bCommandKnown;
  line.m_strKey = detail.getKey();
  line.m_nId = detail.m_nTaskId;
  line.m_detail = detail;
  if (detail.m_pCommand) line.m_command = STaskCommand{*detail.m_pCommand, detail.m_pCommand->m_nType};
  for (const ksservice::CCodeOrderParam& param : detail.m_params) {
    line.m_params.push_back({param.m_pAccount ? param.m_pAccount->getKey() : std::string(), param});
  }
  for (const ksservice::COrderInfoPtr& order : detail.m_orders) {
    STaskOrder& each = line.m_orders.emplace_back();
    each.m_order = *order;
    if (const auto known = desk.orderDetail(order->m_tag)) each.m_detail = *known;
  }
  return line;
}

TC::CTaskProgress toProgress(const SProgressLine& line, const TC::CTaskProgress* before) {
  TC::CTaskProgress progress;
  if (line.m_bPartial && before) progress = *before;
  std::unordered_map<std::string, std::size_t> places;
  std::size_t number = 0;
  for (const TC::CProgressOrder& each : progress.m_orders) places.emplace(each.m_detail.m_strKey, number++);
  for (const TC::CProgressOrder& each : line.m_progress.m_orders) {
    const std::string& key = each.m_detail.m_strKey;
    const auto [place, isNew] = places.try_emplace(key, progress.m_orders.size());
    // Those without a key are not told apart: each stands for itself.
    if (isNew || key.empty()) {
      progress.m_orders.push_back(each);
    } else {
      progress.m_orders[place->second] = each;
    }
  }
  return progress;
}

desk::SAccount toAccount(const SAccountLine& line) {
  desk::SAccount account = line.m_account;
  account.m_pInfo = boost::make_shared<ksservice::CAccountInfo>(line.m_info);
  return account;
}

SAccountLine toAccountLine(const desk::SAccount& account) { return {*account.m_pInfo, account}; }

desk::SQuoteUpdate toQuote(const SQuoteLine& line) {
  TC::CQuote quote;
  quote.m_dLast = line.m_dLast;
  quote.m_dBid = line.m_dBid;
  quote.m_dAsk = line.m_dAsk;
  quote.m_dCalc = line.m_dCalc.value_or(line.m_dLast);
  quote.m_dOrder = line.m_dOrder.value_or(line.m_dLast);
  quote.m_dLimitUp = line.m_dLimitUp;
  quote.m_dLimitDown = line.m_dLimitDown;
  return {line.m_strMarket, line.m_strCode, quote};
}

SQuoteLine toQuoteLine(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  SQuoteLine line;
  line.m_strMarket = market;
  line.m_strCode = code;
  line.m_dLast = quote.m_dLast;
  line.m_dBid = quote.m_dBid;
  line.m_dAsk = quote.m_dAsk;
  if (quote.m_dCalc != quote.m_dLast) line.m_dCalc = quote.m_dCalc;
  if (quote.m_dOrder != quote.m_dLast) line.m_dOrder = quote.m_dOrder;
  line.m_dLimitUp = quote.m_dLimitUp;
  line.m_dLimitDown = quote.m_dLimitDown;
  return line;
}

}  // namespace journal
