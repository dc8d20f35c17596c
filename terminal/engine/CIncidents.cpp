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
      return {" 笔", "委托被撤销", true};
    case CIncidents::EKind::LateCancel:
      return {" 笔", "撤单未成", false};
    case CIncidents::EKind::Hint:
      break;
  }
  return {" 行", "提示", false};
}

std::string summary(CIncidents::EKind kind, const std::string& reason, int count) {
  const SKindText words = textOf(kind);
  return reason + "（" + std::to_string(count) + words.m_pUnit + words.m_pText + "）";
}

}  // namespace

void CIncidents::add(EKind kind, const std::string& reason, const std::string& security) {
  SReason& known = m_reasons[{kind, reason}];
  ++known.m_nCount;
  ++known.m_fresh[security];
}

std::string CIncidents::text() const {
  std::string text;
  for (const auto& [key, reason] : m_reasons) {
    if (!textOf(key.first).m_bInMessage) continue;
    text += (text.empty() ? "" : "；") + summary(key.first, key.second, reason.m_nCount);
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
    lines.push_back(summary(key.first, key.second, count) + ": " + securities);
    reason.m_fresh.clear();
  }
  return lines;
}

}  // namespace engine
