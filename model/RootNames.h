/// What a task's root says of its accounts and operations.
#pragma once

#include <QString>
#include <map>
#include <string>
#include <tuple>

namespace TC {

class CBasketTaskItem;

/// Names each account and each operation once, in the order of the details that name them, so that the texts do not
/// hang on which detail came first.
class CRootNames {
 public:
  /// The hedge stands before the task's own details when it was there before them, else behind.
  enum ESide : int { BeforeOwn, Own, BehindOwn };
  /// Side, the detail's key, and the place in the detail.
  using Place = std::tuple<ESide, std::string, std::size_t>;

  void addAccount(const Place& place, const QString& key, const QString& displayId, const QString& name);
  void addOperation(const Place& place, int operation);
  void show(CBasketTaskItem& root) const;

 private:
  struct SAccount {
    Place place;
    QString displayId;
    QString name;
  };
  std::map<QString, SAccount> m_accounts;  ///< by key
  std::map<int, Place> m_operations;
};

}  // namespace TC
