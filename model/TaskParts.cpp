#include "TaskParts.h"

namespace TC {

int& CTaskLock::heldHere() {
  static thread_local int count = 0;
  return count;
}

}  // namespace TC
