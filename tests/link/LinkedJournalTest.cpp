// Every journal plays the same when the panel's desk is filled by what another desk tells, message by message.
#include <gtest/gtest.h>

#include <QDir>
#include <boost/make_shared.hpp>

#include "CDeskMirror.h"
#include "CDeskTeller.h"
#include "CHostServices.h"
#include "ScenarioPrintout.h"
#include "desklink/v1/details.pb.h"

namespace {

/// What the panel asks goes to the other desk; what that is answered comes back.
class CForward : public desk::IDeskDriver {
 public:
  CForward(desk::CDesk& from, desk::CDesk& to) : m_from(from), m_to(to) { from.requests().setDriver(this); }
  ~CForward() override { m_from.requests().setDriver(nullptr); }

  void createTask(const desk::SCreateRequest& request) override {
    m_to.requests().createTask(
        request, [this](const utils::KSError& error, int id) { m_from.requests().replyToCreate(error, id); });
  }
  void operateServerTask(const std::string& key, const desk::OpRecordPtr& record) override {
    m_to.requests().operateServerTask(key, record, [this](const utils::KSError& error, const bson::BSONObj& reply) {
      m_from.requests().replyToOperation(error, reply);
    });
  }
  void queryOrderProcess(const std::vector<std::string>& keys) override {
    m_to.requests().queryOrderProcess(
        keys, [this](const TC::OrderProcessMap& data, const utils::KSError& error, const bson::BSONObj& result) {
          m_from.requests().replyToQuery(data, error, result);
        });
  }
  void setHedgeParam(int group, int command, const ksservice::CBasketHedgeParam& param) override {
    m_to.giveHedgeParam(group, command, param);
  }
  void startHedge(int group) override { m_to.startHedge(group); }

 private:
  desk::CDesk& m_from;
  desk::CDesk& m_to;
};

/// A desk, and before that of the panel what tells it and what takes it.
class CLinkedSource : public test::ISource {
 public:
  CLinkedSource(desk::CDesk& shown, desk::CHostServices& services)
      : m_mirror(shown, services), m_forward(shown, m_desk) {
    m_desk.addObserver(&m_teller);
  }
  ~CLinkedSource() override {
    m_desk.removeObserver(&m_teller);
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

  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Manual};
  desklink::CDeskMirror m_mirror;
  desklink::CDeskTeller m_teller{
      [this](const std::string& message) { EXPECT_EQ(m_mirror.take(message), desklink::CDeskMirror::ETaken::Taken); }};
  CForward m_forward;
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
