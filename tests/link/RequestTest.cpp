// What a terminal asks and is answered, on lines that turn answers round, double them and damage what they carry.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <string>
#include <vector>

#include "CDesk.h"
#include "CRequestSender.h"
#include "CRequestTaker.h"
#include "desklink/v1/requests.pb.h"

namespace desklink {
namespace {

desk::OpRecordPtr stopRecord() {
  auto record = boost::make_shared<ksservice::CTaskOpRecord>();
  record->m_nOperation = ksservice::ETO_Cancel;
  return record;
}

bson::BSONObj documentOf(const std::string& task) { return *bson::BSONObj::fromJson("{\"task\":\"" + task + "\"}"); }

/// A terminal whose requests stay here until they are handed on.
struct STerminal {
  STerminal() { m_desk.requests().setDriver(&m_sender); }
  ~STerminal() { m_desk.requests().setDriver(nullptr); }

  void stop(const std::string& task) {
    m_desk.requests().operateServerTask(task, stopRecord(),
                                        [this, task](const utils::KSError& error, const bson::BSONObj& reply) {
                                          m_answered.push_back(task + ": " + error.errorMsg() + reply.toString());
                                        });
  }

  desk::CDesk m_desk;
  std::vector<std::string> m_sent;
  std::vector<std::string> m_answered;
  CRequestSender m_sender{m_desk, "u1.7", [this](const std::string& message) { m_sent.push_back(message); }};
};

/// Counts what reaches the engine.
struct SAsked : desk::IDeskDriver {
  void createTask(const desk::SCreateRequest&) override { ++m_nCalls; }
  void operateServerTask(const std::string&, const desk::OpRecordPtr&) override { ++m_nCalls; }
  void cancelOrders(const std::string&, const std::vector<std::string>&) override { ++m_nCalls; }
  void operateLocalTask(int, const desk::AccountPtr&, const desk::OpRecordPtr&) override { ++m_nCalls; }
  void setHedgeParam(int, int, const ksservice::CBasketHedgeParam&) override { ++m_nCalls; }
  int m_nCalls = 0;
};

std::string answerTo(const std::string& request, const std::string& document) {
  v1::Request asked;
  EXPECT_TRUE(asked.ParseFromString(request));
  v1::Answer answer;
  answer.set_version(1);
  answer.set_request_id(asked.id());
  answer.set_document(document);
  return answer.SerializeAsString();
}

std::vector<std::string> requestsOfEachKind() {
  STerminal terminal;
  ksservice::CCodeOrderParam line;
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = "A1";
  line.m_pAccount = account;
  desk::SCreateRequest creation;
  creation.m_params = {line, line};
  terminal.m_desk.requests().createTask(creation, {});
  terminal.stop("1-1");
  terminal.m_desk.requests().cancelOrders("1-1", {"1-1-1", "1-1-2"});
  terminal.m_desk.requests().operateLocalTask(1, account, stopRecord());
  terminal.m_desk.requests().setHedgeParam(1, 2, {});
  return terminal.m_sent;
}

}  // namespace

TEST(Requests, EachGetsItsOwnAnswerInWhateverOrderTheyCome) {
  STerminal terminal;
  for (const char* task : {"1-1", "2-1", "3-1"}) terminal.stop(task);
  ASSERT_EQ(terminal.m_sent.size(), 3u);
  const std::vector<std::string> answers{answerTo(terminal.m_sent[0], R"({"of":1})"),
                                         answerTo(terminal.m_sent[1], R"({"of":2})"),
                                         answerTo(terminal.m_sent[2], R"({"of":3})")};
  EXPECT_TRUE(terminal.m_sender.takeAnswer(answers[2]));
  EXPECT_FALSE(terminal.m_sender.takeAnswer(answers[2])) << "doubled while it waits for the older ones";
  EXPECT_TRUE(terminal.m_sender.takeAnswer(answers[0]));
  EXPECT_TRUE(terminal.m_sender.takeAnswer(answers[1]));
  EXPECT_FALSE(terminal.m_sender.takeAnswer(answers[0])) << "doubled when it was given";
  const auto text = [](int of) { return bson::BSONObj::fromJson("{\"of\":" + std::to_string(of) + "}")->toString(); };
  EXPECT_EQ(terminal.m_answered, (std::vector<std::string>{"1-1: " + text(1), "2-1: " + text(2), "3-1: " + text(3)}));

  STerminal other;
  other.stop("1-1");
  v1::Answer foreign;
  foreign.ParseFromString(answers[1]);
  foreign.set_request_id("u2.1-1");
  EXPECT_FALSE(other.m_sender.takeAnswer(foreign.SerializeAsString())) << "to another terminal";
  EXPECT_TRUE(other.m_answered.empty());
}

TEST(Requests, AnEnginesAnswerComesBackWithItsErrorAndDocument) {
  STerminal terminal;
  desk::CDesk engine;
  CRequestTaker taker(engine);
  std::vector<std::string> answers;
  terminal.stop("1-1");
  terminal.stop("2-1");
  for (const std::string& request : terminal.m_sent) {
    EXPECT_TRUE(taker.take(request, [&](const std::string& answer) { answers.push_back(answer); }));
  }
  EXPECT_TRUE(engine.requests().replyToOperation(utils::KSError("已被 u2 撤销"), documentOf("1-1")));
  EXPECT_TRUE(engine.requests().replyToOperation(utils::KSError(), documentOf("2-1")));
  for (const std::string& answer : answers) EXPECT_TRUE(terminal.m_sender.takeAnswer(answer));
  EXPECT_EQ(terminal.m_answered,
            (std::vector<std::string>{"1-1: 已被 u2 撤销" + documentOf("1-1").toString(),
                                      "2-1: " + utils::KSError().errorMsg() + documentOf("2-1").toString()}));
}

/// Nothing of a message that is not understood is done, and no bytes end the program.
TEST(Requests, DamagedAndNewerOnesAreRefusedWhole) {
  for (const std::string& whole : requestsOfEachKind()) {
    desk::CDesk engine;
    SAsked asked;
    engine.requests().setDriver(&asked);
    CRequestTaker taker(engine);
    v1::Request newer;
    ASSERT_TRUE(newer.ParseFromString(whole));
    ASSERT_TRUE(taker.take(whole, {}));
    EXPECT_EQ(asked.m_nCalls, 1) << newer.ShortDebugString();
    newer.set_version(2);
    EXPECT_FALSE(taker.take(newer.SerializeAsString(), {}));
    newer.set_version(1);
    newer.clear_body();
    EXPECT_FALSE(taker.take(newer.SerializeAsString(), {}));
    EXPECT_EQ(asked.m_nCalls, 1);
    for (std::size_t i = 0; i < whole.size(); ++i) {
      for (const unsigned bit : {0U, 3U, 7U}) {
        std::string damaged = whole;
        damaged[i] = static_cast<char>(damaged[i] ^ static_cast<char>(1U << bit));
        const int before = asked.m_nCalls;
        const bool taken = taker.take(damaged, {});
        EXPECT_LE(asked.m_nCalls - before, taken ? 1 : 0) << i << '/' << bit;
      }
      const int before = asked.m_nCalls;
      const bool taken = taker.take(whole.substr(0, i), {});
      EXPECT_LE(asked.m_nCalls - before, taken ? 1 : 0) << i;
    }
    engine.requests().setDriver(nullptr);
  }
  STerminal terminal;
  terminal.stop("1-1");
  EXPECT_FALSE(terminal.m_sender.takeAnswer(answerTo(terminal.m_sent[0], R"({"of":)"))) << "no document, no success";
  const std::string answer = answerTo(terminal.m_sent[0], R"({"of":1})");
  for (std::size_t i = 0; i < answer.size(); ++i) terminal.m_sender.takeAnswer(answer.substr(0, i));
  EXPECT_LE(terminal.m_answered.size(), 1u);
}

}  // namespace desklink
