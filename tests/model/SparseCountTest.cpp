/// However its details came to be what they are, a task has what one has that counts them from nothing, to the last
/// bit.
#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "TaskFixture.h"
#include "tc/CTradeClient.h"

namespace {

using namespace TC;
using namespace ksservice;

class CSparseCountTest : public CTaskTest, public testing::WithParamInterface<int> {
 protected:
  CSparseCountTest() {
    for (const int number : {1, 2, 3, 4}) m_newest[number] = linesOf(number);
    for (const char* code : {"600000", "600001"}) setInstrument(code);
    host.tellChanges(GetParam() % 3 != 0);
  }

  int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
  bool isRare() { return pick(8) == 0; }

  /// Two own details of two accounts of one name, one whose rows come late, and a patch on both accounts.
  DetailPtr linesOf(int number) {
    DetailPtr made = number == 4 ? patchDetail(904) : detail(number);
    const auto add = [&](const AccountPtr& account, const char* market, const char* code, int operation) {
      made->m_params.push_back(param(account, market, code, operation, 1000 * number, isRare() ? 0 : 10));
      made->m_params.back().m_nPriceType = isRare() ? EPT_MarketSH : EPT_Limit;
    };
    if (number == 1) add(mainAccount, "SGT", "00700", EOT_Buy);
    if (number == 3) add(mainAccount, "HK", "00700", EOT_Buy);
    if (number == 3) add(mainAccount, "SH", "600003", EOT_Buy);
    for (const char* code : {"600000", "600001", "600002"}) {
      if (number != 2) add(mainAccount, "SH", code, EOT_Buy);
      if (number == 1) add(mainAccount, "SH", code, EOT_Buy);
      if (number % 2 == 0) add(m_namesake, "SH", code, EOT_Buy);
    }
    for (int i = 0; i < 30 && number != 2; ++i) add(mainAccount, "SH", manyCode(i).c_str(), EOT_Buy);
    return made;
  }

  static std::string manyCode(int number) { return std::to_string(601000 + number); }

  /// Some keys come again in a detail, in every fourth run on two places at once; some tags belong to two details.
  OrderPtr randomOrder(int number, int place) {
    const bool connect = isRare();
    const std::string one = pick(2) == 0 ? manyCode(pick(30)) : "60000" + std::to_string(pick(4));
    const std::string code = connect ? "00700" : one;
    const int key = GetParam() % 4 == 0 ? pick(10) : place;
    OrderPtr made = order(std::to_string(number) + "/" + std::to_string(key), connect ? "HGT" : "SH", code, EOT_Buy,
                          1000, pick(1000), isRare() ? 0 : pick(1000000) / 3.0);
    return change(made);
  }
  OrderPtr change(const OrderPtr& before) {
    OrderPtr made = boost::make_shared<COrderInfo>(*before);
    made->m_nTradedVolume = pick(1001);
    made->m_dTradedAmount = isRare() ? 0 : pick(1000000) / 3.0;
    made->m_bCompleted = pick(2) == 0;
    made->m_bHasMessage = pick(2) == 0;
    made->m_strMessage = "message " + std::to_string(pick(100));
    if (isRare()) made->m_tag = CMavOrderTag("tag " + std::to_string(pick(6)));
    return made;
  }

  /// Another state of a detail; tells whether the parameters are as before.
  bool changeDetail(int number, CTaskDetail& made) {
    auto& orders = made.m_orders;
    const int kind = pick(10);
    if (kind == 0) std::shuffle(orders.begin(), orders.end(), m_random);
    if (kind == 1) orders.resize(static_cast<std::size_t>(pick(static_cast<int>(orders.size()) + 1)));
    if (kind == 2 || kind == 3) orders.push_back(randomOrder(number, static_cast<int>(orders.size())));
    if (kind == 2) orders.push_back(isRare() ? nullptr : randomOrder(number, static_cast<int>(orders.size())));
    if (kind == 4 && number % 2 == 0) made.m_bServerTask = !made.m_bServerTask;
    const bool all = kind == 5;
    for (OrderPtr& one : orders) {
      if (one && (all || isRare())) one = change(one);
    }
    if (kind == 6 && !orders.empty()) orders.back() = randomOrder(number, static_cast<int>(orders.size()) - 1);
    if (kind != 7) return true;
    CCodeOrderParam& changed = made.m_params[static_cast<std::size_t>(pick(static_cast<int>(made.m_params.size())))];
    changed.m_dPrice = pick(20);
    changed.m_nOrderType = isRare() ? EORT_Algo : EORT_Plain;
    return false;
  }

  void setInstrument(const std::string& code) {
    CCodeInfo info = testkit::makeInstrument("SH", code);
    info.m_dMultiplier = 1 + pick(3);
    info.m_marketPriceTypes = {EPT_MarketSH};
    host.desk().setInstrument(info);
  }
  void changeHost() {
    const int kind = pick(6);
    const std::string code = "60000" + std::to_string(pick(2));
    CQuote quote;
    quote.m_dCalc = pick(1000) / 7.0;
    if (kind == 0) host.desk().setQuote("SH", code, quote);
    if (kind == 1 && isRare()) setInstrument(code);
    if (kind == 2) host.setOrderDetail("tag " + std::to_string(pick(6)), pick(2) == 0);
    if (kind == 3) host.setOrderDetail(std::to_string(1 + pick(4)) + "/" + std::to_string(pick(8)), pick(2) == 0);
    if (kind == 4 && isRare()) host.tellChanges(pick(2) == 0);
    if (kind != 5) return;
    CTaskProgress progress;
    for (int i = pick(4); i > 0; --i) {
      CProgressOrder& entry = progress.m_orders.emplace_back();
      entry.m_strMapKey = "1001:" + std::to_string(i);
      entry.m_nParamIndex = pick(3);
      entry.m_detail.m_strMarket = "SH";
      entry.m_detail.m_strCode = "60000" + std::to_string(pick(3));
      entry.m_detail.m_nTradedVolume = pick(1000);
      entry.m_detail.m_dTradedAmount = pick(1000000) / 3.0;
    }
    host.desk().setProgress("123-2", progress);
  }

  static void give(CBasketTask& to, DetailPtr one) {
    one->m_pCommand->m_bPatch ? to.updatePatch(one) : to.updateDetail(one);
  }
  /// Where the host fails at some question, nothing has changed.
  void tryOnFailingHost(const DetailPtr& one) {
    int left = pick(20);
    host.setMeeting([&left](const std::string&) {
      if (left-- == 0) throw std::runtime_error("the host fails");
    });
    const std::string before = figures(task);
    try {
      give(task, one);
    } catch (const std::runtime_error&) {
      EXPECT_EQ(figures(task), before);
    }
    host.setMeeting({});
  }

  /// A task that has all details, of which it counts one from nothing at the end, over the remarks of the real one.
  boost::shared_ptr<CBasketTask> counted(int last, const std::map<QString, QString>& remarks) {
    auto fresh = boost::make_shared<CBasketTask>(task.getKey(), 123, 77);
    fresh->getRoot()->setHpfTreeKey("T");
    for (const auto& [number, one] : m_taken) {
      DetailPtr given = next(one);
      if (number == last && !one->m_pCommand->m_bPatch) {
        given->m_params.front().m_dPrice += 1;
        given->m_orders.clear();
      }
      give(*fresh, given);
    }
    eachRow(*fresh->getRoot(), [&](const QString& key, CBasketTaskItem& row) { row.m_strRemark = remarks.at(key); });
    host.takeLog();
    give(*fresh, m_taken.at(last));
    return fresh;
  }

  template <typename Action>
  static void eachRow(CBasketTaskItem& node, const Action& action) {
    if (!node.m_strStockKey.isEmpty()) action(QString::fromStdString(node.m_strAccountKey) + node.m_strStockKey, node);
    for (CBasketTaskItem* child : node.m_children) eachRow(*child, action);
  }
  static std::string line(const CBasketTaskItem& node) {
    std::ostringstream out;
    out << std::hexfloat << node.m_strKey.toStdString();
    for (const int figure :
         {node.m_nTotalVolume, node.m_nFinishedVolume, node.m_nTradedVolume, node.m_nPatchVolume, node.m_nOrderCount,
          node.m_nOrderCount2, node.m_nCurOrderCount, node.m_nCurOrderCount2, node.m_nPatchOrderCount,
          node.m_nPatchOrderCount2, node.m_nCanceledCount, node.isEmpty() ? node.m_nOrderType : 0, node.m_nStatus}) {
      out << ' ' << figure;
    }
    for (const double amount : {node.m_dTradedAmount, node.m_dTotalAmount, node.m_dCurAmount, node.m_dPatchAmount}) {
      out << ' ' << amount;
    }
    out << ' ' << node.finishedVolume() << ' ' << node.m_strRemark.toStdString() << '\n';
    return out.str();
  }
  /// The line of each node, the root's first.
  static void eachLine(const CBasketTaskItem& node,
                       std::vector<std::pair<const CBasketTaskItem*, std::string>>& lines) {
    lines.emplace_back(&node, line(node));
    for (const CBasketTaskItem* child : node.m_children) eachLine(*child, lines);
  }
  static std::string figures(const CBasketTask& of) {
    std::vector<std::pair<const CBasketTaskItem*, std::string>> lines;
    eachLine(*of.getRoot(), lines);
    std::string text;
    for (const auto& each : lines) text += each.second;
    return text;
  }
  /// What is not named is as the table knows it; of the rows each that is named has changed.
  void takeChanges() {
    const SChangedRows changes = task.takeChanges();
    const std::set<const CBasketTaskItem*> named(changes.rows.begin(), changes.rows.end());
    std::vector<std::pair<const CBasketTaskItem*, std::string>> lines;
    eachLine(root, lines);
    for (const auto& [node, text] : lines) {
      const bool changed = std::exchange(m_shown[node], text) != text;
      EXPECT_TRUE(changes.all || named.contains(node) || !changed) << text;
      EXPECT_TRUE(changed || !node->isEmpty() || !named.contains(node)) << text;
    }
  }
  /// How often each of what is told with every count was told since the last call.
  std::pair<long, long> told() {
    const std::vector<std::string> log = host.takeLog();
    const auto count = [&log](const char* text) {
      return std::count_if(log.begin(), log.end(), [&](const auto& line) { return line.find(text) != line.npos; });
    };
    return {count("total money error"), count("fix task money")};
  }

  std::map<const CBasketTaskItem*, std::string> m_shown;
  std::mt19937 m_random{static_cast<unsigned>(GetParam())};
  AccountPtr m_namesake = account("A2", "1001");
  std::map<int, DetailPtr> m_newest;  ///< as published
  std::map<int, DetailPtr> m_taken;   ///< as the task knows them
};

TEST_P(CSparseCountTest, EqualsACountFromNothing) {
  for (int step = 0; step < 150; ++step) {
    const int number = 1 + pick(step < 40 ? 2 : 4);
    changeHost();
    for (const auto& [known, one] : m_taken) {
      give(task, one);
      takeChanges();
    }
    DetailPtr& newest = m_newest.at(number);
    if (!isRare()) {
      newest = next(newest);
      const bool same = changeDetail(number, *newest);
      host.desk().publishTask({newest, {}, desk::EVia::Store, false, same});
    }
    // What else a first state makes be counted has its word, too: it is told with the next.
    if (!m_taken.contains(number)) {
      give(task, newest);
    } else if (isRare()) {
      tryOnFailingHost(newest);
    }
    std::map<QString, QString> remarks;
    std::map<QString, CBasketTaskItem*> rows;
    eachRow(root, [&](const QString& key, CBasketTaskItem& row) {
      remarks[key] = row.m_strRemark;
      rows[key] = &row;
    });
    host.takeLog();
    give(task, newest);
    const auto log = told();
    m_taken[number] = newest;
    takeChanges();
    const auto fresh = counted(number, remarks);
    ASSERT_EQ(figures(task), figures(*fresh)) << "step " << step << ", detail " << number;
    ASSERT_EQ(log, told()) << "step " << step << ", detail " << number;
    eachRow(*fresh->getRoot(), [&](const QString& key, const CBasketTaskItem& one) {
      for (const OrderPtr& order : one.m_mapOrders) EXPECT_EQ(rows.at(key)->m_mapOrders.value(order->getKey()), order);
    });
    ASSERT_FALSE(HasFailure()) << "step " << step << ", detail " << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CSparseCountTest, testing::Range(1, 25));

}  // namespace
