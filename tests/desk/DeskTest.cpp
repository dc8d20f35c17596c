#include <gtest/gtest.h>

#include "Samples.h"

namespace {

using desk::CDesk;

TC::CCodeInfo instrument(const std::string& market, const std::string& name) {
  TC::CCodeInfo info;
  info.m_strMarket = market;
  info.m_strCode = "600000";
  info.m_strName = name;
  return info;
}

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
