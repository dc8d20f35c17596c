// Every journal plays the same when the panel's desk is filled by what another desk tells, message by message.
#include <gtest/gtest.h>

#include <QDir>

#include "ActJson.h"
#include "CDeskMirror.h"
#include "CDeskTeller.h"
#include "CHostServices.h"
#include "CRequestSender.h"
#include "CRequestTaker.h"
#include "ScenarioPrintout.h"
#include "desklink/v1/details.pb.h"

namespace {

/// What a panel asks and is answered, as texts; each member but those of the account that a text names.
class CCalls : public desk::IDeskObserver {
 public:
  explicit CCalls(desk::CDesk& desk) : m_desk(desk) { desk.addObserver(this); }
  ~CCalls() override { m_desk.removeObserver(this); }

  const std::vector<std::string>& calls() const { return m_calls; }

  void onSetHedgeParam(int group, int command, const ksservice::CBasketHedgeParam& param) override {
    addAct(engine::SSetHedge{group, command, param});
  }
  void onStartHedge(int group) override { addAct(engine::SSteerHedge{group, engine::EHedgeAct::Start}); }
  void onPauseHedge(int group) override { addAct(engine::SSteerHedge{group, engine::EHedgeAct::Pause}); }
  void onStopHedge(int group) override { addAct(engine::SSteerHedge{group, engine::EHedgeAct::Stop}); }
  void onCreateTask(const desk::SCreateRequest& request) override { addAct(engine::SCreateTask{request}); }
  void onOperateServerTask(const std::string& key, const ksservice::CTaskOpRecord& record) override {
    add("operate", {key, textOf(record)});
  }
  void onQueryOrderProcess(const std::vector<std::string>& keys) override { add("query", keys); }
  void onOperateLocalTask(int id, const desk::AccountPtr& account, const ksservice::CTaskOpRecord& record) override {
    add("local", {std::to_string(id), textOf(account), textOf(record)});
  }
  void onPauseLocalTask(int id, const desk::AccountPtr& account) override {
    add("pause", {std::to_string(id), textOf(account)});
  }
  void onResumeLocalTask(int id, const desk::AccountPtr& account) override {
    add("resume", {std::to_string(id), textOf(account)});
  }
  void onServerReply(const utils::KSError& error, const bson::BSONObj& reply) override {
    add("operated", {error.errorMsg(), std::to_string(error.success()), reply.toString()});
  }
  void onCreateReply(const utils::KSError& error, int id) override {
    add("created", {error.errorMsg(), std::to_string(error.success()), std::to_string(id)});
  }
  void onOrderProcess(const TC::OrderProcessMap& data, const utils::KSError& error,
                      const bson::BSONObj& result) override {
    std::vector<std::string> texts{error.errorMsg(), std::to_string(error.success()), result.toString()};
    for (const auto& [task, volumes] : data) {
      texts.push_back(task);
      for (const auto& [security, volume] : volumes) texts.push_back(security + '=' + std::to_string(volume));
    }
    add("processed", texts);
  }

 private:
  static std::string textOf(const ksservice::CTaskOpRecord& record) {
    return std::to_string(record.m_nOperation) + '@' + std::to_string(record.m_nTime) + record.m_strOperator + '/' +
           record.m_strRemark;
  }
  static std::string textOf(const desk::AccountPtr& account) {
    if (!account) return "none";
    return account->getKey() + '/' + account->m_strDisplayId + '/' + account->m_strName + '/' +
           std::to_string(account->m_nType);
  }
  void addAct(const engine::Act& act) {
    const app::SActText text = app::toText(act, 0);
    add(text.m_strKind, {text.m_strBody});
  }
  void add(std::string kind, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) kind += " | " + text;
    m_calls.push_back(std::move(kind));
  }

  desk::CDesk& m_desk;
  std::vector<std::string> m_calls;
};

/// A desk, and between it and that of the panel what each is told of the other: there the state, back what the panel
/// asks, and there again the answers.
class CLinkedSource : public test::ISource {
 public:
  CLinkedSource(desk::CDesk& shown, desk::CHostServices& services)
      : m_shown(shown), m_mirror(shown, services), m_asked(shown) {
    m_desk.addObserver(&m_teller);
    shown.requests().setDriver(&m_sender);
  }
  ~CLinkedSource() override {
    m_shown.requests().setDriver(nullptr);
    m_desk.removeObserver(&m_teller);
    EXPECT_EQ(m_met.calls(), m_asked.calls());
    compareLateTerminal();
  }
  desk::CDesk& desk() override { return m_desk; }
  desk::CHostServices& services() override { return m_services; }

 private:
  static std::string bytesOf(const ksservice::CTaskDetailPtr& detail) {
    desk::SPublication publication;
    publication.m_pDetail = detail;
    desklink::v1::DetailUpdate update;
    desklink::CDetailState().write(publication, update);
    return update.SerializeAsString();
  }

  /// One that begins when all is over holds the same.
  void compareLateTerminal() {
    desk::CDesk late;
    desk::CHostServices services(late, desk::CHostServices::EClock::Manual);
    desklink::CDeskMirror mirror(late, services);
    m_teller.tellAll(
        [&](const std::string& message) { EXPECT_EQ(mirror.take(message), desklink::CDeskMirror::ETaken::Taken); });
    const auto told = m_desk.taskDetails();
    const auto taken = late.taskDetails();
    ASSERT_EQ(taken.size(), told.size());
    for (std::size_t i = 0; i < told.size(); ++i) {
      EXPECT_EQ(bytesOf(taken[i]), bytesOf(told[i])) << told[i]->getKey();
      for (const ksservice::COrderInfoPtr& order : told[i]->m_orders) {
        if (!order) continue;
        EXPECT_EQ(late.orderDetail(order->m_tag) != nullptr, m_desk.orderDetail(order->m_tag) != nullptr);
      }
    }
    EXPECT_EQ(late.accounts().size(), m_desk.accounts().size());
  }

  desk::CDesk& m_shown;
  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Manual};
  desklink::CDeskMirror m_mirror;
  desklink::CDeskTeller m_teller{
      [this](const std::string& message) { EXPECT_EQ(m_mirror.take(message), desklink::CDeskMirror::ETaken::Taken); }};
  CCalls m_asked;
  CCalls m_met{m_desk};
  desklink::CRequestTaker m_taker{m_desk};
  desklink::CRequestSender m_sender{m_shown, "t1", [this](const std::string& request) {
                                      const auto answer = [this](const std::string& message) {
                                        EXPECT_TRUE(m_sender.takeAnswer(message));
                                      };
                                      EXPECT_TRUE(m_taker.take(request, answer));
                                    }};
};

class LinkedJournal : public ::testing::TestWithParam<std::string> {};

TEST_P(LinkedJournal, PlaysAsPrinted) {
  const std::string base = PBT_SOURCE_DIR "/tests/system/journals/" + GetParam();
  const std::string printout = test::playAndPrint(
      base + ".jsonl",
      [](desk::CDesk& desk, desk::CHostServices& services) { return std::make_unique<CLinkedSource>(desk, services); });
  EXPECT_EQ(printout, test::readFile(base + ".txt"));
}

std::vector<std::string> journalNames() {
  std::vector<std::string> names;
  const QDir folder(PBT_SOURCE_DIR "/tests/system/journals/");
  for (const QString& name : folder.entryList({"*.jsonl"}, QDir::Files, QDir::Name)) {
    names.push_back(name.chopped(6).toStdString());
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(All, LinkedJournal, ::testing::ValuesIn(journalNames()),
                         [](const auto& scenario) { return scenario.param; });

}  // namespace
