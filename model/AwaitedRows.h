#pragma once

#include <QString>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "CBasketTaskItem.h"
#include "EBasketTaskType.h"
#include "PatchRules.h"
#include "RowLookup.h"
#include "TaskKeys.h"

namespace TC {

/// The details of which something belongs on rows that may come yet.
class CAwaitedRows {
 public:
  /// A detail: its part and its key.
  using Counted = std::pair<EBasketTaskType, std::string>;

  /// What was found for something of a detail; it is remembered where a better row may come.
  void note(const SFoundRow& found, const std::string& market, const std::string& code, int operation,
            const Counted& detail) {
    if (!found.best) m_awaited[{found.account, orderRowKey(market, code, operation)}].insert(detail);
  }
  void onNewRow(const CBasketTaskItem& row, const QString& accountKey) {
    const auto awaited = m_awaited.find({accountKey, patchLine(row, accountKey).second});
    if (awaited != m_awaited.end()) m_come.insert(awaited->second.begin(), awaited->second.end());
  }
  /// Those whose rows have come since the last call.
  std::set<Counted> takeCome() { return std::exchange(m_come, {}); }

 private:
  std::map<std::pair<QString, QString>, std::set<Counted>> m_awaited;  ///< by account key and the key of the row
  std::set<Counted> m_come;
};

}  // namespace TC
