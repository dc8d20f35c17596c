#include "PatchBook.h"

#include <algorithm>
#include <utility>

#include "DetailCounter.h"
#include "EHpfBasketTaskStatus.h"
#include "Notices.h"
#include "TaskRules.h"
#include "TaskTree.h"
#include "ksservice/Helpers.h"
#include "utils/Guarded.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

CTaskDetailPtr newestOf(const CTaskDetailPtr& detail) {
  const CTaskDetailPtr known = ksservice::CAccountData::getData(ksservice::DATA_TYPE_TASK_DETAIL, detail->getKey());
  return known ? known : detail;
}

}  // namespace

void CPatchBook::take(const CTaskDetailPtr& detail) {
  const std::vector<SLedgerRow*> rows = m_counter.rowsOfLines(*detail);
  // All that the host is asked for comes first: it may fail, and then nothing has changed.
  std::vector<SDetailFacts> counts;
  for (const std::string& key : m_counter.patchesSharing(detail->getKey(), rows)) {
    counts.emplace_back(EBTT_Patch, newestOf(key == detail->getKey() ? detail : m_entries.at(key).detail),
                        m_counter.counted(EBTT_Patch, key));
  }
  SEntry& entry = m_entries[detail->getKey()];
  entry.detail = detail;
  entry.rows = rows;
  if (!rows.empty()) m_details[detail->getKey()] = detail;
  for (const SDetailFacts& facts : counts) {
    const bool isNew = facts.detail->getKey() == detail->getKey();
    m_counter.count(facts, {QString(), isNew && !detail->m_bServerTask});
  }
}

void CPatchBook::recount(const std::string& detailKey) {
  const CTaskDetailPtr detail = m_entries.at(detailKey).detail;
  utils::guarded("CPatchBook::recount", detailKey, [&] { take(detail); });
}

std::vector<CTaskDetailPtr> CPatchBook::all() const {
  std::vector<CTaskDetailPtr> details;
  for (const auto& entry : m_entries) details.push_back(entry.second.detail);
  return details;
}

bool CPatchBook::trades() const {
  return std::any_of(m_details.begin(), m_details.end(),
                     [](const CTaskDetailPtr& detail) { return !hasEnded(detail->m_nStatus); });
}

void CPatchBook::note(const CTaskDetail& detail, std::optional<int> shown, CNotices& notices) {
  const bool allEnded = std::all_of(m_details.begin(), m_details.end(),
                                    [](const auto& patch) { return patch->m_nStatus >= ksservice::ETS_Finished; });
  CBasketTaskItem& root = m_tree.root();
  // Of the root, with the row's order type, not its own: that is intended.
  const auto noteRoot = [&](int status, int orderType) {
    notices.status(root.m_strHpfTreeKey, shown.value_or(status), orderType);
  };
  const int status = detail.m_nStatus;
  for (const SLedgerRow* row : m_entries.at(detail.getKey()).rows) {
    CBasketTaskItem& item = *row->item;
    if (item.isFilled()) continue;
    if (status == ksservice::ETS_Finished) {
      if (!std::exchange(item.m_bPatching, false)) continue;
      notices.status(item.m_strKey, EHBTS_PatchFailed, item.m_nOrderType);
    } else if (status == ksservice::ETS_Cancelled || status == ksservice::ETS_ExecutionError) {
      item.m_bPatching = false;
      notices.status(item.m_strKey, EHBTS_PatchFailed, item.m_nOrderType);
      if (!allEnded) continue;
      root.m_bPatching = false;
      noteRoot(EHBTS_PatchFailed, item.m_nOrderType);
    } else if (!hasEnded(status)) {
      root.m_bPatching = true;
      noteRoot(EHBTS_Patching, item.m_nOrderType);
    }
  }
}

void CPatchBook::release(const LineVolumes& lines, bool waiting, CNotices& notices) {
  m_tree.root().m_bPatching = trades() || waiting;
  for (auto rows = m_tree.stocks().cbegin(); rows != m_tree.stocks().cend(); ++rows) {
    for (CBasketTaskItem* item : *rows) {
      if (!item->m_bPatching || !lines.contains(patchLine(*item, rows.key()))) continue;
      item->m_bPatching = false;
      notices.status(item->m_strKey, EHBTS_PatchFailed, item->m_nOrderType);
    }
  }
}

}  // namespace TC
