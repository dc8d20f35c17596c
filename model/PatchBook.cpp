#include "PatchBook.h"

#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "tc/Services.h"
#include "utils/Guarded.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfoPtr;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

/// The rows on which the lines, orders and progress of a patch detail count.
class CRowFinder {
 public:
  CRowFinder(const CTaskDetail& detail, CRowLedger& ledger, const CPatchBook::Rows& rows)
      : m_accounts(detail.m_params, ELineAccount::Each), m_ledger(ledger), m_rows(rows) {}

  SLedgerRow* ofLine(const CCodeOrderParam& param) {
    const std::string account = param.m_pAccount ? param.m_pAccount->getKey() : std::string();
    return find(account, param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_nOperation);
  }
  /// On the account of the line that it belongs to; where that cannot be told, on the first. mapKey: of a progress.
  SLedgerRow* ofOrder(const std::string& market, const std::string& code, int operation,
                      const std::string& mapKey = {}) {
    return find(m_accounts.of(orderRowKey(market, code, operation), mapKey).front(), market, code, operation);
  }
  /// Whether something was found that may count on another row when more of them have come, or was not found.
  bool mayMove() const { return m_bMayMove; }

 private:
  SLedgerRow* find(const std::string& account, const std::string& market, const std::string& code, int operation) {
    const SFoundRow found = findRow(m_rows.value(QString::fromStdString(account)), market, code, operation);
    m_bMayMove = m_bMayMove || !found.best;
    return found.row ? &m_ledger.row(found.row) : nullptr;
  }

  CLineAccounts m_accounts;
  CRowLedger& m_ledger;
  const CPatchBook::Rows& m_rows;
  bool m_bMayMove = false;
};

namespace {

using RowShares = std::map<SLedgerRow*, SRowShare>;

void addProgress(RowShares& shares, const CTaskDetail& detail, const CTaskProgress& progress, CRowFinder& rows) {
  for (const CProgressOrder& order : progress.m_orders) {
    const CCodeOrderParam* param = paramOf(detail, order).param;
    const ksservice::COrderDetail& known = order.m_detail;
    SLedgerRow* row =
        param ? rows.ofOrder(known.m_strMarket, known.m_strCode, param->m_nOperation, order.m_strMapKey) : nullptr;
    if (!row) continue;
    SRowShare share;
    share.traded = known.m_nTradedVolume;
    share.amount = known.m_dTradedAmount;
    share.orders = share.knownOrders = 1;
    share.cancelled = COrderDetailHelper::isOrderCanceled(known);
    shares[row].add(share);
  }
}

void addOrders(RowShares& shares, const CTaskDetail& detail, CRowFinder& rows) {
  for (COrderInfoPtr order : detail.m_orders) {
    SLedgerRow* row = order ? rows.ofOrder(order->m_strMarket, order->m_strCode, order->m_nOperation) : nullptr;
    if (!row) continue;
    SRowShare share;
    share.traded = order->m_nTradedVolume;
    share.amount = order->m_dTradedAmount;
    share.orders = 1;
    if (const auto known = COrderDetailHelper::getOrderDetailByMavTag(order->m_tag)) {
      share.knownOrders = 1;
      share.cancelled = COrderDetailHelper::isOrderCanceled(*known);
    }
    shares[row].add(share);
    row->item->insertOrder(order);
  }
}

/// The orders of a detail that counts on other rows now.
void removeOrders(CBasketTaskItem& item, const CTaskDetail& detail) {
  for (const COrderInfoPtr& order : detail.m_orders) {
    if (order) item.m_mapOrders.remove(order->getKey());
  }
}

/// With an empty share on each row of a line of which nothing has been traded.
RowShares sharesOf(const CTaskDetail& detail, CRowFinder& rows) {
  RowShares shares;
  for (const CCodeOrderParam& param : detail.m_params) {
    if (SLedgerRow* row = rows.ofLine(param)) shares[row];
  }
  const auto progress = detail.m_bServerTask ? getTradeClient().getTaskProgress(detail.getKey()) : nullptr;
  if (progress) {
    addProgress(shares, detail, *progress, rows);
  } else {
    addOrders(shares, detail, rows);
  }
  for (auto& share : shares) share.second.progress = detail.m_bServerTask;
  return shares;
}

}  // namespace

void CPatchBook::take(const CTaskDetailPtr& detail) {
  const std::string& key = detail->getKey();
  const std::vector<SLedgerRow*> lines = rowsOf(*detail);
  const auto known = m_entries.find(key);
  std::set<SLedgerRow*> rows = known == m_entries.end() ? std::set<SLedgerRow*>() : known->second.rows;
  rows.insert(lines.begin(), lines.end());
  std::map<std::string, CTaskDetailPtr> details = {{key, detail}};
  for (const SLedgerRow* row : rows) {
    for (const auto& patch : row->patches) details.try_emplace(patch.first, m_entries.at(patch.first).detail);
  }
  // All that the host is asked for comes first: it may fail, and then nothing has changed.
  std::vector<SCount> counts;
  counts.reserve(details.size());
  for (const auto& one : details) counts.push_back(count(one.second));
  m_entries[key].detail = detail;
  if (!lines.empty()) m_details[key] = detail;
  for (const SCount& one : counts) enter(one, rows);
  for (const SLedgerRow* row : rows) settleRow(*row);
}

/// As the host knows the detail now.
CPatchBook::SCount CPatchBook::count(const CTaskDetailPtr& detail) const {
  SCount count;
  count.key = detail->getKey();
  count.newest = ksservice::CAccountData::getData(ksservice::DATA_TYPE_TASK_DETAIL, count.key);
  if (!count.newest) count.newest = detail;
  CRowFinder finder(*count.newest, m_ledger, m_rows);
  count.shares = sharesOf(*count.newest, finder);
  count.mayMove = finder.mayMove();
  return count;
}

/// touched gets the rows whose figures change by it.
void CPatchBook::enter(const SCount& count, std::set<SLedgerRow*>& touched) {
  SEntry& entry = m_entries.at(count.key);
  for (SLedgerRow* row : entry.rows) {
    row->patches.erase(count.key);
    if (!count.shares.contains(row)) removeOrders(*row->item, *count.newest);
  }
  touched.insert(entry.rows.begin(), entry.rows.end());
  entry.rows.clear();
  for (const auto& [row, share] : count.shares) {
    row->patches[count.key] = share;
    entry.rows.insert(row);
    touched.insert(row);
  }
  entry.mayMove = count.mayMove;
}

void CPatchBook::onNewRows() {
  std::vector<CTaskDetailPtr> details;
  for (const auto& [key, entry] : m_entries) {
    if (entry.mayMove) details.push_back(entry.detail);
  }
  for (const CTaskDetailPtr& detail : details) {
    utils::guarded("CPatchBook::onNewRows", detail->getKey(), [&] {
      takeMessages(*detail);
      take(detail);
    });
  }
}

void CPatchBook::takeMessages(const CTaskDetail& detail) const {
  if (detail.m_bServerTask) return;
  CRowFinder finder(detail, m_ledger, m_rows);
  for (const COrderInfoPtr& order : detail.m_orders) {
    if (!order || order->m_strMessage.empty()) continue;
    const bool unfilled = COrderDetailHelper::completed(*order) && order->m_nTradedVolume < order->m_nVolume;
    SLedgerRow* row = unfilled ? finder.ofOrder(order->m_strMarket, order->m_strCode, order->m_nOperation) : nullptr;
    if (row) row->item->m_strRemark = QString::fromStdString(order->m_strMessage);
  }
}

std::vector<CTaskDetailPtr> CPatchBook::all() const {
  std::vector<CTaskDetailPtr> details;
  for (const auto& entry : m_entries) details.push_back(entry.second.detail);
  return details;
}

std::vector<SLedgerRow*> CPatchBook::rowsOf(const CTaskDetail& detail) const {
  CRowFinder finder(detail, m_ledger, m_rows);
  std::vector<SLedgerRow*> rows;
  for (const CCodeOrderParam& param : detail.m_params) {
    if (SLedgerRow* row = finder.ofLine(param)) rows.push_back(row);
  }
  return rows;
}

}  // namespace TC
