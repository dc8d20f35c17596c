#include "RowExplanation.h"

#include <algorithm>
#include <optional>

#include "CBasketTask.h"
#include "TaskParts.h"
#include "TaskRules.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace TC {
namespace {

bool isBelow(const CBasketTaskItem* node, const CBasketTaskItem* above) {
  while (node && node != above) node = node->m_pParent;
  return node == above;
}

/// What each detail of a patch was to trade of a line.
std::vector<std::pair<std::string, long long>> patchesOf(
    const std::vector<std::pair<std::string, LineVolumes>>& planned, const PatchLine& line) {
  std::vector<std::pair<std::string, long long>> patches;
  for (const auto& [key, volumes] : planned) {
    const auto found = volumes.find(line);
    if (found != volumes.end()) patches.emplace_back(key, found->second);
  }
  return patches;
}

/// What of it is in the market; the rest of its target is still to be sent.
SLineExplanation hedgeLine(const CBasketTaskItem& row, const CTaskHedge& hedge) {
  SLineExplanation line;
  SLineFacts& facts = line.facts;
  facts.key = row.m_strKey;
  facts.stockKey =
      QString::fromStdString(utils::mavStockKey(row.m_strMarket.toStdString(), row.m_strStockKey.toStdString()));
  facts.account = row.m_strAccounts;
  if (!hedge.details().isEmpty()) facts.accountKey = accountOf(*hedge.details().first()).key.toStdString();
  facts.operation = row.m_vecOperations.value(0, ksservice::EOT_None);
  facts.unset = row.m_bUnset;
  for (const auto& order : row.m_mapOrders) {
    line.orders.push_back(order->getKey());
    if (!order->m_bCompleted) facts.open += order->m_nVolume - order->m_nTradedVolume;
  }
  if (facts.unset) return line;
  facts.target = row.totalVolume();
  facts.done = row.finishedVolume();
  return line;
}

}  // namespace

SLineFacts lineFacts(const SLeftRow& left) {
  const SRemainder& remainder = left.remainder;
  SLineFacts facts;
  facts.key = left.item->m_strKey;
  facts.stockKey = left.item->m_strStockKey;
  facts.account = left.item->m_strAccounts;
  facts.accountKey = left.row.line.first;
  facts.operation = left.item->m_vecOperations.value(0, ksservice::EOT_None);
  facts.unset = left.row.unset;
  facts.refusal = remainder.refusal;
  if (facts.unset) return facts;
  facts.target = left.row.target;
  facts.done = left.row.finished;
  facts.open = facts.target - facts.done - remainder.rest.open;
  facts.held = remainder.rest.open - remainder.rest.free;
  facts.rounding = remainder.rest.free - remainder.volume;
  facts.offered = left.offered();
  facts.accepted = remainder.accepted;
  facts.handedOver = remainder.handedOver;
  facts.unknown = remainder.unknown;
  return facts;
}

SPatchProof proofOf(const std::vector<SLeftRow>& rows, const std::vector<ksservice::CCodeOrderParam>& chosen,
                    int number) {
  SPatchProof proof;
  proof.number = number;
  LineVolumes volumes = plannedVolumes(chosen, ELineAccount::Each);
  for (const SLeftRow& row : rows) {
    const auto found = volumes.find(row.row.line);
    if (found == volumes.end()) continue;
    // Rows that share a line have their parts of what was chosen of it, in their order.
    const long long offered = row.offered();
    const bool last = std::none_of(&row + 1, rows.data() + rows.size(),
                                   [&row](const SLeftRow& other) { return other.row.line == row.row.line; });
    const long long part = last ? found->second : std::min(found->second, offered);
    found->second -= part;
    proof.lines.push_back({lineFacts(row), part});
  }
  return proof;
}

std::optional<SRowExplanation> CBasketTask::explain(const QString& nodeKey) {
  const auto known = CPatchOffers::askDetails();
  const CTaskLock task(*m_guard);
  CBasketTaskItem& root = task->tree.root();
  const CBasketTaskItem* node = nodeKey.isEmpty() || nodeKey == root.m_strKey ? &root : root.find(nodeKey);
  if (!node) return std::nullopt;
  SRowExplanation explained;
  explained.root = node == &root;
  explained.leaf = node->isEmpty();
  explained.key = node->m_strKey;
  explained.name = node->m_strName;
  explained.status = task->root.shownStatus();
  explained.facts = task->root.facts();
  explained.verdict = rootVerdict(explained.facts);
  explained.wait = task->root.wait();
  if (explained.root) explained.proof = task->proof;
  std::vector<std::pair<std::string, LineVolumes>> planned;
  for (const auto& patch : task->patches.all()) {
    planned.emplace_back(patch->getKey(), plannedVolumes(patch->m_params, ELineAccount::Each));
  }
  for (const SLeftRow& row : task->offers.left(task->offers.newest(known), nullptr)) {
    if (!isBelow(row.item, node)) continue;
    SLineExplanation& line = explained.lines.emplace_back();
    line.facts = lineFacts(row);
    for (const auto& order : row.item->m_mapOrders) line.orders.push_back(order->getKey());
    line.patches = patchesOf(planned, row.row.line);
  }
  const CBasketTaskItem* hedge = task->hedge.row();
  if (hedge && isBelow(hedge, node)) explained.hedge = hedgeLine(*hedge, task->hedge);
  return explained;
}

}  // namespace TC
