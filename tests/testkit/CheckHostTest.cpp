// Does checkHost pass a host that is as it must be, and see each fault that one may have?
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <boost/make_shared.hpp>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <thread>

#include "CDesk.h"
#include "CHostServices.h"
#include "CheckHost.h"
#include "HostRules.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CItCommandCenter.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace testkit {
namespace {

using namespace ksservice;

/// Faults that are waited for are many.
constexpr int PATIENCE_MSEC = 250;

/// What may be wrong with a host, each by itself.
struct SFaults {
  bool m_bTellsTwice = false;
  bool m_bTellsBeforeItKeeps = false;
  bool m_bTellsAnyType = false;
  bool m_bKeepsTheOldest = false;
  bool m_bChangesRecords = false;
  bool m_bForgetsCorrections = false;
  bool m_bLetsHandlesGo = false;
  bool m_bInventsQuotes = false;
  bool m_bThrows = false;
  bool m_bNoCommands = false;
  bool m_bHidesOrderChanges = false;
  bool m_bSameParamsVersion = false;
  bool m_bAnswersWithin = false;
  bool m_bAnswersTwice = false;
  bool m_bNeverAnswers = false;
  bool m_bHidesErrors = false;
  bool m_bSwapsAnswers = false;
  bool m_bClockGoesBack = false;
  bool m_bTimerTwice = false;
  bool m_bTimerElsewhere = false;
  bool m_bTimerForTheGone = false;
  bool m_bHedgeForgets = false;
  bool m_bSignalsElsewhere = false;
  bool m_bForgetsElsewhere = false;
  bool m_bSlow = false;
};

template <typename Service>
struct TFace : Service {
  TFace(const SFaults& faults, Service& right) : m_faults(faults), m_right(right) {}
  const SFaults& m_faults;
  Service& m_right;
};

struct SData : TFace<IDataCenter> {
  using TFace::TFace;
  utils::CSubscriptionHandle subscribe(int type, DataCallback callback) override {
    if (m_faults.m_bTellsAnyType) type = 541;
    const auto told = [this, callback = std::move(callback)](const boost::shared_ptr<IData>& record) {
      callback(record);
      if (m_faults.m_bTellsTwice) callback(record);
    };
    utils::CSubscriptionHandle handle = m_right.subscribe(type, told);
    if (!m_faults.m_bLetsHandlesGo) return handle;
    m_kept.push_back(std::move(handle));
    return std::make_unique<utils::ISubscription>();
  }
  CTaskDetailPtr taskDetail(const std::string& key) const override {
    if (m_faults.m_bSlow) QThread::msleep(80);
    if (m_faults.m_bForgetsElsewhere && QThread::currentThread() != qApp->thread()) return nullptr;
    const auto oldest = m_oldest.find(key);
    if (m_faults.m_bTellsBeforeItKeeps && m_telling == key) return nullptr;
    return m_faults.m_bKeepsTheOldest && oldest != m_oldest.end() ? oldest->second : m_right.taskDetail(key);
  }
  std::vector<CTaskDetailPtr> taskDetails() const override { return m_right.taskDetails(); }
  std::string loginIdentity() const override { return m_right.loginIdentity(); }
  int commandNumber(int commandId) const override { return m_right.commandNumber(commandId); }
  COrderDetailPtr orderDetail(const CMavOrderTag& tag) const override { return m_right.orderDetail(tag); }
  SOrderChanges orderChanges(std::uint64_t since) const override {
    SOrderChanges changes = m_right.orderChanges(since);
    if (m_faults.m_bHidesOrderChanges) changes = {false, changes.version, {}};
    return changes;
  }
  std::uint64_t paramsVersion(const CTaskDetail& detail) const override {
    return m_faults.m_bSameParamsVersion ? 7 : m_right.paramsVersion(detail);
  }
  void updateData(const CTaskDetailPtr& detail) override {
    if (!m_faults.m_bForgetsCorrections) m_right.updateData(detail);
  }
  std::vector<utils::CSubscriptionHandle> m_kept;
  std::map<std::string, CTaskDetailPtr> m_oldest;
  std::string m_telling;
};

struct SCommands : TFace<TC::CItCommandCenter> {
  using TFace::TFace;
  boost::shared_ptr<const COrderCommand> getCommand(const std::string& key) const override {
    return m_faults.m_bNoCommands ? nullptr : m_right.getCommand(key);
  }
  void createTask(const COrderCommand& command, const std::vector<CCodeOrderParam>& params, EMavTraderType traderType,
                  int hedgeType, CreateCompletion completion, int taskId) override {
    if (m_faults.m_bAnswersWithin) completion({}, 900123);
    m_right.createTask(command, params, traderType, hedgeType, std::move(completion), taskId);
  }
  void operateServerTask(const std::string& key, const boost::shared_ptr<const CTaskOpRecord>& record,
                         OperateCompletion completion) override {
    const auto twice = [this, completion = std::move(completion)](const utils::KSError& error,
                                                                  const bson::BSONObj& reply) {
      completion(error, m_faults.m_bHidesErrors ? bson::BSONObj() : reply);
      if (m_faults.m_bAnswersTwice) completion(error, reply);
    };
    m_right.operateServerTask(key, record, twice);
  }
};

struct STrade : TFace<TC::CTradeClient> {
  using TFace::TFace;
  boost::shared_ptr<const TC::CTaskProgress> getTaskProgress(const std::string& key) const override {
    return m_right.getTaskProgress(key);
  }
  int getLoginStatus(const std::string& account) const override { return m_right.getLoginStatus(account); }
  void queryOrderProcess(const std::vector<std::string>& keys, TC::OrderProcessCompletion completion,
                         int flag) override {
    if (!m_faults.m_bNeverAnswers) m_right.queryOrderProcess(keys, std::move(completion), flag);
  }
};

struct SQuotes : TFace<TC::CQuoteClient> {
  using TFace::TFace;
  bool getQuote(const std::string& market, const std::string& code, TC::CQuote& quote) const override {
    if (m_faults.m_bThrows) throw std::runtime_error("no quotes");
    const bool known = m_right.getQuote(market, code, quote);
    if (m_faults.m_bInventsQuotes) quote.m_dLast = 0;
    return known;
  }
};

struct SClock : TFace<utils::IHostClock> {
  using TFace::TFace;
  double clockMSec() const override { return m_faults.m_bClockGoesBack ? -m_right.clockMSec() : m_right.clockMSec(); }
  QTimeZone timeZone() const override { return m_right.timeZone(); }
  void singleShot(int msec, QObject* context, std::function<void()> action) override {
    if (m_faults.m_bTimerForTheGone) context = &m_everlasting;
    if (m_faults.m_bTimerElsewhere) {
      std::thread(action).join();
      return;
    }
    if (m_faults.m_bTimerTwice) m_right.singleShot(msec, context, action);
    m_right.singleShot(msec, context, std::move(action));
  }
  QObject m_everlasting;
};

struct SHedges : TC::CBasketHedgeManager {
  SHedges(const SFaults& faults, TC::CBasketHedgeManager& right) : m_faults(faults), m_right(right) {
    QObject::connect(&m_right, &CBasketHedgeManager::sigHedgeVolume, this, [this](int task, int lots) {
      if (!m_faults.m_bSignalsElsewhere) return Q_EMIT sigHedgeVolume(task, lots);
      std::thread([&] { Q_EMIT sigHedgeVolume(task, lots); }).join();
    });
  }
  int status(int group) const override { return m_right.status(group); }
  bool getHedgeParam(int command, CBasketHedgeParam& param) const override {
    return m_right.getHedgeParam(command, param);
  }
  void setParam(int group, int command, const CBasketHedgeParam& param) override {
    if (!m_faults.m_bHedgeForgets) m_right.setParam(group, command, param);
  }
  bool getItem(int group, CBasketHedgeParam& param) const override { return m_right.getItem(group, param); }
  void startHedge(int group) override { m_right.startHedge(group); }
  void pauseHedge(int group) override { m_right.pauseHedge(group); }
  void stopHedge(int group) override { m_right.stopHedge(group); }
  const SFaults& m_faults;
  TC::CBasketHedgeManager& m_right;
};

/// A host on the terminal's desk, with faults.
class CHost : public IHostDriver {
 public:
  explicit CHost(const SFaults& faults) : m_faults(faults) {
    m_desk.setSession({});
    TC::SServices services = m_services.services();
    m_data.emplace(m_faults, *services.dataCenter);
    m_commands.emplace(m_faults, *services.commandCenter);
    m_trade.emplace(m_faults, *services.tradeClient);
    m_quotes.emplace(m_faults, *services.quoteClient);
    m_clock.emplace(m_faults, *services.clock);
    m_hedges.emplace(m_faults, *services.hedgeManager);
    services.dataCenter = &*m_data;
    services.commandCenter = &*m_commands;
    services.tradeClient = &*m_trade;
    services.quoteClient = &*m_quotes;
    services.clock = &*m_clock;
    services.hedgeManager = &*m_hedges;
    TC::installServices(services);
  }
  ~CHost() override {
    for (std::thread& each : m_threads) each.join();
    TC::installServices({});
  }

  void deliver(const CTaskDetailPtr& detail,
               const std::vector<std::pair<CMavOrderTag, COrderDetailPtr>>& orderDetails) override {
    CTaskDetailPtr kept = detail;
    if (m_faults.m_bChangesRecords) {
      const auto known = m_desk.taskDetail(detail->getKey());
      if (known) {
        *known = *detail;
        kept = known;
      } else {
        kept = boost::make_shared<CTaskDetail>(*detail);
      }
    }
    if (m_faults.m_bKeepsTheOldest) m_data->m_oldest.emplace(detail->getKey(), detail);
    m_data->m_telling = detail->getKey();
    desk::SPublication publication;
    publication.m_pDetail = kept;
    publication.m_orderDetails = orderDetails;
    m_desk.publishTask(publication);
    m_data->m_telling.clear();
  }
  void answerCreation(const utils::KSError& error, int taskId) override {
    if (!m_faults.m_bSwapsAnswers) return later([=, this] { m_desk.requests().replyToCreate(error, taskId); });
    m_desk.requests().replyToCreate(error, taskId == 900201 ? 900202 : taskId == 900202 ? 900201 : taskId);
  }
  void answerOperation(const utils::KSError& error, const bson::BSONObj& reply) override {
    later([=, this] { m_desk.requests().replyToOperation(error, reply); });
  }
  void answerQuery(const TC::OrderProcessMap& data, const utils::KSError& error) override {
    later([=, this] { m_desk.requests().replyToQuery(data, error, {}); });
  }
  void announceHedgeVolume(int taskId, int lots) override { m_services.announceHedgeVolume(taskId, lots); }
  void announceTradingDay(const std::string& date) override { m_services.announceTradingDay(date); }

 private:
  /// On a thread of the host, one answer after another.
  void later(const std::function<void()>& answer) {
    for (std::thread& each : m_threads) each.join();
    m_threads.clear();
    m_threads.emplace_back(answer);
  }

  const SFaults m_faults;
  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Live};
  std::optional<SData> m_data;
  std::optional<SCommands> m_commands;
  std::optional<STrade> m_trade;
  std::optional<SQuotes> m_quotes;
  std::optional<SClock> m_clock;
  std::optional<SHedges> m_hedges;
  std::vector<std::thread> m_threads;
};

bool isSeen(const SFaults& faults, const std::string& rule) {
  CHost host(faults);
  for (const STriedRule& each : triedRules()) {
    if (rule == each.m_pName) return !tryRule(each, host, PATIENCE_MSEC).empty();
  }
  return false;
}

TEST(CheckHost, PassesAHostThatIsAsItMustBe) {
  CHost host({});
  for (const SViolation& each : checkHost(host)) ADD_FAILURE() << each.m_strRule << ": " << each.m_strWhat;
  std::set<std::string> names;
  std::ifstream file(PBT_SOURCE_DIR "/docs/testkit.md");
  const std::string document{std::istreambuf_iterator<char>(file), {}};
  for (const SRule& rule : hostRules()) {
    EXPECT_TRUE(names.insert(rule.m_pName).second) << rule.m_pName;
    const std::string line = std::string("| `") + rule.m_pName + "` | " + rule.m_pThread + " | " + rule.m_pMust +
                             " | " + rule.m_pOtherwise + " |\n";
    EXPECT_NE(document.find(line), std::string::npos) << line;
  }
}

TEST(CheckHost, SeesEachFaultByItsRule) {
  std::set<std::string> caught;
  for (const auto& [fault, rule] :
       std::vector<std::pair<bool SFaults::*, const char*>>{{&SFaults::m_bTellsTwice, "detail.told"},
                                                            {&SFaults::m_bTellsBeforeItKeeps, "detail.told"},
                                                            {&SFaults::m_bTellsAnyType, "detail.told"},
                                                            {&SFaults::m_bKeepsTheOldest, "detail.newest"},
                                                            {&SFaults::m_bChangesRecords, "detail.kept"},
                                                            {&SFaults::m_bForgetsCorrections, "detail.corrected"},
                                                            {&SFaults::m_bLetsHandlesGo, "subscription.ends"},
                                                            {&SFaults::m_bInventsQuotes, "unknown"},
                                                            {&SFaults::m_bThrows, "unknown"},
                                                            {&SFaults::m_bNoCommands, "command"},
                                                            {&SFaults::m_bHidesOrderChanges, "order.changes"},
                                                            {&SFaults::m_bSameParamsVersion, "params.version"},
                                                            {&SFaults::m_bAnswersWithin, "create"},
                                                            {&SFaults::m_bAnswersTwice, "operate"},
                                                            {&SFaults::m_bHidesErrors, "operate"},
                                                            {&SFaults::m_bNeverAnswers, "query"},
                                                            {&SFaults::m_bSwapsAnswers, "answers"},
                                                            {&SFaults::m_bClockGoesBack, "clock"},
                                                            {&SFaults::m_bTimerTwice, "timer"},
                                                            {&SFaults::m_bTimerElsewhere, "timer"},
                                                            {&SFaults::m_bTimerForTheGone, "timer"},
                                                            {&SFaults::m_bHedgeForgets, "hedge.param"},
                                                            {&SFaults::m_bSignalsElsewhere, "signals"},
                                                            {&SFaults::m_bForgetsElsewhere, "threads"},
                                                            {&SFaults::m_bSlow, "quick"}}) {
    SFaults faults;
    faults.*fault = true;
    EXPECT_TRUE(isSeen(faults, rule)) << rule;
    caught.insert(rule);
  }
  for (const SRule& rule : hostRules()) EXPECT_TRUE(caught.contains(rule.m_pName)) << rule.m_pName << " sees no fault";
}

}  // namespace
}  // namespace testkit
