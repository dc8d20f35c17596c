#pragma once

#include <QStringList>
#include <map>
#include <string>
#include <vector>

#include "Remainder.h"
#include "TaskIdentity.h"
#include "tc/CTradeClient.h"

namespace TC {

class COwnDetails;
class CPatchBook;
class CPatchState;
class CRootFacts;
class CTaskTree;

/// The details of a task as the data centre knows them, by their keys.
struct SNewestDetails {
  std::map<std::string, ksservice::CTaskDetailPtr> own;
  std::map<std::string, ksservice::CTaskDetailPtr> patches;
};

/// What is left of a row.
struct SLeftRow {
  CBasketTaskItem* item = nullptr;
  SRemainderRow row;
  SRemainder remainder;

  /// What is offered of it.
  int offered() const { return remainder.refusal == ERefusal::None ? remainder.volume : 0; }
};

/// What can be patched, and a line for the user for each row that cannot.
struct SPatchLines {
  std::vector<ksservice::CCodeOrderParam> params;
  QStringList refused;
};

/// Looks up what the remainders of a cancelled task follow from (Remainder.h), and makes of them what is offered.
/// finished is the answer of a progress query, null where none was asked for.
class CPatchOffers {
 public:
  using AccountPtr = boost::shared_ptr<const ksservice::CAccountInfo>;

  /// All must outlive the offers.
  CPatchOffers(const STaskIdentity& id, const CTaskTree& tree, const COwnDetails& own, const CPatchBook& patches,
               const CPatchState& state, const CRootFacts& root)
      : m_id(id), m_tree(tree), m_own(own), m_patches(patches), m_state(state), m_root(root) {}

  /// What the data centre knows. To be asked without the task's mutex.
  static std::vector<ksservice::CTaskDetailPtr> askDetails();
  /// Those that the task has been given and, of the same login, those of the data centre that are still on their way.
  SNewestDetails newest(const std::vector<ksservice::CTaskDetailPtr>& known) const;
  /// Whether these details say that the task was cancelled.
  bool isCancelled(const SNewestDetails& details) const;
  /// Whether the answer speaks of every server task that may still trade.
  static bool answersAll(const SNewestDetails& details, const OrderProcessMap& finished);

  /// Every row with exactly one operation. given: an account that need not be in the user's configuration.
  std::vector<SLeftRow> left(const SNewestDetails& details, const OrderProcessMap* finished,
                             const AccountPtr& given = nullptr) const;
  SPatchLines offer(const SNewestDetails& details, const OrderProcessMap& finished) const;
  /// Logs what is offered of a row.
  void logLeft(const SLeftRow& left) const;
  /// Whether the task may still be patched by these lines. Time has passed since they were offered.
  bool stillFits(const SNewestDetails& details, const std::vector<ksservice::CCodeOrderParam>& params,
                 const OrderProcessMap& finished) const;
  /// What the answer says that the task's server tasks have finished of a security for an account.
  int finishedNumber(const QString& accountKey, const std::string& securityKey, const OrderProcessMap& finished) const;

  /// A row's parameter; none for an unknown instrument.
  static std::optional<ksservice::CCodeOrderParam> paramOf(const CBasketTaskItem& item, const AccountPtr& account,
                                                           int volume);
  /// The line of a message that names what is not ordered.
  static QString refusalLine(const ksservice::CCodeOrderParam& param, ERefusal refusal);

 private:
  SRemainderFacts facts(const SNewestDetails& details, const OrderProcessMap* finished,
                        std::vector<CBasketTaskItem*>& items) const;
  SRemainderRow rowOf(CBasketTaskItem& item, const QString& accountKey, const OrderProcessMap* finished) const;
  std::vector<SPatchSource> sources(const SNewestDetails& details, const OrderProcessMap* finished) const;
  SPatchSource sourceOf(const ksservice::CTaskDetail& detail, const OrderProcessMap* finished) const;
  const ksservice::CTaskDetailPtr* answeredDetail(const std::string& taskKey) const;

  const STaskIdentity& m_id;
  const CTaskTree& m_tree;
  const COwnDetails& m_own;
  const CPatchBook& m_patches;
  const CPatchState& m_state;
  const CRootFacts& m_root;
};

}  // namespace TC
