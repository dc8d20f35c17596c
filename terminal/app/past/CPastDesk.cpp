#include "past/CPastDesk.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "ActJson.h"
#include "DayOutputFields.h"

namespace app {

using ksservice::COrderInfoPtr;

CPastDesk::CPastDesk(const CPastDay& day, const daylog::IDayLog& log, std::int64_t dayStart, desk::CDesk& desk,
                     desk::CHostServices& services, CBlotter& blotter)
    : m_day(day), m_log(log), m_nDayStart(dayStart), m_desk(desk), m_services(services), m_blotter(blotter) {}

void CPastDesk::setNow(std::int64_t msec) { m_desk.setNow(m_nDayStart + msec / 1000); }

void CPastDesk::advanceTo(std::int64_t msec) {
  if (msec <= m_nNow) return;
  for (; m_nTask < m_day.tasks().size() && m_day.tasks()[m_nTask].m_nMsec <= msec; ++m_nTask) {
    const SPastTask& past = m_day.tasks()[m_nTask];
    for (; m_nHedge < m_day.hedges().size() && m_day.hedges()[m_nHedge].m_nMsec <= past.m_nMsec; ++m_nHedge) {
      take(m_day.hedges()[m_nHedge]);
    }
    takeQuotes(past.m_nMsec);
    setNow(past.m_nMsec);
    take(past);
  }
  for (; m_nHedge < m_day.hedges().size() && m_day.hedges()[m_nHedge].m_nMsec <= msec; ++m_nHedge) {
    take(m_day.hedges()[m_nHedge]);
  }
  takeEntries(msec);
  takeQuotes(msec);
  setNow(msec);
  m_nNow = msec;
  for (STask* task : std::exchange(m_changed, {})) publish(*task);
}

std::int64_t CPastDesk::nextStop(std::int64_t msec) const {
  for (std::size_t i = m_nTask; i < m_day.tasks().size() && m_day.tasks()[i].m_nMsec <= msec; ++i) {
    if (!m_tasks.contains(m_day.tasks()[i].m_facts.getKey())) return m_day.tasks()[i].m_nMsec;
  }
  return msec;
}

void CPastDesk::takeQuotes(std::int64_t msec) {
  for (; m_nQuotes < m_day.quotes().size() && m_day.quotes()[m_nQuotes].m_nMsec <= msec; ++m_nQuotes) {
    m_desk.setQuotes(m_day.quotes()[m_nQuotes].m_quotes);
  }
}

/// What the user gave the hedge manager stands on the desk as it did then.
void CPastDesk::takeEntries(std::int64_t msec) {
  for (; m_nEntry < m_log.entries().size() && m_log.entries()[m_nEntry].m_nMsec <= msec; ++m_nEntry) {
    const daylog::SEntry& entry = m_log.entries()[m_nEntry];
    std::string fault;
    const auto act = toAct({entry.m_strKind, entry.m_strBody}, m_desk, fault);
    if (act) engine::noteHedge(*act, m_desk);
  }
}

void CPastDesk::take(const SPastHedge& hedge) {
  setNow(hedge.m_nMsec);
  if (hedge.m_strKind == HEDGE_STATE) {
    m_desk.setHedgeState(hedge.m_nId, hedge.m_nValue);
  } else if (hedge.m_strKind == HEDGE_VOLUME) {
    m_blotter.onHedgeVolume(hedge.m_nId, hedge.m_nValue);
    m_services.announceHedgeVolume(hedge.m_nId, hedge.m_nValue);
  } else if (hedge.m_strKind == HEDGE_STATUS) {
    m_services.announceHedgeStatus(hedge.m_nId, hedge.m_nValue);
  } else {
    const auto source = hedge.m_strKind == HEDGE_STORED ? desk::EHedgeSource::Stored : desk::EHedgeSource::Manager;
    m_desk.setHedgeParam(source, hedge.m_nId, hedge.m_param);
    m_blotter.onHedgeParam(source, hedge.m_nId, hedge.m_param);
  }
}

void CPastDesk::takeParams(STask& task, const std::shared_ptr<const PastParams>& params) const {
  if (task.m_pParams == params) return;
  task.m_pParams = params;
  task.m_bNew = true;
  task.m_detail.m_params.clear();
  for (const auto& [account, param] : *params) {
    ksservice::CCodeOrderParam& own = task.m_detail.m_params.emplace_back(param);
    desk::SAccount found;
    if (m_desk.findAccount(account, found)) own.m_pAccount = found.m_pInfo;
  }
}

void CPastDesk::takeReport(STask& task, const SPastReport& report) {
  auto info = boost::make_shared<ksservice::COrderInfo>(*task.m_orders.at(report.m_nOrder));
  info->m_nTradedVolume = report.m_nTraded;
  info->m_dTradedAmount = report.m_dAmount;
  info->m_strMessage = report.m_strMessage;
  info->m_bHasMessage = (report.m_nState & EOS_HasMessage) != 0;
  info->m_bCompleted = (report.m_nState & EOS_Completed) != 0;
  ksservice::COrderDetailPtr detail;
  if (report.m_nState & EOS_Accepted) {
    detail = boost::make_shared<ksservice::COrderDetail>();
    detail->m_strKey = info->getKey();
    detail->m_strMarket = info->m_strMarket;
    detail->m_strCode = info->m_strCode;
    detail->m_nTradedVolume = report.m_nTraded;
    detail->m_dTradedAmount = report.m_dAmount;
    detail->m_bCancelled = (report.m_nState & EOS_Cancelled) != 0;
  }
  task.m_orders[report.m_nOrder] = std::move(info);
  task.m_orderDetails[report.m_nOrder] = std::move(detail);
}

void CPastDesk::take(const SPastTask& past) {
  STask& task = m_tasks[past.m_facts.getKey()];
  std::vector<ksservice::CCodeOrderParam> params = std::move(task.m_detail.m_params);
  task.m_detail = past.m_facts;
  task.m_detail.m_params = std::move(params);
  if (past.m_pParams) takeParams(task, past.m_pParams);
  std::vector<std::size_t> changed;
  desk::SPublication publication;
  for (const SPastOrder& order : past.m_sent) {
    auto info = boost::make_shared<ksservice::COrderInfo>();
    info->m_strKey = order.m_strKey;
    info->m_tag = ksservice::CMavOrderTag(order.m_strKey);
    info->m_strMarket = order.m_strMarket;
    info->m_strCode = order.m_strCode;
    info->m_nOperation = order.m_nOperation;
    info->m_nVolume = order.m_nVolume;
    info->m_dPrice = order.m_dPrice;
    task.m_changedOrders.insert(task.m_orders.size());
    task.m_orders.push_back(std::move(info));
    task.m_orderDetails.emplace_back();
    task.m_lines.push_back(order.m_nLine);
  }
  for (const SPastReport& report : past.m_reports) {
    takeReport(task, report);
    changed.push_back(report.m_nOrder);
    task.m_changedOrders.insert(report.m_nOrder);
  }
  publication = publicationOf(task, changed);
  publication.m_fills = past.m_fills;
  for (const SPastOrder& order : past.m_sent) publication.m_sent.push_back(order.m_nSent);
  m_blotter.onTask(publication);
  if (!std::exchange(task.m_bChanged, true)) m_changed.push_back(&task);
}

desk::SPublication CPastDesk::publicationOf(const STask& task, const std::vector<std::size_t>& changed) const {
  desk::SPublication publication;
  publication.m_pDetail = boost::make_shared<ksservice::CTaskDetail>(task.m_detail);
  const bool server = task.m_detail.m_bServerTask;
  (server ? publication.m_serverOrders : publication.m_pDetail->m_orders) = task.m_orders;
  auto& details = server ? publication.m_serverOrderDetails : publication.m_orderDetails;
  for (const std::size_t order : changed) {
    if (task.m_orderDetails[order]) details.emplace_back(task.m_orders[order]->m_tag, task.m_orderDetails[order]);
  }
  publication.m_bSameParams = !task.m_bNew;
  return publication;
}

/// As the engine does it: of a server task the progress first.
void CPastDesk::publish(STask& task) {
  const std::vector<std::size_t> changed(task.m_changedOrders.begin(), task.m_changedOrders.end());
  desk::SPublication publication = publicationOf(task, changed);
  task.m_changedOrders.clear();
  task.m_bNew = task.m_bChanged = false;
  if (task.m_detail.m_bServerTask) {
    TC::CTaskProgress progress;
    const ksservice::CAccountInfo* account =
        task.m_detail.m_params.empty() ? nullptr : task.m_detail.m_params[0].m_pAccount.get();
    for (std::size_t i = 0; i < task.m_orders.size(); ++i) {
      TC::CProgressOrder& entry = progress.m_orders.emplace_back();
      entry.m_strMapKey = (account ? account->m_strDisplayId : std::string()) + ":" + task.m_orders[i]->getKey();
      entry.m_nParamIndex = task.m_lines[i];
      const COrderInfoPtr& order = task.m_orders[i];
      entry.m_detail.m_strKey = order->getKey();
      entry.m_detail.m_strMarket = order->m_strMarket;
      entry.m_detail.m_strCode = order->m_strCode;
      entry.m_detail.m_nTradedVolume = order->m_nTradedVolume;
      entry.m_detail.m_dTradedAmount = order->m_dTradedAmount;
      entry.m_detail.m_bCancelled = task.m_orderDetails[i] && task.m_orderDetails[i]->m_bCancelled;
    }
    m_desk.setProgress(task.m_detail.getKey(), progress);
  }
  m_desk.publishTask(publication);
}

}  // namespace app
