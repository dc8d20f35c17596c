#include "past/DayMarks.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_map>

#include "DayOutputFields.h"
#include "DayStart.h"
#include "JsonText.h"
#include "ksservice/Enumerations.h"
#include "past/DayTrail.h"

namespace app {
namespace {

using nlohmann::json;

constexpr std::int64_t SECOND_MSEC = 1000;

struct SEntryKind {
  const char* m_pKind;
  QString (*m_text)(const json& body);
  std::optional<EDayMark> (*m_mark)(const json& body);
};

QString textOf(const json& body, const char* name) {
  const auto found = body.find(name);
  if (found == body.end()) return {};
  return found->is_string() ? QString::fromStdString(found->get<std::string>()) : QString::fromStdString(found->dump());
}

QString operationText(const json& body) {
  switch (journal::valueOr(body, "operation", 0)) {
    case ksservice::ETO_Cancel:
      return QStringLiteral("撤销");
    case ksservice::ETO_Pause:
      return QStringLiteral("暂停");
    case ksservice::ETO_Resume:
      return QStringLiteral("恢复");
    case ksservice::ETO_Drop:
      return QStringLiteral("放弃");
    default:
      return QStringLiteral("操作");
  }
}

std::optional<EDayMark> noMark(const json&) { return std::nullopt; }
std::optional<EDayMark> stopMark(const json& body) {
  if (journal::valueOr(body, "operation", 0) == ksservice::ETO_Resume) return std::nullopt;
  return EDayMark::Stop;
}

/// Another kind of entry is another line.
const SEntryKind KINDS[] = {
    {DAY_ENTRY, [](const json&) { return QStringLiteral("交易日开始"); }, noMark},
    {daylog::END_ENTRY, [](const json&) { return QStringLiteral("交易日结束"); }, noMark},
    {"basket", [](const json& body) { return QStringLiteral("开始篮子 ") + textOf(body, "name"); },
     [](const json&) { return std::optional(EDayMark::Start); }},
    {"create", [](const json& body) { return QStringLiteral("补单，任务 ") + textOf(body, "ofTask"); },
     [](const json&) { return std::optional(EDayMark::Patch); }},
    {"operate", [](const json& body) { return operationText(body) + QStringLiteral(" 任务 ") + textOf(body, "task"); },
     stopMark},
    {"operateServer",
     [](const json& body) { return operationText(body) + QStringLiteral(" 算法任务 ") + textOf(body, "task"); },
     stopMark},
    {"cancel",
     [](const json& body) { return QStringLiteral("撤销委托 %1 笔").arg(journal::listOf(body, "orders").size()); },
     [](const json&) { return std::optional(EDayMark::Stop); }},
    {"query", [](const json&) { return QStringLiteral("查询进度"); }, noMark},
    {"setHedge", [](const json& body) { return QStringLiteral("设置对冲，组 ") + textOf(body, "group"); }, noMark},
    {"hedge",
     [](const json& body) {
       const QString act = textOf(body, "act");
       const QString word = act == QLatin1String("start")   ? QStringLiteral("启动")
                            : act == QLatin1String("pause") ? QStringLiteral("暂停")
                                                            : QStringLiteral("停止");
       return word + QStringLiteral("对冲，组 ") + textOf(body, "group");
     },
     [](const json& body) {
       return textOf(body, "act") == QLatin1String("start") ? std::nullopt : std::optional(EDayMark::Stop);
     }}};

const SEntryKind* kindOf(const daylog::SEntry& entry) {
  const auto found = std::find_if(std::begin(KINDS), std::end(KINDS),
                                  [&entry](const SEntryKind& kind) { return entry.m_strKind == kind.m_pKind; });
  return found == std::end(KINDS) ? nullptr : found;
}

void addEntries(const daylog::IDayLog& log, std::vector<SDayMark>& marks) {
  for (const daylog::SEntry& entry : log.entries()) {
    const SEntryKind* kind = kindOf(entry);
    if (!kind) continue;
    if (const auto mark = kind->m_mark(bodyOf(entry))) marks.push_back({entry.m_nMsec, *mark, entryText(entry)});
  }
}

/// One for each second, with the first reason.
void addRefusals(const CPastDay& day, std::vector<SDayMark>& marks) {
  std::int64_t last = -1;
  for (const SPastTask& task : day.tasks()) {
    for (const SPastReport& report : task.m_reports) {
      const bool refused = (report.m_nState & EOS_Completed) != 0 && (report.m_nState & EOS_Accepted) == 0 &&
                           (report.m_nState & EOS_Cancelled) == 0 && report.m_nTraded == 0;
      if (!refused || task.m_nMsec / SECOND_MSEC == last) continue;
      last = task.m_nMsec / SECOND_MSEC;
      marks.push_back(
          {task.m_nMsec, EDayMark::Refusal, QStringLiteral("拒单：") + QString::fromStdString(report.m_strMessage)});
    }
  }
}

void addMessages(const CPastDay& day, std::vector<SDayMark>& marks) {
  std::int64_t last = -1;
  for (const SPastMessage& message : day.messages()) {
    if (!message.m_bWarning || message.m_nMsec / SECOND_MSEC == last) continue;
    last = message.m_nMsec / SECOND_MSEC;
    marks.push_back({message.m_nMsec, EDayMark::Exception, QString::fromStdString(message.m_strText)});
  }
}

}  // namespace

const char* colourOf(EDayMark mark) {
  // Starts, patches, pauses and cancels, refusals, exceptions.
  static const char* const COLOURS[] = {"clr_text_link", "clr_side_mixed", "clr_text_caution", "clr_text_warning",
                                        "clr_btn_style_3"};
  static_assert(std::size(COLOURS) == static_cast<std::size_t>(EDayMark::Count));
  return COLOURS[static_cast<std::size_t>(mark)];
}

QString entryText(const daylog::SEntry& entry) {
  const SEntryKind* kind = kindOf(entry);
  return kind ? kind->m_text(bodyOf(entry)) : QString::fromStdString(entry.m_strKind);
}

std::vector<SDayMark> dayMarks(const daylog::IDayLog& log, const CPastDay& day) {
  std::vector<SDayMark> marks;
  addEntries(log, marks);
  addRefusals(day, marks);
  addMessages(day, marks);
  std::stable_sort(marks.begin(), marks.end(),
                   [](const SDayMark& one, const SDayMark& other) { return one.m_nMsec < other.m_nMsec; });
  return marks;
}

}  // namespace app
