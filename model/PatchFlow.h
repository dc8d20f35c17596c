/// A patch of a task, from the click to what the host makes of it. Only for CBasketTask's own sources.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CBasketTask.h"
#include "IPatchConfirm.h"
#include "PatchOffers.h"
#include "PatchStore.h"
#include "ksservice/CTaskDetail.h"

namespace TC {

/// The steps of a patch, in their order: what server tasks have finished is asked for, what is left is offered, the
/// user confirms, the host is asked for a task, and its answer is taken. How far it is stands in the task's
/// CPatchState, what was sent and has not come in the CPatchStore. Dialogs, boxes and requests have no lock to give:
/// the steps that need the task's parts take one for themselves and let go of it. GUI thread, unless said otherwise;
/// the caller holds the task.
class CBasketTask::CPatchFlow {
 public:
  explicit CPatchFlow(CBasketTask& task) : m_task(task) {}

  // By confirmation
  void start(const QString& key, EMavTraderType traderType);
  /// Any thread.
  void takeAnswer(const OrderProcessMap& data, const utils::KSError& error, const bson::BSONObj& result,
                  const QString& key);
  void goOn(const QString& key, bool ok);
  void confirm(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType);

  // Without one
  void patch(const QString& key, int priceType);
  bool patchRow(const CBasketTaskItem* item, const AccountPtr& account, int priceType);

 private:
  /// Ends a patch however its steps are left.
  struct SEnd {
    CPatchFlow& flow;
    ~SEnd() { flow.end(); }
  };

  static void tell(const QString& text);
  static void tellRefused(const QStringList& refused);

  // The query
  bool begin();
  void end();
  void refuse();
  std::optional<int> ask(std::vector<std::string>& serverKeys);
  void failQuery();

  // The confirmation
  void offer(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType);
  PatchChoice choose(const SPatchOffer& offer);
  void refuseOffer();
  bool stillHolds();
  bool checkFits(const ParamList& params, const OrderProcessMap& finished);
  void take(const SPatchOrders& chosen, const OrderProcessMap& finished);
  void take(const SPatchBasket& chosen, const OrderProcessMap& finished);

  // The creation
  void send(const SPatchOrders& chosen, const OrderProcessMap& finished);
  void keepProof(const std::vector<SLeftRow>& rows, const ParamList& chosen);
  void create(const ksservice::COrderCommand& command, const ParamList& params, int hedgeType);
  int hold(const LineVolumes& lines);
  static void takeReply(const boost::weak_ptr<CBasketTask>& weak, const CPatchStore::Task& key, int creation,
                        const LineVolumes& lines, const utils::KSError& error, int taskId);
  void takeFailure(const LineVolumes& lines, const QString& message);

  // Without a confirmation
  std::vector<SLeftRow> left(const AccountPtr& given = nullptr);
  void patchAll(int priceType);
  void patchOne(const QString& key, int priceType);
  bool patchLeft(const SLeftRow& left, const AccountPtr& account, int priceType);
  bool failRow(CBasketTaskItem& item, ERefusal refusal);

  static void noteArrivals(const CTaskLock& task, const SNewestDetails& details);

  CBasketTask& m_task;
};

}  // namespace TC
