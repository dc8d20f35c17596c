/// The states of the operation buttons by the statuses that come.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "CHpfBasketOptionDelegate.h"
#include "CTestHost.h"
#include "gv/CUiResource.h"

using namespace TC;

namespace {

constexpr int PLAIN = 0;
constexpr int ALWAYS = 13;
const QString TASK = "组合任务1";
const QString HEDGE = "hedge";

class OptionDelegate : public testing::Test {
 protected:
  struct SAnnouncement {
    int status;
    int type = PLAIN;
  };

  /// The visible buttons' ids, "x" behind a disabled one; "hidden" for a hidden set.
  std::string shown(const QString& key) const {
    if (!m_delegate.getIsItemVisible(key)) return "hidden";
    std::string text;
    for (const GV::STableButton& button : m_delegate.itemButtons(key)) {
      if (!m_delegate.getIsItemButtonVisible(key, button.id)) continue;
      text += (text.empty() ? "" : " ") + std::to_string(button.id);
      if (!m_delegate.getIsItemButtonEnabled(key, button.id)) text += "x";
    }
    return text;
  }
  /// What a row shows after these statuses on a new set.
  std::string after(const QString& key, const std::vector<SAnnouncement>& announcements) {
    m_delegate.clear();
    for (const SAnnouncement& a : announcements) m_delegate.slotTaskStatus(key, a.status, a.type);
    return shown(key);
  }
  std::string afterSingle(const std::vector<int>& statuses) {
    m_delegate.clear();
    for (const int status : statuses) m_delegate.slotTaskStatusSingle(TASK, status, PLAIN);
    return shown(TASK);
  }

  testkit::CTestHost m_host;
  static CHpfBasketOptionDelegate::SRowRef rowOf(const QString& key) { return {key, nullptr, key == HEDGE}; }
  CHpfBasketOptionDelegate m_delegate{&rowOf, nullptr};
};

TEST_F(OptionDelegate, TheButtonsOfAnyStatusFitTheirColumn) {
  for (const double scale : {2.0, 1.5, 1.0}) {
    GV::CUiResource::setScale(scale);
    const QRect cell(0, 0, GV::CUiResource::scaled(basketColumns()[EBC_Options].column.width), 21);
    for (const int status : {3, 4, 7, 8, 10000, 10001}) {
      // A hedge row keeps what it was offered when its task was cancelled.
      const std::string buttons = after(HEDGE, {{8}, {status}});
      for (const GV::STableButton& button : m_delegate.itemButtons(HEDGE)) {
        if (!m_delegate.getIsItemButtonVisible(HEDGE, button.id)) continue;
        EXPECT_LT(m_delegate.buttonRect(HEDGE, button.id, cell).right(), cell.right()) << buttons << " at " << scale;
      }
    }
  }
}

TEST_F(OptionDelegate, ANewRowShowsTheButtonsOfItsStatus) {
  struct SCase {
    std::vector<SAnnouncement> statuses;
    const char* task;           ///< on a task's row
    const char* withoutRevoke;  ///< the same for a user who may not cancel tasks
    const char* hedge;          ///< on a hedge row
  };
  const SCase cases[] = {
      {{{3}, {3, ALWAYS}, {10000}, {10000, ALWAYS}}, "0 1", "1", "7"},
      {{{4}, {4, ALWAYS}}, "0 2", "2", ""},
      {{{8}}, "4 6", "4 6", "4 6"},
      {{{7}, {11}, {10002}}, "hidden", "hidden", "hidden"},
      {{{0}, {1}, {2}, {8, ALWAYS}, {9}, {10}, {12}, {10001}, {-1}, {99999}}, "", "", ""},
  };
  for (const SCase& c : cases) {
    for (const SAnnouncement& each : c.statuses) {
      SCOPED_TRACE(testing::Message() << "status " << each.status << " type " << each.type);
      m_host.change([](auto& session) { session.m_settings.m_bHasRevokeTask = true; });
      EXPECT_EQ(after(TASK, {each}), c.task);
      EXPECT_EQ(after(HEDGE, {each}), c.hedge);
      m_host.change([](auto& session) { session.m_settings.m_bHasRevokeTask = false; });
      EXPECT_EQ(after(TASK, {each}), c.withoutRevoke);
    }
  }
}

TEST_F(OptionDelegate, AStatusChangesTheButtonsThatAreThere) {
  struct SCase {
    const char* what;
    QString key;
    std::vector<SAnnouncement> statuses;
    const char* shown;
  };
  const SCase cases[] = {
      {"pause", TASK, {{3}, {4}}, "0 2"},
      {"pause and go on", TASK, {{3}, {4}, {3}}, "0 1"},
      {"a patch runs", TASK, {{8}, {10000}}, "0 1"},
      {"a failed patch leaves only giving up", TASK, {{8}, {10001}}, "6"},
      {"dropped, then in use again", TASK, {{8}, {11}, {3}}, "0 1"},
      {"finished, then cancelled by a late detail", TASK, {{7}, {8}}, "4 6"},
      {"1 disables what shows", TASK, {{3}, {1}}, "0x 1x"},
      {"1 of a cancelled task", TASK, {{8}, {1}}, "4x 6x"},
      {"running enables again", TASK, {{3}, {1}, {3}}, "0 1"},
      {"a paused task's own buttons come enabled", TASK, {{1}, {4}}, "0 2"},
      {"a status that is not listed hides the patch buttons alone", TASK, {{3}, {9}}, "0 1"},
      {"the same of a cancelled task", TASK, {{8}, {9}}, "6"},
      {"cancelled again with type 13", TASK, {{8}, {8, ALWAYS}}, ""},
      {"cancelled again, no longer with type 13", TASK, {{8, ALWAYS}, {8, PLAIN}}, "4 6"},
      {"a paused hedge", HEDGE, {{3}, {4}}, ""},
      {"a hedge goes on", HEDGE, {{3}, {4}, {3}}, "7"},
      {"a hedge whose button is disabled", HEDGE, {{3}, {1}, {3}}, ""},
  };
  for (const SCase& c : cases) EXPECT_EQ(after(c.key, c.statuses), c.shown) << c.what;
}

TEST_F(OptionDelegate, ClicksDeliverActionsAndDisableTheirButton) {
  const int actions[] = {3, 5, 6, 10002, 10000, 10001, 10002, 10003, -1};
  m_delegate.slotTaskStatus(TASK, 3, PLAIN);
  for (int button = 0; button < 9; ++button) {
    EXPECT_EQ(CHpfBasketOptionDelegate::actionOf(button), actions[button]) << button;
    m_delegate.disableClicked(TASK, button);
    // The two that stay enabled do so by intention.
    EXPECT_EQ(m_delegate.getIsItemButtonEnabled(TASK, button), button == 5 || button == 6) << button;
  }
}

TEST_F(OptionDelegate, ClickedButtonComesBackWhenTheOperationCameToNothing) {
  m_delegate.slotTaskStatus(TASK, 8, PLAIN);
  m_delegate.disableClicked(TASK, 4);
  m_delegate.slotOperationEnded(TASK);
  EXPECT_EQ(shown(TASK), "4x 6") << "not before the announcement";
  m_delegate.slotTaskStatus(TASK, 8, PLAIN);
  EXPECT_EQ(shown(TASK), "4 6");
  m_delegate.disableClicked(TASK, 4);
  m_delegate.slotTaskStatus(TASK, 8, PLAIN);
  EXPECT_EQ(shown(TASK), "4x 6") << "for one announcement only";
  m_delegate.slotOperationEnded("unknown");
  EXPECT_TRUE(m_delegate.itemButtons("unknown").empty());
}

TEST_F(OptionDelegate, AnnouncesWhatItApplied) {
  qRegisterMetaType<TC::CBasketTask*>("TC::CBasketTask*");
  QSignalSpy spy(&m_delegate, SIGNAL(sigTaskStatus(TC::CBasketTask*, QString, int)));
  for (const int status : {8, 8, 10001}) m_delegate.slotTaskStatus(TASK, status, PLAIN);
  for (const int status : {3, 3}) m_delegate.slotTaskStatus(HEDGE, status, ALWAYS);
  QStringList announced;
  for (const QList<QVariant>& call : spy) announced.append(call[1].toString() + ' ' + call[2].toString());
  EXPECT_EQ(announced.join(", "), "组合任务1 8, 组合任务1 10001, hedge 3, hedge 3");
}

TEST_F(OptionDelegate, ASingleTaskHasButtonsOnlyWhileItRunsOrIsPaused) {
  for (const auto& statuses : {std::vector<int>{3}, {4, 3}}) EXPECT_EQ(afterSingle(statuses), "0 1");
  for (const auto& statuses : {std::vector<int>{4}, {3, 4}}) EXPECT_EQ(afterSingle(statuses), "0 2");
  for (const int status : {0, 1, 7, 8, 10, 11, 10000, 10001, 10002}) {
    EXPECT_EQ(afterSingle({status}), "hidden") << status;
    EXPECT_EQ(afterSingle({3, status}), "hidden") << status;
    EXPECT_EQ(afterSingle({status, 3}), "0 1") << status;
  }
  m_host.change([](auto& session) { session.m_settings.m_bHasRevokeTask = false; });
  EXPECT_EQ(afterSingle({3}), "1");
  EXPECT_EQ(afterSingle({4}), "2");
}

TEST_F(OptionDelegate, AClickedButtonOfASingleTaskComesBackAfterAnotherStatus) {
  m_delegate.slotTaskStatusSingle(TASK, 3, PLAIN);
  m_delegate.disableClicked(TASK, 1);
  m_delegate.slotTaskStatusSingle(TASK, 3, PLAIN);
  EXPECT_EQ(shown(TASK), "0 1x");
  m_delegate.slotTaskStatusSingle(TASK, 4, PLAIN);
  m_delegate.disableClicked(TASK, 0);
  m_delegate.slotTaskStatusSingle(TASK, 3, PLAIN);
  EXPECT_EQ(shown(TASK), "0 1");
}

}  // namespace
