// What a test tells its host.
#include <boost/make_shared.hpp>

#include "TestHost.h"

namespace test {

using Lock = std::lock_guard<std::mutex>;

void CTestHost::setInstrument(const TC::CCodeInfo& info) {
  const Lock lock(m_mutex);
  const auto shared = boost::make_shared<const TC::CCodeInfo>(info);
  m_instruments[{info.m_strMarket, info.m_strCode}] = shared;
  m_instruments[{std::string(), info.m_strCode}] = shared;
}

void CTestHost::setQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  const Lock lock(m_mutex);
  m_quotes[{market, code}] = quote;
}

void CTestHost::setOrderDetail(const std::string& tag, bool cancelled) {
  const auto detail = boost::make_shared<ksservice::COrderDetail>();
  detail->m_strKey = tag;
  detail->m_bCancelled = cancelled;
  const Lock lock(m_mutex);
  m_orderDetails[ksservice::CMavOrderTag(tag)] = detail;
}

void CTestHost::setProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  const Lock lock(m_mutex);
  m_progress[detailKey] = boost::make_shared<const TC::CTaskProgress>(progress);
}

void CTestHost::setAccount(const ksservice::CAccountInfo& account) {
  const Lock lock(m_mutex);
  m_accounts[account.getKey()] = boost::make_shared<const ksservice::CAccountInfo>(account);
}

void CTestHost::setMeeting(std::function<void(const std::string&)> meeting) {
  const Lock lock(m_mutex);
  m_meeting = std::move(meeting);
}

void CTestHost::meet(const std::string& key) const {
  std::function<void(const std::string&)> meeting;
  {
    const Lock lock(m_mutex);
    meeting = m_meeting;
  }
  if (meeting) meeting(key);
}

void CTestHost::forgetDetails() {
  const Lock lock(m_mutex);
  m_details.clear();
}

void CTestHost::setCommand(const ksservice::COrderCommand& command) {
  const Lock lock(m_mutex);
  m_commands[ksservice::COrderCommand::genKey(command.m_nCommandId, command.m_nNumber)] =
      boost::make_shared<const ksservice::COrderCommand>(command);
}

}  // namespace test
