#pragma once

namespace TC {

/// What a task announces of a node beyond the host's ETaskStatus.
enum EHpfBasketTaskStatus : int {
  EHBTS_HedgeCancelled = -1,
  EHBTS_Patching = 10000,
  EHBTS_PatchFailed = 10001,  ///< also: no patch is under way
  EHBTS_PatchFinished = 10002
};

}  // namespace TC
