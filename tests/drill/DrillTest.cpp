// That a drill finds what is planted in it, is the same each time, and hands out a journal that plays.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <algorithm>
#include <set>
#include <sstream>

#include "CDrill.h"
#include "COutput.h"
#include "CPlayer.h"

namespace {

using drill::EPlant;
using drill::ERule;

TC::CreatePanelFunction plugin() {
  static const TC::SPanelPlugin loaded = TC::loadPanel(QStringLiteral(PBT_PLUGIN));
  EXPECT_NE(loaded.m_pCreate, nullptr) << loaded.m_strError.toStdString();
  return loaded.m_pCreate;
}

drill::SReportCard runDrill(std::uint64_t seed, EPlant plant = drill::EP_None,
                            drill::CDrillJournal* journal = nullptr) {
  const QTemporaryDir folder;
  drill::CDrill drill({seed, plant, folder.path().toStdString(), journal}, plugin());
  return drill.run();
}

std::string text(const drill::SReportCard& card) {
  if (card.isGood()) return "good";
  const drill::SViolation& first = card.m_violations.front();
  return std::string(drill::nameOf(first.m_eRule)) + ": " + first.m_strText;
}

/// In so many drills each kind of fault happens.
constexpr std::uint64_t ENOUGH = 12;
/// Fewer with a sanitizer: DRILLS in the environment.
std::uint64_t drills() { return qEnvironmentVariableIsSet("DRILLS") ? qEnvironmentVariableIntValue("DRILLS") : ENOUGH; }

/// A kind of fault that a drill does not have, or a rule that it never looks at, would pass unseen.
TEST(Drill, HoldsAndMeetsEveryKindOfFault) {
  drill::SReportCard all;
  for (std::uint64_t seed = 1; seed <= drills(); ++seed) {
    const drill::SReportCard card = runDrill(seed);
    EXPECT_TRUE(card.isGood()) << "seed " << seed << ", " << text(card);
    for (std::size_t i = 0; i < card.m_faults.size(); ++i) all.m_faults[i] += card.m_faults[i];
    for (std::size_t i = 0; i < card.m_checks.size(); ++i) all.m_checks[i] += card.m_checks[i];
    all.m_nPatches += card.m_nPatches;
  }
  if (drills() < ENOUGH) return;
  for (int i = 0; i < drill::EF_Count; ++i) EXPECT_GT(all.m_faults[i], 0) << drill::nameOf(drill::EFault(i));
  for (int i = 0; i < drill::ER_Count; ++i) EXPECT_GT(all.m_checks[i], 0) << drill::nameOf(drill::ERule(i));
  EXPECT_GT(all.m_nPatches, 50);
}

TEST(Drill, IsTheSameEachTime) {
  for (const std::uint64_t seed : {3u, 9u}) {
    const drill::SReportCard one = runDrill(seed);
    const drill::SReportCard other = runDrill(seed);
    EXPECT_EQ(one.m_strEnd, other.m_strEnd);
    EXPECT_EQ(one.m_faults, other.m_faults);
    EXPECT_EQ(one.m_checks, other.m_checks);
    EXPECT_EQ(one.m_nClicks, other.m_nClicks);
  }
}

/// Which rules may find it: what one cannot see another one does.
struct SPlanted {
  EPlant m_ePlant;
  std::set<ERule> m_found;
};
void PrintTo(const SPlanted& planted, std::ostream* out) { *out << drill::nameOf(planted.m_ePlant); }

class Planted : public testing::TestWithParam<SPlanted> {};

TEST_P(Planted, IsFoundByItsRule) {
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const drill::SReportCard card = runDrill(seed, GetParam().m_ePlant);
    if (card.isGood()) continue;
    EXPECT_TRUE(GetParam().m_found.contains(card.m_violations.front().m_eRule))
        << "seed " << seed << ", " << text(card);
    return;
  }
  FAIL() << "nobody notices";
}

INSTANTIATE_TEST_SUITE_P(
    Drill, Planted,
    testing::Values(
        SPlanted{drill::EP_DoubledFill, {drill::ER_Account, drill::ER_Books, drill::ER_Truth}},
        SPlanted{drill::EP_LostFill, {drill::ER_Books}}, SPlanted{drill::EP_GreedyOrder, {drill::ER_Order}},
        SPlanted{drill::EP_GreedyPatch, {drill::ER_Confirmed}}, SPlanted{drill::EP_WrongDetail, {drill::ER_Truth}},
        SPlanted{drill::EP_UntoldDetail, {drill::ER_FreshModel}}, SPlanted{drill::EP_TornRow, {drill::ER_Sums}},
        SPlanted{drill::EP_FalseRow, {drill::ER_Screen}}, SPlanted{drill::EP_KeptDetail, {drill::ER_Growth}},
        SPlanted{drill::EP_ForgottenEntry, {drill::ER_Restart}}, SPlanted{drill::EP_FastSender, {drill::ER_Rate}}),
    [](const testing::TestParamInfo<SPlanted>& each) {
      std::string name = drill::nameOf(each.param.m_ePlant);
      std::replace(name.begin(), name.end(), '-', '_');
      return name;
    });

TEST(Drill, HandsOutTheMinuteOfAViolationAsAJournalThatPlays) {
  const drill::SReportCard card = runDrill(2, drill::EP_TornRow);
  ASSERT_FALSE(card.isGood());
  drill::CDrillJournal minute(card.m_violations.front().m_nDay, card.m_violations.front().m_nMsec);
  runDrill(2, drill::EP_TornRow, &minute);
  desk::CDesk desk;
  desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
  services.install();
  std::ostringstream out;
  std::ostringstream errors;
  journal::COutput output(out);
  std::istringstream in(minute.text());
  const auto makePanel = [] { return plugin()(1, nullptr); };
  journal::CPlayer player(desk, services, makePanel, output, errors);
  EXPECT_EQ(player.play(in, "minute"), journal::CPlayer::ExitPlayed) << errors.str();
  EXPECT_NE(out.str().find("\"dump\":\"violation\""), std::string::npos);
  EXPECT_NE(out.str().find("组合任务"), std::string::npos) << "its table is empty";
}

}  // namespace
