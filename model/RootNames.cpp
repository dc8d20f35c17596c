#include "RootNames.h"

#include "CBasketTaskItem.h"
#include "TaskRules.h"

namespace TC {

void CRootNames::addAccount(const Place& place, const QString& key, const QString& displayId, const QString& name) {
  const auto [known, isNew] = m_accounts.try_emplace(key, SAccount{place, displayId, name});
  if (!isNew && place < known->second.place) known->second = {place, displayId, name};
}

void CRootNames::addOperation(const Place& place, int operation) {
  const auto [known, isNew] = m_operations.try_emplace(operation, place);
  if (!isNew && place < known->second) known->second = place;
}

void CRootNames::show(CBasketTaskItem& root) const {
  std::multimap<Place, const SAccount*> accounts;
  for (const auto& entry : m_accounts) accounts.emplace(entry.second.place, &entry.second);
  root.m_strAccounts.clear();
  root.m_strAccountName.clear();
  for (const auto& entry : accounts) {
    root.m_strAccounts = joinAccount(root.m_strAccounts, entry.second->displayId);
    if (root.m_strAccountName.isEmpty()) root.m_strAccountName = entry.second->name;
  }
  std::map<Place, int> operations;
  for (const auto& [operation, place] : m_operations) operations.emplace(place, operation);
  root.m_vecOperations.clear();
  for (const auto& entry : operations) root.m_vecOperations.append(entry.second);
}

}  // namespace TC
