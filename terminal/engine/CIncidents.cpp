#include "CIncidents.h"

namespace engine {
namespace {

struct SKindText {
  const char* m_pUnit;
  const char* m_pText;
  bool m_bInMessage;
};

SKindText textOf(CIncidents::EKind kind) {
  switch (kind) {
    case CIncidents::EKind::NotOrdered:
      return {" 行", "不能委托", true};
    case CIncidents::EKind::PartlyOrdered:
      return {" 行", "不能全部委托", true};
    case CIncidents::EKind::Refused:
      return {" 笔", "委托被拒绝", true};
    case CIncidents::EKind::Cancelled:
      return {" 笔", "委托被自动撤销", true};
    case CIncidents::EKind::LateCancel:
      return {" 笔", "撤单未成", false};
    case CIncidents::EKind::Hint:
      break;
  }
  return {" 行", "提示", false};
}

}  // namespace

void CIncidents::add(EKind kind, const std::string& reason, const std::string& security) {
  SReason& known = m_reasons[{kind, reason}];
  ++known.m_nCount;
  ++known.m_fresh[security];
}

std::string CIncidents::text() const {
  std::string text;
  for (auto each = m_reasons.begin(); each != m_reasons.end();) {
    const EKind kind = each->first.first;
    const SKindText words = textOf(kind);
    int count = 0;
    std::string reasons;
    for (; each != m_reasons.end() && each->first.first == kind; ++each) {
      const int hit = each->second.m_nCount;
      count += hit;
      reasons += (reasons.empty() ? "" : "；") + each->first.second + " " + std::to_string(hit) + words.m_pUnit;
    }
    if (!words.m_bInMessage) continue;
    text += (text.empty() ? "" : "；") + std::to_string(count) + words.m_pUnit + words.m_pText + "（" + reasons + "）";
  }
  return text;
}

std::vector<std::string> CIncidents::takeLog() {
  std::vector<std::string> lines;
  for (auto& [key, reason] : m_reasons) {
    if (reason.m_fresh.empty()) continue;
    std::string securities;
    int count = 0;
    for (const auto& [security, hit] : reason.m_fresh) {
      securities += (securities.empty() ? "" : ", ") + security + (hit > 1 ? " ×" + std::to_string(hit) : "");
      count += hit;
    }
    const SKindText words = textOf(key.first);
    lines.push_back(std::to_string(count) + words.m_pUnit + words.m_pText + ", " + key.second + ": " + securities);
    reason.m_fresh.clear();
  }
  return lines;
}

}  // namespace engine
