/// What the steps from a task's remainder to a patch hand on. Only for CBasketTask's own sources.
#pragma once

#include "CBasketTask.h"

namespace TC {

/// The details as the data centre knows them, by their keys.
struct CBasketTask::SNewest {
  std::map<std::string, ksservice::CTaskDetailPtr> own;
  std::map<std::string, ksservice::CTaskDetailPtr> patches;
};

/// What is left of a row.
struct CBasketTask::SLeft {
  CBasketTaskItem* item;
  PatchLine line;
  long long orders;  ///< what its orders have traded or may still
  SRest rest;
};

/// What can be patched, and a line for the user for each row that cannot.
struct CBasketTask::SOffer {
  ParamList params;
  QStringList refused;
};

}  // namespace TC
