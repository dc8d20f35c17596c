#pragma once

#include <string>

namespace ksservice {

/// A record of one operation on a task, shared by all the sends of one user action.
struct CTaskOpRecord {
  int m_nOperation = 0;  ///< ETaskOperation
  int m_nTime = 0;       ///< seconds since the epoch
  std::string m_strOperator;
  std::string m_strRemark;
};

}  // namespace ksservice
