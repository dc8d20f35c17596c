#pragma once

#include <QString>
#include <string>

#include "ksservice/IData.h"

namespace ksservice {

/// A trading account. Its key names it in every map of rows.
class CAccountInfo : public IData {
 public:
  int m_nType = 0;             ///< account type; a hedge counts only accounts of type 1
  std::string m_strDisplayId;  ///< identifier shown to the user; two accounts may share one
  std::string m_strName;       ///< account name text
};

}  // namespace ksservice

namespace TC {

/// The display identifier shown in tables. Any thread.
QString accountDisplayIDQs(const ksservice::CAccountInfo& account);

}  // namespace TC
