/// What is left of the lines of a task, and why a row is not offered.
#include "Remainder.h"

#include <gtest/gtest.h>

namespace {

using namespace TC;

const PatchLine LINE = {"A1", "SH.600000买入"};

/// A row of 1000 in lots of 100.
SRemainderRow rowOf(const PatchLine& line, long long finished = 0) {
  SRemainderRow row;
  row.line = line;
  row.first = true;
  row.target = 1000;
  row.finished = finished;
  row.lots = SLots{100, false};
  return row;
}

SRemainderFacts factsOf(const std::vector<SRemainderRow>& rows) {
  SRemainderFacts facts;
  facts.rows = rows;
  return facts;
}

std::string only(const SRemainderFacts& facts) {
  const SRemainder left = remaindersOf(facts).front();
  return std::to_string(left.rest.open) + "/" + std::to_string(left.rest.free) + " " + std::to_string(left.volume) +
         " " + refusalText(left.refusal).toStdString();
}

TEST(Remainder, TheHighestOfWhatIsKnownIsTakenOff) {
  SRemainderFacts facts = factsOf({rowOf(LINE, 250)});
  EXPECT_EQ(only(facts), "750/750 700 ");
  facts.rows[0].orders = 100;
  facts.rows[0].answered = 200;
  EXPECT_EQ(only(facts), "700/700 700 ") << "the answer and the row's own orders are of different tasks";
  facts.taken = {{LINE, 650}, {{"A2", LINE.second}, 900}};
  EXPECT_EQ(only(facts), "350/350 300 ");
  facts.accepted = {{LINE, 100}};
  facts.handedOver = {{LINE, 50}};
  facts.unknown = {{LINE, 25}};
  EXPECT_EQ(only(facts), "350/175 100 ") << "what is not known is taken off beside it";
  EXPECT_TRUE(fits(facts, {{LINE, 175}, {{"A1", "SZ.000001卖出"}, 0}}));
  EXPECT_FALSE(fits(facts, {{LINE, 176}}));
  EXPECT_FALSE(fits(facts, {{{"A1", "SZ.000001卖出"}, 1}})) << "a line without a row";
  facts.taken = {{LINE, 5000000000}};
  EXPECT_EQ(only(facts), "-4999999000/-4999999175 0 ") << "more than the target was traded";
}

TEST(Remainder, EachReasonIsToldOnlyOfWhatCouldBeOrdered) {
  const auto refused = [](const auto& change) {
    SRemainderFacts facts = factsOf({rowOf(LINE)});
    change(facts, facts.rows[0]);
    return remaindersOf(facts).front().refusal;
  };
  EXPECT_EQ(refused([](auto&, auto&) {}), ERefusal::None);
  EXPECT_EQ(refused([](auto&, auto& row) { row.hasAccount = row.hasInstrument = false; }), ERefusal::NoAccount);
  EXPECT_EQ(refused([](auto&, auto& row) { row.hasInstrument = false; }), ERefusal::NoInstrument);
  EXPECT_EQ(refused([](auto&, auto& row) { row.lots->unit = 0; }), ERefusal::NoUnit);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.unanswered = {LINE}; }), ERefusal::NoProgress);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.accepted = facts.handedOver = {{LINE, 500}}; }), ERefusal::Accepted);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.handedOver = {{LINE, 950}}; }), ERefusal::HandedOver);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.handedOver = {{LINE, 900}}; }), ERefusal::None) << "a lot is left";
  EXPECT_EQ(refused([](auto&, auto& row) {
              row.hasAccount = false;
              row.finished = 1000;
            }),
            ERefusal::None)
      << "filled";
  EXPECT_EQ(refused([](auto& facts, auto& row) {
              row.finished = 950;
              facts.unanswered = {LINE};
            }),
            ERefusal::None)
      << "below a lot";
  EXPECT_EQ(refused([](auto& facts, auto& row) {
              row.unset = true;
              facts.unanswered = {LINE};
            }),
            ERefusal::None)
      << "nothing is left of a target that is not known";
}

TEST(Remainder, RowsOfOneLineShareWhatIsLeft) {
  SRemainderRow other = rowOf(LINE, 400);
  other.first = false;
  SRemainderFacts facts = factsOf({other, rowOf(LINE, 100)});
  facts.taken = {{LINE, 700}};
  std::vector<SRemainder> left = remaindersOf(facts);
  EXPECT_EQ(left[1].rest.open, 900) << "the line's own row first";
  EXPECT_EQ(left[0].rest.open, 400);
  facts.accepted = {{LINE, 1000}};
  left = remaindersOf(facts);
  EXPECT_EQ(left[1].rest.free, 300);
  EXPECT_EQ(left[0].rest.free, 0);
  facts.rows[0].answered = facts.rows[1].answered = 1900;
  EXPECT_EQ(remaindersOf(facts)[1].rest.open, 100) << "an answer speaks of the security once";
}

}  // namespace
