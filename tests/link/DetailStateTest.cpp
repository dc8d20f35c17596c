// What an engine tells of its tasks, taken by a terminal: whatever was published, in whatever order it changed.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "CDetailState.h"
#include "WireFields.h"
#include "desklink/v1/details.pb.h"

namespace desklink {
namespace {

using ksservice::COrderInfo;
using ksservice::COrderInfoPtr;

void addText(std::string& text, int value) { text += std::to_string(value) + ','; }
void addText(std::string& text, bool value) { text += value ? "yes," : "no,"; }
void addText(std::string& text, double value) {
  char bits[40];
  std::snprintf(bits, sizeof bits, "%a,", value);
  text += bits;
}
void addText(std::string& text, const std::string& value) { text += '"' + value + "\","; }
void addText(std::string& text, const ksservice::CMavOrderTag& value) { addText(text, value.text()); }

template <typename Pointer>
void addRecord(std::string& text, const Pointer& record) {
  if (!record) {
    text += "none\n";
    return;
  }
  eachField(*record, [&](int, const auto& member) { addText(text, member(*record)); });
  text += '\n';
}

/// All that a publication says, so that a difference can be read.
std::string textOf(const desk::SPublication& publication) {
  const ksservice::CTaskDetail& detail = *publication.m_pDetail;
  std::string text = detail.getKey() + ": ";
  addRecord(text, &detail);
  addRecord(text, detail.m_pCommand);
  for (const ksservice::CCodeOrderParam& line : detail.m_params) {
    addRecord(text, &line);
    addRecord(text, line.m_pAccount);
  }
  for (const auto* orders : {&detail.m_orders, &publication.m_serverOrders}) {
    text += "orders\n";
    for (const COrderInfoPtr& order : *orders) addRecord(text, order);
  }
  for (const auto* details : {&publication.m_orderDetails, &publication.m_serverOrderDetails}) {
    text += "order details\n";
    for (const auto& [tag, known] : *details) {
      addText(text, tag);
      addRecord(text, known);
    }
  }
  for (const desk::SOrderFill& fill : publication.m_fills) {
    addText(text, static_cast<int>(fill.m_nOrder));
    addText(text, fill.m_nTime);
    addText(text, fill.m_nQuantity);
    addText(text, fill.m_dAmount);
  }
  for (const int sent : publication.m_sent) addText(text, sent);
  addText(text, static_cast<int>(publication.m_eVia));
  addText(text, publication.m_bCommandKnown);
  return text;
}

/// Publishes a detail again and again, each time changed here and there.
class CRandomHost {
 public:
  explicit CRandomHost(unsigned seed) : m_random(seed) {}

  desk::SPublication publish() {
    auto detail = boost::make_shared<ksservice::CTaskDetail>(m_detail);
    desk::SPublication publication;
    publication.m_bSameParams = !detail->m_params.empty() && chance(80);
    if (!publication.m_bSameParams) changeLines(detail->m_params);
    change(*detail);
    if (chance(10)) {
      detail->m_pCommand = chance(20) ? nullptr : boost::make_shared<ksservice::COrderCommand>();
      if (detail->m_pCommand) change(*detail->m_pCommand);
    }
    changeOrders(detail->m_orders, publication.m_orderDetails);
    changeOrders(m_serverOrders, publication.m_serverOrderDetails);
    publication.m_serverOrders = m_serverOrders;
    for (std::uint32_t fills = draw(3); fills > 0; --fills) {
      publication.m_fills.push_back({draw(9), number(), number(), figure()});
      publication.m_sent.push_back(number());
    }
    publication.m_eVia = static_cast<desk::EVia>(draw(3));
    publication.m_bCommandKnown = chance(90);
    publication.m_pDetail = detail;
    m_detail = *detail;
    return publication;
  }

 private:
  std::uint32_t draw(std::uint32_t below) { return static_cast<std::uint32_t>(m_random()) % below; }
  bool chance(std::uint32_t percent) { return draw(100) < percent; }
  int number() {
    static const int ODD[] = {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 100};
    return chance(50) ? ODD[draw(6)] : static_cast<int>(m_random());
  }
  double figure() {
    static const double ODD[] = {0.0, -0.0, 0.1, 1e300, std::nan(""), -std::numeric_limits<double>::infinity()};
    return chance(50) ? ODD[draw(6)] : draw(100000) / 100.0;
  }
  /// Also what is no UTF-8, and empty.
  std::string text() {
    static const char* const ODD[] = {"", "浦发银行", "\xff\xfe", "a\"b\n", "600000"};
    return chance(70) ? ODD[draw(5)] : std::string(draw(30), static_cast<char>(draw(256)));
  }
  void set(int& value) { value = number(); }
  void set(bool& value) { value = chance(50); }
  void set(double& value) { value = figure(); }
  void set(std::string& value) { value = text(); }
  void set(ksservice::CMavOrderTag& value) { value = ksservice::CMavOrderTag(text()); }
  template <typename Record>
  void change(Record& record) {
    eachField(record, [&](int, const auto& member) {
      if (chance(25)) set(member(record));
    });
  }
  void changeLines(std::vector<ksservice::CCodeOrderParam>& lines) {
    lines.resize(1 + draw(4));
    auto account = boost::make_shared<ksservice::CAccountInfo>();
    change(*account);
    for (ksservice::CCodeOrderParam& line : lines) {
      change(line);
      if (chance(40)) line.m_pAccount = chance(20) ? nullptr : account;
    }
  }
  void changeOrders(std::vector<COrderInfoPtr>& orders, std::vector<desk::OrderDetailEntry>& details) {
    if (chance(5)) orders.resize(draw(static_cast<std::uint32_t>(orders.size()) + 1));
    for (std::uint32_t more = draw(3); more > 0; --more) {
      auto order = chance(95) ? boost::make_shared<COrderInfo>() : nullptr;
      if (order) {
        order->m_strKey = "o" + std::to_string(++m_nOrders);
        order->m_tag = ksservice::CMavOrderTag(chance(80) ? order->m_strKey : text());
        order->m_strCode = "600000";
      }
      orders.push_back(order);
    }
    for (COrderInfoPtr& order : orders) {
      if (!chance(30)) continue;
      auto changed = order ? boost::make_shared<COrderInfo>(*order) : boost::make_shared<COrderInfo>();
      change(*changed);
      order = chance(95) ? changed : nullptr;
    }
    for (std::uint32_t more = draw(4); more > 0; --more) {
      const COrderInfoPtr order = orders.empty() ? nullptr : orders[draw(static_cast<std::uint32_t>(orders.size()))];
      auto known = boost::make_shared<ksservice::COrderDetail>();
      change(*known);
      if (order && chance(60)) {
        known->m_nTradedVolume = order->m_nTradedVolume;
        known->m_dTradedAmount = order->m_dTradedAmount;
      }
      details.emplace_back(order && chance(90) ? order->m_tag : ksservice::CMavOrderTag(text()),
                           chance(90) ? known : nullptr);
    }
  }

  std::mt19937 m_random;
  ksservice::CTaskDetail m_detail;
  std::vector<COrderInfoPtr> m_serverOrders;
  int m_nOrders = 0;
};

std::string bytesOf(const desklink::v1::DetailUpdate& update) { return update.SerializeAsString(); }

bool readBytes(const std::string& bytes, CDetailState& state, desk::SPublication& publication) {
  desklink::v1::DetailUpdate update;
  return update.ParseFromString(bytes) && state.read(update, publication);
}

/// What is known of each tag, whatever became of it.
using Known = std::map<std::string, std::string>;
void note(Known& known, const std::vector<desk::OrderDetailEntry>& details) {
  for (const auto& [tag, detail] : details) {
    known.erase(tag.text());
    if (detail) addRecord(known[tag.text()], detail);
  }
}

TEST(DetailState, ATerminalHoldsWhatWasPublishedFromWhereverItBegins) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    CRandomHost host(seed);
    CDetailState engine, first, late;
    Known told, lateTold;
    for (int i = 0; i < 60; ++i) {
      const desk::SPublication published = host.publish();
      desklink::v1::DetailUpdate update;
      engine.write(published, update);
      note(told, published.m_orderDetails);
      desk::SPublication taken;
      ASSERT_TRUE(readBytes(bytesOf(update), first, taken)) << seed << ' ' << i;
      ASSERT_EQ(textOf(taken), textOf(published)) << seed << ' ' << i;
      if (i < 30) continue;
      if (i == 30) {
        desklink::v1::DetailUpdate whole;
        engine.writeAll(whole);
        desk::SPublication snapshot;
        ASSERT_TRUE(readBytes(bytesOf(whole), late, snapshot)) << seed;
        note(lateTold, snapshot.m_orderDetails);
        EXPECT_EQ(lateTold, told) << seed << ": what was told of tags of old";
        continue;
      }
      desk::SPublication followed;
      ASSERT_TRUE(readBytes(bytesOf(update), late, followed)) << seed << ' ' << i;
      ASSERT_EQ(textOf(followed), textOf(published)) << seed << ' ' << i;
    }
    EXPECT_EQ(late.hash(), engine.hash());
    EXPECT_EQ(late.sequence(), engine.sequence());
  }
}

TEST(DetailState, WhatDidNotChangeIsNeitherSentNorMadeAnew) {
  CRandomHost host(1);
  desk::SPublication published = host.publish();
  auto detail = boost::make_shared<ksservice::CTaskDetail>(*published.m_pDetail);
  for (int i = 0; i < 300; ++i) {
    auto order = boost::make_shared<COrderInfo>();
    order->m_strKey = "order of the day " + std::to_string(i);
    order->m_tag = ksservice::CMavOrderTag(order->m_strKey);
    detail->m_orders.push_back(order);
  }
  published.m_pDetail = detail;
  CDetailState engine, terminal;
  desklink::v1::DetailUpdate whole;
  engine.write(published, whole);
  desk::SPublication before;
  ASSERT_TRUE(readBytes(bytesOf(whole), terminal, before));
  const std::string shown = textOf(before);

  detail = boost::make_shared<ksservice::CTaskDetail>(*detail);
  const std::size_t place = detail->m_orders.size() - 1;
  detail->m_orders[place] = boost::make_shared<COrderInfo>(*detail->m_orders[place]);
  detail->m_orders[place]->m_nTradedVolume = 700;
  desk::SPublication next;
  next.m_pDetail = detail;
  desklink::v1::DetailUpdate update;
  engine.write(next, update);
  EXPECT_LT(bytesOf(update).size(), 60u);
  EXPECT_GT(bytesOf(whole).size(), 300 * 20u);
  desk::SPublication after;
  ASSERT_TRUE(readBytes(bytesOf(update), terminal, after));
  EXPECT_EQ(after.m_pDetail->m_orders[place]->m_nTradedVolume, 700);
  EXPECT_EQ(after.m_pDetail->m_orders[place - 1], before.m_pDetail->m_orders[place - 1]) << "shared";
  EXPECT_TRUE(after.m_bSameParams);
  EXPECT_EQ(textOf(before), shown) << "what was handed out stays";
}

TEST(DetailState, WhatIsLostOrComesTwiceIsNoticed) {
  CRandomHost host(5);
  CDetailState engine, terminal;
  std::vector<std::string> updates;
  for (int i = 0; i < 4; ++i) {
    desklink::v1::DetailUpdate update;
    engine.write(host.publish(), update);
    updates.push_back(bytesOf(update));
  }
  for (const auto& [order, taken] : std::vector<std::pair<std::vector<std::size_t>, bool>>{
           {{0, 1, 2, 3}, true}, {{1}, false}, {{0, 2}, false}, {{0, 1, 1}, false}, {{0, 1, 0, 1}, true}}) {
    terminal = CDetailState();
    bool last = false;
    for (const std::size_t update : order) {
      desk::SPublication publication;
      last = readBytes(updates[update], terminal, publication);
    }
    EXPECT_EQ(last, taken);
  }
}

/// Nothing crashes, and what was damaged is refused unless nothing that counts was.
TEST(DetailState, DamagedBytesAreRefused) {
  std::mt19937 random(7);
  int refused = 0;
  for (unsigned seed = 1; seed <= 200; ++seed) {
    CRandomHost host(seed);
    CDetailState engine, terminal;
    for (int i = 0; i < 5; ++i) {
      const desk::SPublication published = host.publish();
      desklink::v1::DetailUpdate update;
      engine.write(published, update);
      const std::string bytes = bytesOf(update);
      std::string damaged = bytes;
      switch (random() % 3) {
        case 0:
          damaged.resize(random() % damaged.size());
          break;
        case 1:
          damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
          break;
        default:
          damaged.insert(random() % damaged.size(), 1, static_cast<char>(random()));
      }
      CDetailState copy = terminal;
      desk::SPublication publication;
      if (readBytes(damaged, copy, publication)) {
        EXPECT_EQ(copy.hash(), engine.hash()) << seed;
      } else {
        ++refused;
      }
      ASSERT_TRUE(readBytes(bytes, terminal, publication)) << seed;
    }
  }
  EXPECT_GT(refused, 800);
}

}  // namespace
}  // namespace desklink
