#include "TimedActs.h"

#include <QTime>
#include <algorithm>
#include <array>
#include <set>
#include <sstream>

#include "Archive.h"
#include "FileBytes.h"
#include "JsonText.h"

namespace app {
namespace {

using journal::CLineFault;
using journal::CReadArchive;
using Json = nlohmann::json;

const journal::Names<SWish::EDo> WISHES{{SWish::EDo::Cancel, "cancel"},
                                        {SWish::EDo::Pause, "pause"},
                                        {SWish::EDo::Resume, "resume"},
                                        {SWish::EDo::Patch, "patch"},
                                        {SWish::EDo::Hedge, "hedge"}};

std::int64_t timeOf(const CReadArchive& archive, std::int64_t begin) {
  std::string text;
  archive.required("at", text);
  const QString time = QString::fromStdString(text);
  QTime at = QTime::fromString(time, QStringLiteral("HH:mm:ss"));
  if (!at.isValid()) at = QTime::fromString(time, QStringLiteral("HH:mm:ss.zzz"));
  if (!at.isValid()) archive.fail("at", "needs a time like 10:30:00 or 10:30:00.500, not '" + text + "'");
  if (at.msecsSinceStartOfDay() < begin) archive.fail("at", "is before the day begins");
  return at.msecsSinceStartOfDay();
}

SWish wishOf(const CReadArchive& archive, const Json& line) {
  SWish wish;
  archive.choice("do", wish.m_eDo, WISHES);
  archive.required("task", wish.m_nTask);
  std::set<std::string> known{"at", "do", "task"};
  if (wish.m_eDo == SWish::EDo::Hedge) {
    archive.choice("what", wish.m_eHedge, hedgeActNames());
    known.insert("what");
  }
  for (const auto& [name, value] : line.items()) {
    if (!known.contains(name)) archive.fail(name, "is unknown");
  }
  return wish;
}

SActText textOf(const CReadArchive& archive, Json line, const desk::CDesk& desk) {
  SActText text;
  archive.required("kind", text.m_strKind);
  line.erase("at");
  line.erase("kind");
  text.m_strBody = line.dump();
  std::string fault;
  if (!toAct(text, desk, fault)) throw CLineFault(fault);
  return text;
}

STimedAct actOf(const std::string& text, std::int64_t begin, const desk::CDesk& desk) {
  const Json line = journal::tryParseJson(text);
  if (!line.is_object()) throw CLineFault("is no JSON object");
  const CReadArchive archive(line);
  STimedAct act;
  act.m_nMsec = timeOf(archive, begin);
  if (line.contains("do") == line.contains("kind")) throw CLineFault("needs either \"do\" or \"kind\"");
  if (line.contains("do")) {
    act.m_what = wishOf(archive, line);
  } else {
    act.m_what = textOf(archive, line, desk);
  }
  return act;
}

}  // namespace

std::vector<STimedAct> readActs(const std::string& file, std::int64_t begin, const desk::CDesk& desk,
                                std::vector<std::string>& faults) {
  std::vector<STimedAct> acts;
  basket::SFileBytes bytes = basket::readFileBytes(file);
  if (bytes.m_refusal == basket::ERefusal::Unreadable) {
    faults.push_back("cannot read " + file);
  } else if (bytes.m_refusal != basket::ERefusal::None) {
    faults.push_back(file + ": " + basket::refusalText(bytes.m_refusal));
  }
  std::istringstream in(std::move(bytes.m_strBytes));
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    try {
      STimedAct act = actOf(line, begin, desk);
      act.m_nLine = number;
      acts.push_back(std::move(act));
    } catch (const std::exception& fault) {
      faults.push_back(file + ":" + std::to_string(number) + ": " + fault.what());
    }
  }
  std::stable_sort(acts.begin(), acts.end(),
                   [](const STimedAct& one, const STimedAct& other) { return one.m_nMsec < other.m_nMsec; });
  return acts;
}

}  // namespace app
