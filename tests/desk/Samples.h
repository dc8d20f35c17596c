#pragma once

#include <boost/make_shared.hpp>
#include <string>

#include "CDesk.h"

namespace sample {

/// Of a running task that came with the feed.
inline desk::SPublication publication(const std::string& key) {
  desk::SPublication made;
  made.m_pDetail = boost::make_shared<ksservice::CTaskDetail>();
  made.m_pDetail->m_strKey = key;
  made.m_pDetail->m_nStatus = ksservice::ETS_Running;
  made.m_eVia = desk::EVia::Feed;
  return made;
}

}  // namespace sample
