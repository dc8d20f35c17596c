#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CBasketTask.h"
#include "CBasketTasksPanel.h"
#include "CycleAmbush.h"
#include "CycleMarket.h"
#include "RandomDays.h"
#include "ShownRows.h"
#include "TestHost.h"

namespace TC {

/// A panel through random days, one after the other, and what must hold in it.
class CycleDays : public testing::Test {
 public:
  CycleDays();
  ~CycleDays() override;

 protected:
  void runDay(std::uint32_t seed);
  void step();
  void act();
  void startDay();
  void setType(int type);
  void forgetRows();
  /// On a thread of its own.
  void feed(const std::vector<ksservice::CTaskDetailPtr>& details);
  void endFeeds();
  std::vector<ksservice::CTaskDetailPtr> news(int most);
  void clickRow();
  void clickAll(int button);
  void answerClicks();
  std::size_t rows() const;
  void settle();
  void readLog();
  void compare();
  test::Shown fresh(const test::CCycleMarket::Details& details, int& running);
  void note(const std::string& text) { m_notes.push_back(text); }
  void check(bool holds, const std::string& what) {
    if (!holds && m_strFault.empty()) m_strFault = what;
  }

  test::Random m_random;
  test::CCycleMarket m_market{m_random};
  test::CAmbush m_ambush;
  std::vector<std::thread> m_feeds;
  test::CTestHost m_host;
  std::unique_ptr<CBasketTasksPanel> m_panel;
  CHpfBasketStatusTable* m_pTable = nullptr;
  int m_nType = EMTT_Stock;
  std::size_t m_nRows = 0;  ///< that no refresh may take away

  std::set<std::string> m_told;          ///< keys of what came in this step
  std::map<int, int> m_clicked;          ///< tasks that the user operated on, and the status that he wants
  test::CCycleMarket::Details m_before;  ///< what there was when the step began
  test::CCycleMarket::Details m_known;   ///< what the table shows
  std::string m_strLost;                 ///< key of the detail that a fault has cost
  int m_nStale = -1;                     ///< task whose rows a fault has cost
  std::vector<boost::weak_ptr<CBasketTask>> m_gone;
  std::vector<std::size_t> m_heap;
  test::DayCounts m_counts;
  std::vector<std::string> m_notes;
  std::string m_strFault;
};

}  // namespace TC
