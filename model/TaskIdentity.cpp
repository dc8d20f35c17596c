#include "TaskIdentity.h"

#include "ksservice/Helpers.h"

namespace TC {

STaskAccount accountOf(const ksservice::CTaskDetail& detail) {
  const auto& account = detail.m_params.front().m_pAccount;
  if (!account) return {};
  return {QString::fromStdString(account->getKey()), accountDisplayIDQs(*account),
          QString::fromStdString(account->m_strName)};
}

}  // namespace TC
