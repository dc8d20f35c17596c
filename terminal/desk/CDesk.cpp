#include "CDesk.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace desk {
namespace {

using ReadLock = std::shared_lock<std::shared_mutex>;
using WriteLock = std::unique_lock<std::shared_mutex>;

/// The value of a key in a map of values that are copied out.
template <typename Map, typename Key>
bool lookUp(const Map& map, const Key& key, typename Map::mapped_type& value) {
  const auto found = map.find(key);
  if (found != map.end()) value = found->second;
  return found != map.end();
}

/// Whether one detail is a copy of the other in which only its own fields were corrected.
bool isOfSameState(const ksservice::CTaskDetail& one, const ksservice::CTaskDetail& other) {
  return one.m_nBusinessNumber == other.m_nBusinessNumber && one.m_orders == other.m_orders;
}

}  // namespace

void CDesk::setSession(const SSession& session) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    m_session = session;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onSession(session); });
}

void CDesk::setNow(qint64 seconds) {
  const WriteLock lock(m_mutex);
  m_session.m_nNow = seconds;
}

void CDesk::addAccount(const SAccount& account) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    const auto known = std::find_if(m_accounts.begin(), m_accounts.end(), [&](const SAccount& each) {
      return each.m_pInfo->getKey() == account.m_pInfo->getKey();
    });
    if (known == m_accounts.end()) {
      m_accounts.push_back(account);
    } else {
      *known = account;
    }
  }
  tellObservers([&](IDeskObserver& observer) { observer.onAccount(account); });
}

void CDesk::setInstrument(const TC::CCodeInfo& info) {
  const CJobGate::CChange change(m_gate);
  const boost::shared_ptr<const TC::CCodeInfo> stored = boost::make_shared<TC::CCodeInfo>(info);
  {
    const WriteLock lock(m_mutex);
    m_instruments.set(info.m_strMarket, info.m_strCode, stored);
    ++m_nInstruments;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onInstrument(*stored); });
}

void CDesk::setQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  setQuotes({{market, code, quote}});
}

void CDesk::setQuotes(const std::vector<SQuoteUpdate>& quotes) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    for (const SQuoteUpdate& each : quotes) m_quotes.set(each.m_strMarket, each.m_strCode, each.m_quote);
  }
  tellObservers([&](IDeskObserver& observer) {
    for (const SQuoteUpdate& each : quotes) observer.onQuote(each.m_strMarket, each.m_strCode, each.m_quote);
  });
}

void CDesk::setCommand(const boost::shared_ptr<const ksservice::COrderCommand>& command) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    enterCommand(command);
  }
  tellObservers([&](IDeskObserver& observer) { observer.onCommand(*command); });
}

void CDesk::setHedgeParam(EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    m_hedgeParams[{source, commandId}] = param;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onHedgeParam(source, commandId, param); });
}

void CDesk::setHedgeState(int groupId, int status) {
  const CJobGate::CChange change(m_gate);
  {
    const WriteLock lock(m_mutex);
    m_hedgeStates[groupId] = status;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onHedgeState(groupId, status); });
}

void CDesk::setProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  const CJobGate::CChange change(m_gate);
  const boost::shared_ptr<const TC::CTaskProgress> stored = boost::make_shared<TC::CTaskProgress>(progress);
  {
    const WriteLock lock(m_mutex);
    m_progress[detailKey] = stored;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onProgress(detailKey, *stored); });
}

void CDesk::setHoldings(const std::string& account, std::shared_ptr<const SHoldings> holdings) {
  // What it takes the place of is freed after the lock.
  const WriteLock lock(m_mutex);
  m_holdings[account].swap(holdings);
}

void CDesk::publishTask(const SPublication& publication) {
  const CJobGate::CChange change(m_gate);
  SignalHook hook;
  {
    const WriteLock lock(m_mutex);
    store(publication);
    if (publication.m_eVia == EVia::Signal) hook = m_signalHook;
  }
  tellObservers([&](IDeskObserver& observer) { observer.onTask(publication); });
  if (publication.m_eVia == EVia::Feed) m_subscribers.deliver(publication.m_pDetail);
  if (hook) hook(publication.m_pDetail);
}

void CDesk::forgetTasks() {
  const CJobGate::CChange change(m_gate);
  const WriteLock lock(m_mutex);
  m_details.clear();
  m_orderDetails.clear();
  m_orderLog.forget();
  m_commands.clear();
  m_hedgeParams.clear();
  m_givenHedges.clear();
  m_startedUnmet.clear();
  m_hedgeStates.clear();
  m_progress.clear();
}

void CDesk::store(const SPublication& publication) {
  const ksservice::CTaskDetailPtr& detail = publication.m_pDetail;
  SStored& stored = m_details[detail->getKey()];
  if (!publication.m_bSameParams || stored.m_nParams == 0) stored.m_nParams = ++m_nParams;
  stored.m_pDetail = detail;
  if (publication.m_bCommandKnown && detail->m_pCommand) enterCommand(detail->m_pCommand);
  for (const auto& [tag, orderDetail] : publication.m_orderDetails) {
    m_orderLog.add(tag.hash());
    if (orderDetail) {
      m_orderDetails[tag] = orderDetail;
    } else {
      m_orderDetails.erase(tag);
    }
  }
}

void CDesk::enterCommand(const boost::shared_ptr<const ksservice::COrderCommand>& command) {
  m_commands[command->m_nCommandId] = command;
}

SSession CDesk::session() const {
  const ReadLock lock(m_mutex);
  return m_session;
}

qint64 CDesk::now() const {
  const ReadLock lock(m_mutex);
  return m_session.m_nNow;
}

std::string CDesk::userName() const {
  const ReadLock lock(m_mutex);
  return m_session.m_strUser;
}

std::string CDesk::loginIdentity() const {
  const ReadLock lock(m_mutex);
  return m_session.m_strLogin;
}

SSettings CDesk::settings() const {
  const ReadLock lock(m_mutex);
  return m_session.m_settings;
}

QTimeZone CDesk::timeZone() const {
  const ReadLock lock(m_mutex);
  return m_session.m_timeZone;
}

int CDesk::tradeSetting(int number) const {
  const ReadLock lock(m_mutex);
  const std::map<int, int>& settings = m_session.m_settings.m_tradeSettings;
  const auto found = settings.find(number);
  return found != settings.end() ? found->second : 0;
}

std::vector<SAccount> CDesk::accounts() const {
  const ReadLock lock(m_mutex);
  return m_accounts;
}

bool CDesk::findAccount(const std::string& key, SAccount& account) const {
  const ReadLock lock(m_mutex);
  const auto known = std::find_if(m_accounts.begin(), m_accounts.end(),
                                  [&](const SAccount& each) { return each.m_pInfo->getKey() == key; });
  if (known == m_accounts.end()) return false;
  account = *known;
  return true;
}

std::shared_ptr<const SHoldings> CDesk::holdings(const std::string& account) const {
  const ReadLock lock(m_mutex);
  const auto known = m_holdings.find(account);
  return known == m_holdings.end() ? nullptr : known->second;
}

boost::shared_ptr<const TC::CCodeInfo> CDesk::codeInfo(const std::string& market, const std::string& code) const {
  const ReadLock lock(m_mutex);
  const auto* found = m_instruments.find(market, code);
  return found ? *found : nullptr;
}

bool CDesk::quote(const std::string& market, const std::string& code, TC::CQuote& quote) const {
  const ReadLock lock(m_mutex);
  const TC::CQuote* found = m_quotes.find(market, code);
  if (found) quote = *found;
  return found != nullptr;
}

boost::shared_ptr<const ksservice::COrderCommand> CDesk::command(int commandId) const {
  const ReadLock lock(m_mutex);
  const auto found = m_commands.find(commandId);
  return found != m_commands.end() ? found->second : nullptr;
}

boost::shared_ptr<const ksservice::COrderCommand> CDesk::commandByKey(const std::string& key) const {
  const ReadLock lock(m_mutex);
  const auto found = std::find_if(m_commands.begin(), m_commands.end(), [&](const auto& entry) {
    return ksservice::COrderCommand::genKey(entry.first, entry.second->m_nNumber) == key;
  });
  return found != m_commands.end() ? found->second : nullptr;
}

bool CDesk::hedgeParam(EHedgeSource source, int commandId, ksservice::CBasketHedgeParam& param) const {
  const ReadLock lock(m_mutex);
  if (!lookUp(m_hedgeParams, std::make_pair(source, commandId), param)) return false;
  if (source == EHedgeSource::Manager && m_startedUnmet.contains(commandId)) {
    lookUp(m_hedgeParams, std::make_pair(EHedgeSource::Stored, commandId), param);
  }
  return true;
}

int CDesk::hedgeState(int groupId) const {
  const ReadLock lock(m_mutex);
  const auto found = m_hedgeStates.find(groupId);
  return found != m_hedgeStates.end() ? found->second : 0;
}

boost::shared_ptr<const TC::CTaskProgress> CDesk::progress(const std::string& detailKey) const {
  const ReadLock lock(m_mutex);
  const auto found = m_progress.find(detailKey);
  return found != m_progress.end() ? found->second : nullptr;
}

std::vector<ksservice::CTaskDetailPtr> CDesk::taskDetails() const {
  const ReadLock lock(m_mutex);
  std::vector<ksservice::CTaskDetailPtr> details;
  details.reserve(m_details.size());
  for (const auto& entry : m_details) details.push_back(entry.second.m_pDetail);
  return details;
}

ksservice::CTaskDetailPtr CDesk::taskDetail(const std::string& key) const {
  const ReadLock lock(m_mutex);
  const auto found = m_details.find(key);
  return found != m_details.end() ? found->second.m_pDetail : nullptr;
}

ksservice::COrderDetailPtr CDesk::orderDetail(const ksservice::CMavOrderTag& tag) const {
  const ReadLock lock(m_mutex);
  const auto found = m_orderDetails.find(tag);
  return found != m_orderDetails.end() ? found->second : nullptr;
}

ksservice::SOrderChanges CDesk::orderChanges(std::uint64_t since) const {
  const ReadLock lock(m_mutex);
  return m_orderLog.since(since);
}

std::uint64_t CDesk::paramsVersion(const ksservice::CTaskDetail& detail) const {
  const ReadLock lock(m_mutex);
  const auto found = m_details.find(detail.getKey());
  // Of an older record nothing is known any more.
  return found != m_details.end() && found->second.m_pDetail.get() == &detail ? found->second.m_nParams : 0;
}

std::uint64_t CDesk::instrumentsVersion() const {
  const ReadLock lock(m_mutex);
  return m_nInstruments;
}

utils::CSubscriptionHandle CDesk::subscribeTasks(ksservice::DataCallback callback) {
  return m_subscribers.add(std::move(callback));
}

void CDesk::updateData(const ksservice::CTaskDetailPtr& detail) {
  {
    const WriteLock lock(m_mutex);
    SStored& stored = m_details[detail->getKey()];
    // A correction of a detail that was replaced in the meantime is too late: it would take newer fills away.
    if (!stored.m_pDetail || isOfSameState(*stored.m_pDetail, *detail)) stored = {detail, 0};
  }
  tellObservers([&](IDeskObserver& observer) { observer.onUpdateData(detail); });
}

void CDesk::noteHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  const WriteLock lock(m_mutex);
  m_givenHedges[groupId] = {commandId, param};
}

void CDesk::giveHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  noteHedgeParam(groupId, commandId, param);
  m_requests.setHedgeParam(groupId, commandId, param);
}

bool CDesk::givenHedgeParam(int groupId, ksservice::CBasketHedgeParam& param) const {
  const ReadLock lock(m_mutex);
  const auto given = m_givenHedges.find(groupId);
  if (given != m_givenHedges.end()) param = given->second.m_param;
  return given != m_givenHedges.end();
}

void CDesk::noteHedgeStarted(int groupId) {
  const WriteLock lock(m_mutex);
  const auto given = m_givenHedges.find(groupId);
  if (given != m_givenHedges.end()) m_hedgeParams.erase({EHedgeSource::Manager, given->second.m_nCommandId});
}

void CDesk::noteHedgeStartedUnmet(int groupId) {
  const WriteLock lock(m_mutex);
  const auto given = m_givenHedges.find(groupId);
  if (given == m_givenHedges.end()) return;
  const int command = given->second.m_nCommandId;
  if (m_hedgeParams.contains({EHedgeSource::Manager, command})) m_startedUnmet.insert(command);
}

void CDesk::startHedge(int groupId) {
  noteHedgeStarted(groupId);
  bool runs = false;
  {
    const WriteLock lock(m_mutex);
    const auto given = m_givenHedges.find(groupId);
    runs = given != m_givenHedges.end() && m_startedUnmet.erase(given->second.m_nCommandId) > 0;
  }
  m_requests.startHedge(groupId, runs);
}

void CDesk::showMsg(const QString& text, int kind) const {
  tellObservers([&](IDeskObserver& observer) { observer.onShowMsg(text, kind); });
}

void CDesk::setSignalHook(SignalHook hook) {
  const WriteLock lock(m_mutex);
  m_signalHook = std::move(hook);
}

void CDesk::addObserver(IDeskObserver* observer) {
  const std::lock_guard<std::mutex> lock(m_observerMutex);
  m_observers.push_back(observer);
}

void CDesk::removeObserver(IDeskObserver* observer) {
  const std::lock_guard<std::mutex> lock(m_observerMutex);
  m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
}

void CDesk::tellObservers(const std::function<void(IDeskObserver&)>& what) const {
  std::vector<IDeskObserver*> observers;
  {
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    observers = m_observers;
  }
  for (IDeskObserver* observer : observers) what(*observer);
}

}  // namespace desk
