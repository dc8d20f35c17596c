#include "DayStart.h"

#include <QCoreApplication>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "Inputs.h"

namespace app {
namespace {

using Json = nlohmann::ordered_json;

using daylog::contentHash;

std::vector<std::string> filesOf(const SOptions& options) {
  std::vector<std::string> files = basketFilesOf(options);
  files.insert(files.begin(), instrumentFileOf(options));
  for (const std::string& each : {options.m_strPositions, options.m_strFees, options.m_strActs}) {
    if (!each.empty()) files.push_back(each);
  }
  return files;
}

std::string joined(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) text += (text.empty() ? "" : ", ") + value;
  return text;
}

std::string otherOption(const OptionValues& began, const OptionValues& given) {
  for (const auto& [name, values] : given) {
    const auto found = began.find(name);
    const std::vector<std::string> before = found == began.end() ? std::vector<std::string>() : found->second;
    if (isSameOption(name, before, values)) continue;
    return "option --" + name + " is " + joined(values) + ", but the day began " +
           (before.empty() ? "without it" : "with " + joined(before));
  }
  return {};
}

std::string otherFile(const Json& files) {
  for (const Json& file : files) {
    std::string path = file.at("path");
    const std::string before = file.at("sha256");
    const std::string now = contentHash(path);
    if (now.empty()) return "cannot read " + path + ", with which the day began";
    if (now != before) return path.append(" has the content ").append(now).append(", but the day began with ") + before;
  }
  return {};
}

/// The body of a day's first entry.
std::string startText(const OptionValues& ofDay, const SOptions& options) {
  Json body;
  body["options"] = ofDay;
  body["futuresAccount"] = options.hasFuturesAccount();
  for (const std::string& path : filesOf(options)) {
    body["files"].push_back({{"path", path}, {"sha256", contentHash(path)}});
  }
  body["build"] = contentHash(QCoreApplication::applicationFilePath().toStdString());
  return body.dump();
}

}  // namespace

std::int64_t lastTime(const daylog::IDayLog& log) {
  const std::int64_t entered = log.entries().empty() ? 0 : log.entries().back().m_nMsec;
  return log.marks().empty() ? entered : std::max(entered, log.marks().back().m_nMsec);
}

std::string takeStart(const daylog::IDayLog& log, const OptionValues& given, SOptions& options,
                      std::string* otherFiles) {
  try {
    const daylog::SEntry& first = log.entries().at(0);
    if (first.m_strKind != DAY_ENTRY) return "its first entry says not how it began";
    const Json began = Json::parse(first.m_strBody);
    const OptionValues values = began.at("options");
    if (std::string fault = otherOption(values, given); !fault.empty()) return fault;
    // An option that repeats would be given twice.
    options.m_baskets.clear();
    applyOptions(values, options);
    options.m_bFuturesAccount = began.at("futuresAccount").get<bool>();
    std::string changed = otherFile(began.at("files"));
    if (!otherFiles) return changed;
    *otherFiles = std::move(changed);
    return {};
  } catch (const std::exception& error) {
    return std::string("its first entry cannot be read: ") + error.what();
  }
}

std::string beginDay(daylog::IDayLog* log, const OptionValues& given, const SOptions& options) {
  if (!log || !log->entries().empty()) return {};
  const std::int64_t begin = options.m_nStartMinute * std::int64_t{60000};
  return log->append({{0, begin, DAY_ENTRY, startText(given, options)}}, {});
}

}  // namespace app
