/// Who a task is, and whose account a detail is: what the parts of a task share.
#pragma once

#include <QString>

#include "ksservice/CTaskDetail.h"

namespace TC {

struct STaskIdentity {
  const void* task;  ///< the address that stands in the log, never followed
  QString key;
  int groupId;  ///< the task's number, under which the hedge manager knows its hedge too
  int commandId;
};

struct STaskAccount {
  QString key;
  QString displayId;
  QString name;
};

/// The account of a detail's first parameter, of which it must have one; without an account all is empty.
STaskAccount accountOf(const ksservice::CTaskDetail& detail);

}  // namespace TC
