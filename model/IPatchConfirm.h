/// How a task asks its user to confirm a patch. The task states the offer and judges what is chosen; who asks is
/// installed by whoever shows the task.
#pragma once

#include <QStringList>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "ksservice/CTaskDetail.h"
#include "ksservice/Enumerations.h"

namespace TC {

using PatchParams = std::vector<ksservice::CCodeOrderParam>;

struct SPatchOffer {
  PatchParams lines;         ///< each with the most that may be ordered as its volume
  PatchParams taskParams;    ///< the task's own, in the order of its details' keys; never none
  std::string algoParams;    ///< algorithm parameters of the task's command; empty: none
  bool algorithmic = false;  ///< an algorithm's trade, which may go on as a new basket
};

struct SPatchGivenUp {};

/// The lines are to go on as a new basket.
struct SPatchBasket {
  QStringList lines;   ///< for the host's new-basket window
  PatchParams params;  ///< those behind the lines, each with its line's quantity as its volume
};

/// The lines are to be ordered as a task of the same basket.
struct SPatchOrders {
  PatchParams params;                     ///< with order type, price type and price
  std::string algoParams;                 ///< of the algorithm that was chosen; empty: the task keeps its own
  int orderType = ksservice::EORT_Plain;  ///< EOrderType of the trade parameters
  PatchParams unpriced;                   ///< chosen too, but left out for want of a price above 0
};

using PatchChoice = std::variant<SPatchGivenUp, SPatchBasket, SPatchOrders>;

/// Asks the user of one task. Made on the GUI thread for the task's first patch and freed there with the task, so that
/// what the user edits may last from one patch to the next.
class IPatchConfirm {
 public:
  virtual ~IPatchConfirm() = default;
  /// Shows the offer and returns when the user has chosen. Runs an event loop: the task is called without its mutex and
  /// is held by its caller. GUI thread.
  virtual PatchChoice confirm(const SPatchOffer& offer) = 0;
};

using PatchConfirmFactory = std::function<std::unique_ptr<IPatchConfirm>()>;

/// From now on a task that has not asked yet asks through what the factory makes; an empty one: nobody can be asked,
/// and such a task refuses to be patched. GUI thread.
void setPatchConfirmFactory(PatchConfirmFactory factory);
/// Null without a factory. GUI thread.
std::unique_ptr<IPatchConfirm> makePatchConfirm();

}  // namespace TC
