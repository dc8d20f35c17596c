#pragma once

#include <boost/make_shared.hpp>
#include <string>

#include "CDesk.h"

namespace sample {

inline ksservice::CTaskDetailPtr detail(const std::string& key, int status = ksservice::ETS_Running) {
  auto made = boost::make_shared<ksservice::CTaskDetail>();
  made->m_strKey = key;
  made->m_nStatus = status;
  return made;
}

inline desk::SPublication publication(const std::string& key, desk::EVia via = desk::EVia::Feed) {
  desk::SPublication made;
  made.m_pDetail = detail(key);
  made.m_eVia = via;
  return made;
}

}  // namespace sample
