/// Whatever comes in whatever order: the figures are those of a plain recount of the newest details.
#include <map>
#include <random>

#include "TaskFixture.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;

struct SCount {
  int traded = 0;
  int orders = 0;
  int known = 0;
  int cancelled = 0;
  double amount = 0;
  double target = 0;

  bool operator==(const SCount& other) const {
    return traded == other.traded && orders == other.orders && known == other.known && cancelled == other.cancelled &&
           amount == other.amount && target == other.target;
  }
  void add(const SCount& other) {
    traded += other.traded;
    orders += other.orders;
    known += other.known;
    cancelled += other.cancelled;
    amount += other.amount;
    target += other.target;
  }
};

std::ostream& operator<<(std::ostream& out, const SCount& count) {
  return out << count.traded << "/" << count.orders << "/" << count.known << "/" << count.cancelled << " "
             << count.amount << " of " << count.target;
}

class CPropertyTest : public CTaskTest, public testing::WithParamInterface<unsigned> {
 protected:
  static constexpr int INSTRUMENTS = 6;
  static constexpr int DETAILS = 5;

  static std::string code(int instrument) { return "60000" + std::to_string(instrument); }
  static QString rowKey(const std::string& text, int operation) {
    return QString::fromStdString("SH." + text) + operationText(operation);
  }
  int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

  /// Details 1 to 3 belong to one account, the others to the second one.
  DetailPtr makeDetail(int number) {
    DetailPtr made = detail(number);
    const AccountPtr& account = number <= 3 ? mainAccount : secondAccount;
    const int lines = 1 + pick(5);
    for (int i = 0; i < lines; ++i) {
      made->m_params.push_back(param(account, "SH", code(pick(INSTRUMENTS)), EOT_Buy + pick(2), 100 * (1 + pick(9)),
                                     0.01 * (1 + pick(5000))));
    }
    return made;
  }

  /// Changes some orders, adds some, now and then drops or swaps some; unchanged ones stay shared.
  void trade(CTaskDetail& made) {
    for (OrderPtr& one : made.m_orders) {
      if (pick(3) == 0) {
        one = boost::make_shared<COrderInfo>(*one);
        one->m_nTradedVolume += pick(7);
        one->m_dTradedAmount = one->m_nTradedVolume * 0.1 * (1 + pick(99));
      }
    }
    for (int i = pick(4); i > 0; --i) {
      const std::string key = made.getKey() + "/" + std::to_string(m_nOrders++);
      made.m_orders.push_back(order(key, "SH", code(pick(INSTRUMENTS)), EOT_Buy + pick(2), 100, 1, 0.3));
      if (pick(2)) setDetail(key);
    }
    if (!made.m_orders.empty() && pick(10) == 0) made.m_orders.pop_back();
    if (pick(10) == 0) std::shuffle(made.m_orders.begin(), made.m_orders.end(), m_random);
  }

  void setDetail(const std::string& key) {
    const bool cancelled = pick(2) == 0;
    host.setOrderDetail(key, cancelled);
    m_known[key] = cancelled;
  }

  /// What one detail gives each row: first its own sum, so that the sums of doubles are formed in one order.
  std::map<QString, SCount> recount(const CTaskDetail& counted, const QMap<QString, TC::CBasketTaskItem*>& rows) const {
    std::map<QString, SCount> counts;
    for (const CCodeOrderParam& line : counted.m_params) {
      counts[rowKey(line.m_stock.m_strCode, line.m_nOperation)].target += line.m_nVolume * line.m_dPrice;
    }
    for (const OrderPtr& one : counted.m_orders) {
      const QString key = rowKey(one->m_strCode, one->m_nOperation);
      if (!rows.contains(key)) continue;
      const auto known = m_known.find(one->getKey());
      const bool found = known != m_known.end();
      counts[key].add({one->m_nTradedVolume, 1, found, found && known->second, one->m_dTradedAmount, 0});
    }
    return counts;
  }

  static SCount figures(const TC::CBasketTaskItem& item) {
    return {item.m_nFinishedVolume, item.m_nOrderCount,   item.m_nOrderCount2,
            item.m_nCanceledCount,  item.m_dTradedAmount, item.m_dTotalAmount};
  }

  void compare(const std::map<int, DetailPtr>& newest) {
    for (const QString& account : {QStringLiteral("A1"), QStringLiteral("A2")}) {
      const auto& rows = task.getStockDetailMap(account);
      std::map<QString, SCount> expected;
      for (const auto& [number, made] : newest) {
        if ((number <= 3) != (account == "A1")) continue;
        for (const auto& [key, count] : recount(*made, rows)) expected[key].add(count);
      }
      for (auto at = rows.cbegin(); at != rows.cend(); ++at) {
        ASSERT_EQ(figures(**at), expected[at.key()]) << account.toStdString() << " " << at.key().toStdString();
      }
    }
    ASSERT_EQ(figures(root), sumOfLeaves(root));
  }

  /// Summed level by level, as the tree does, so that the doubles agree to the last bit.
  static SCount sumOfLeaves(const TC::CBasketTaskItem& node) {
    if (node.isEmpty()) return figures(node);
    SCount sum;
    for (const TC::CBasketTaskItem* child : node.m_children) sum.add(sumOfLeaves(*child));
    return sum;
  }

  std::mt19937 m_random{GetParam()};
  int m_nOrders = 0;
  std::map<std::string, bool> m_known;
};

TEST_P(CPropertyTest, FiguresAreARecountOfTheNewestDetails) {
  std::map<int, DetailPtr> newest;
  for (int step = 1; step <= 80; ++step) {
    const int number = 1 + pick(DETAILS);
    const auto known = newest.find(number);
    DetailPtr made = known == newest.end() ? makeDetail(number) : next(known->second);
    trade(*made);
    newest[number] = made;
    update(made);
    if (step % 10 != 0) continue;
    // An order may have come before the row that it falls on: the next refresh of its detail finds the row.
    task.updateOrderDetail();
    ASSERT_NO_FATAL_FAILURE(compare(newest)) << "step " << step;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CPropertyTest, testing::Range(0u, 20u));

}  // namespace
