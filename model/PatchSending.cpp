/// What was accepted in a patch: the creation, and the host's answer.
#include "PatchFlow.h"
#include "TaskParts.h"
#include "TaskSpeech.h"
#include "ksservice/Operations.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {

using ksservice::COrderCommand;

namespace {

/// What createTask is told of a patch that was confirmed line by line.
constexpr int CONFIRMED_PATCH = 1;

}  // namespace

/// Whoever is asked for the task's patch can be told on which figures it rests.
void CBasketTask::CPatchFlow::keepProof(const std::vector<SLeftRow>& rows, const ParamList& chosen) {
  const CTaskLock task(*m_task.m_guard);
  const int number = task->proof ? task->proof->number + 1 : 1;
  task->proof = std::make_shared<const SPatchProof>(proofOf(rows, chosen, number));
}

void CBasketTask::CPatchFlow::send(const SPatchOrders& chosen, const OrderProcessMap& finished) {
  const auto command = getItCommandCenter().getCommand(m_task.getCommandKey());
  if (!command) {
    utils::logInfo(&m_task, "CBasketTask::patchWithParam", "get command fail");
    return m_task.announceEnded();
  }
  COrderCommand patch = *command;
  if (!chosen.algoParams.empty()) {
    patch.m_strAlgoParams = chosen.algoParams;
    patch.m_nOrderType = ksservice::EORT_Algo;
  } else if (!ksservice::DataHelper::isAlgoOrderType(chosen.orderType)) {
    // The user confirmed a plain trade, whatever the task itself was.
    patch.m_strAlgoParams.clear();
    patch.m_nOrderType = ksservice::EORT_Plain;
  }
  const auto known = CPatchOffers::askDetails();
  std::vector<SLeftRow> rows;
  {
    const CTaskLock task(*m_task.m_guard);
    const SNewestDetails details = task->offers.newest(known);
    task->tree.root().m_bPatching = true;
    noteArrivals(task, details);
    rows = task->offers.left(details, &finished);
  }
  keepProof(rows, chosen.params);
  create(patch, chosen.params, CONFIRMED_PATCH);
  m_task.announceRoot();
}

/// What is there before a patch is sent is not what the host makes of it.
void CBasketTask::CPatchFlow::noteArrivals(const CTaskLock& task, const SNewestDetails& details) {
  for (const auto& patch : details.patches) {
    CPatchStore::instance().noteArrival(task->root.storeKey(), *patch.second);
  }
}

/// What is ordered is held before the host hears of it, in a store that outlives the task's object and the panel.
void CBasketTask::CPatchFlow::create(const COrderCommand& command, const ParamList& params, int hedgeType) {
  COrderCommand patch = command;
  patch.m_bPatch = true;
  const LineVolumes lines = plannedVolumes(params, ELineAccount::Each);
  const CPatchStore::Task key = CTaskLock(*m_task.m_guard)->root.storeKey();
  Q_ASSERT(!CTaskLock::isHeldHere());
  getItCommandCenter().createTask(
      patch, params, static_cast<EMavTraderType>(command.m_nTraderType), hedgeType,
      [weak = m_task.weak_from_this(), key, creation = hold(lines), services = servicesNumber(), lines](
          const utils::KSError& error, int taskId) {
        if (services == servicesNumber()) takeReply(weak, key, creation, lines, error, taskId);
      },
      m_task.getGroupId());
}

/// Gives the number of the creation.
int CBasketTask::CPatchFlow::hold(const LineVolumes& lines) {
  CPatchStore& store = CPatchStore::instance();
  const int number = store.newNumber();
  const double now = utils::clockMSec();
  const CTaskLock task(*m_task.m_guard);
  store.of(task->root.storeKey(), [&](CPatchCreations& creations) { creations.add(number, lines, now); });
  task->root.formEndTime();
  return number;
}

/// The host's answer to a creation. Any thread; the task's object may have gone.
void CBasketTask::CPatchFlow::takeReply(const boost::weak_ptr<CBasketTask>& weak, const CPatchStore::Task& key,
                                        int creation, const LineVolumes& lines, const utils::KSError& error,
                                        int taskId) {
  const bool made = error.success();
  CPatchStore::instance().of(key, [&](CPatchCreations& creations) {
    if (made) {
      creations.answered(creation, taskId);
    } else {
      creations.failed(creation);
    }
  });
  const QString message = QString::fromStdString(error.errorMsg());
  const auto task = weak.lock();
  if (!task) {
    if (!made) getMsgService().showMsg(QStringLiteral("补单失败 ") + message, EMK_TaskError);
    return;
  }
  if (made) {
    const auto patches = CTaskLock(*task->m_guard)->patches.all();
    for (const auto& detail : patches) task->sendOwed(*detail);
    return;
  }
  CBasketTask* const raw = task.get();
  QMetaObject::invokeMethod(
      raw, [raw, lines, message] { CPatchFlow(*raw).takeFailure(lines, message); }, Qt::QueuedConnection);
}

void CBasketTask::CPatchFlow::takeFailure(const LineVolumes& lines, const QString& message) {
  const auto self = m_task.weak_from_this().lock();  // the message runs an event loop
  {
    const CTaskLock task(*m_task.m_guard);
    CSpeech notices(m_task);
    task->patches.release(lines, task->root.wait().waiting, notices);
    task->root.form(notices);
  }
  tell(message.isEmpty() ? QStringLiteral("补单失败") : message);
  m_task.announceEnded();
}

}  // namespace TC
