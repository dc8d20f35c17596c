#include <gtest/gtest.h>

#include "Samples.h"

namespace {

using desk::CDesk;
using desk::EVia;

TC::CCodeInfo instrument(const std::string& market, const std::string& name) {
  TC::CCodeInfo info;
  info.m_strMarket = market;
  info.m_strCode = "600000";
  info.m_strName = name;
  return info;
}

/// Notes what happens to a desk, in order.
class CNotes : public desk::IDeskObserver {
 public:
  void onTask(const desk::SPublication& publication) override {
    m_notes.push_back("task " + publication.m_pDetail->getKey());
  }
  void onUpdateData(const ksservice::CTaskDetailPtr& detail) override {
    m_notes.push_back("update " + detail->getKey());
  }
  void onQuote(const std::string& market, const std::string& code, const TC::CQuote&) override {
    m_notes.push_back("quote " + market + "." + code);
  }

  std::vector<std::string> m_notes;
};

TEST(Desk, FindsAnInstrumentByMarketAndByShortCodeOfItsMarket) {
  CDesk desk;
  desk.setInstrument(instrument("SSE", "by short code"));
  ASSERT_TRUE(desk.codeInfo("SH", "600000"));
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "by short code");
  EXPECT_EQ(desk.codeInfo("SSE", "600000")->m_strName, "by short code");
  EXPECT_FALSE(desk.codeInfo("HGT", "600000"));
  EXPECT_FALSE(desk.codeInfo("SZ", "600000"));
  EXPECT_FALSE(desk.codeInfo("SH", "600001"));

  // The market itself goes before another market's short code.
  desk.setInstrument(instrument("SH", "itself"));
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "itself");
  EXPECT_EQ(desk.codeInfo("SSE", "600000")->m_strName, "by short code");

  // What was handed out does not change with the next setting.
  const auto before = desk.codeInfo("SH", "600000");
  desk.setInstrument(instrument("SH", "renamed"));
  EXPECT_EQ(before->m_strName, "itself");
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "renamed");
}

TEST(Desk, AQuoteIsLeftUntouchedWhereNoneIsKnown) {
  CDesk desk;
  TC::CQuote quote;
  quote.m_dLast = 7;
  EXPECT_FALSE(desk.quote("SH", "600000", quote));
  EXPECT_EQ(quote.m_dLast, 7);
  desk.setQuotes({{"SH", "600000", {10, 9, 11, 10, 10}}, {"SZ", "000001", {20, 19, 21, 20, 20}}});
  ASSERT_TRUE(desk.quote("SZ", "000001", quote));
  EXPECT_EQ(quote.m_dBid, 19);
}

TEST(Desk, PublishesByTheWayThatIsAskedAndStoresInEach) {
  CDesk desk;
  std::vector<std::string> fed;
  std::vector<std::string> signalled;
  const auto handle = desk.subscribeTasks([&](const auto& data) { fed.push_back(data->getKey()); });
  desk.setSignalHook([&](const auto& detail) { signalled.push_back(detail->getKey()); });
  desk.publishTask(sample::publication("3-1", EVia::Feed));
  desk.publishTask(sample::publication("2-1", EVia::Signal));
  desk.publishTask(sample::publication("1-1", EVia::Store));
  EXPECT_EQ(fed, std::vector<std::string>{"3-1"});
  EXPECT_EQ(signalled, std::vector<std::string>{"2-1"});
  std::vector<std::string> stored;
  for (const auto& detail : desk.taskDetails()) stored.push_back(detail->getKey());
  EXPECT_EQ(stored, (std::vector<std::string>{"1-1", "2-1", "3-1"}));

  desk.setSignalHook({});
  desk.publishTask(sample::publication("2-1", EVia::Signal));
  EXPECT_EQ(signalled.size(), 1u);
}

TEST(Desk, OrderDetailsComeAndGoWithPublications) {
  CDesk desk;
  const ksservice::CMavOrderTag tag("t1");
  auto known = boost::make_shared<ksservice::COrderDetail>();
  known->m_bCancelled = true;
  desk::SPublication publication = sample::publication("1-1");
  publication.m_orderDetails = {{tag, known}};
  desk.publishTask(publication);
  EXPECT_EQ(desk.orderDetail(ksservice::CMavOrderTag("t1")), known);
  EXPECT_FALSE(desk.orderDetail(ksservice::CMavOrderTag("t2")));

  // Not named: as before. Named with none: gone.
  publication.m_orderDetails.clear();
  desk.publishTask(publication);
  EXPECT_EQ(desk.orderDetail(tag), known);
  publication.m_orderDetails = {{tag, nullptr}};
  desk.publishTask(publication);
  EXPECT_FALSE(desk.orderDetail(tag));
}

TEST(Desk, TheCommandOfAPublicationIsEnteredUnlessUnknown) {
  CDesk desk;
  desk::SPublication publication = sample::publication("1-1");
  publication.m_pDetail->m_pCommand = boost::make_shared<ksservice::COrderCommand>();
  publication.m_pDetail->m_pCommand->m_nCommandId = 77;
  publication.m_bCommandKnown = false;
  desk.publishTask(publication);
  EXPECT_FALSE(desk.command(77));
  publication.m_bCommandKnown = true;
  desk.publishTask(publication);
  EXPECT_EQ(desk.command(77), publication.m_pDetail->m_pCommand);
}

TEST(Desk, ACorrectionReplacesOnlyTheDetailThatItCorrects) {
  CDesk desk;
  desk::SPublication first = sample::publication("1-1");
  first.m_pDetail->m_orders = {boost::make_shared<ksservice::COrderInfo>()};
  desk.publishTask(first);
  const auto corrected = boost::make_shared<ksservice::CTaskDetail>(*first.m_pDetail);
  corrected->m_nStatus = ksservice::ETS_Finished;
  desk.updateData(corrected);
  EXPECT_EQ(desk.taskDetail("1-1"), corrected);

  // A detail with newer orders was published meanwhile: the correction would take its fills away.
  desk::SPublication second = sample::publication("1-1");
  second.m_pDetail->m_orders = {boost::make_shared<ksservice::COrderInfo>()};
  desk.publishTask(second);
  desk.updateData(corrected);
  EXPECT_EQ(desk.taskDetail("1-1"), second.m_pDetail);
}

TEST(Desk, ObserversAreToldBeforeThePanelAndUntilTheyAreRemoved) {
  CDesk desk;
  CNotes notes;
  desk.addObserver(&notes);
  const auto handle = desk.subscribeTasks([&](const auto&) { notes.m_notes.push_back("panel"); });
  desk.publishTask(sample::publication("1-1"));
  desk.updateData(desk.taskDetail("1-1"));
  desk.setQuote("SH", "600000", {});
  EXPECT_EQ(notes.m_notes, (std::vector<std::string>{"task 1-1", "panel", "update 1-1", "quote SH.600000"}));
  desk.removeObserver(&notes);
  desk.setQuote("SH", "600000", {});
  EXPECT_EQ(notes.m_notes.size(), 4u);
}

TEST(Desk, AccountsKeepTheirOrderAndAreReplacedByKey) {
  CDesk desk;
  for (const char* key : {"B", "A", "B"}) {
    auto info = boost::make_shared<ksservice::CAccountInfo>();
    info->m_strKey = key;
    desk::SAccount account;
    account.m_pInfo = info;
    account.m_bFiltered = desk.accounts().size() == 2;
    desk.addAccount(account);
  }
  ASSERT_EQ(desk.accounts().size(), 2u);
  EXPECT_EQ(desk.accounts()[0].m_pInfo->getKey(), "B");
  EXPECT_TRUE(desk.accounts()[0].m_bFiltered);
  EXPECT_FALSE(desk.accounts()[1].m_bFiltered);
}

}  // namespace
