#include "DayStart.h"

#include <QCoreApplication>
#include <QSaveFile>
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "Inputs.h"
#include "JsonText.h"
#include "tc/AlgoParams.h"

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

/// A file of the day that is not the same any more.
struct SOtherFile {
  std::string m_strPath;
  std::string m_strBefore;
  std::string m_strNow;  ///< empty: it cannot be read
};

std::optional<SOtherFile> otherFile(const Json& files) {
  for (const Json& file : files) {
    SOtherFile each{file.at("path"), file.at("sha256"), {}};
    each.m_strNow = contentHash(each.m_strPath);
    if (each.m_strNow != each.m_strBefore) return each;
  }
  return {};
}

/// On the command line.
std::string faultOf(const SOtherFile& file) {
  if (file.m_strNow.empty()) return "cannot read " + file.m_strPath + ", with which the day began";
  return file.m_strPath + " has the content " + file.m_strNow + ", but the day began with " + file.m_strBefore;
}

/// In the window.
std::string noticeOf(const SOtherFile& file) {
  return "文件 " + file.m_strPath + (file.m_strNow.empty() ? " 读不出来" : " 的内容已经改变") + "，与交易日开始时不同";
}

/// The body of a day's first entry.
std::string startText(const OptionValues& ofDay, const SOptions& options) {
  Json body;
  body["options"] = ofDay;
  body["futuresAccount"] = options.hasFuturesAccount();
  for (const std::string& path : filesOf(options)) {
    // Whoever looks back stands elsewhere.
    body["files"].push_back({{"path", std::filesystem::absolute(path).string()}, {"sha256", contentHash(path)}});
  }
  body["build"] = contentHash(QCoreApplication::applicationFilePath().toStdString());
  return body.dump();
}

}  // namespace

std::string momentText(std::int64_t msec) { return TC::formatSecondOfDay(static_cast<int>(msec / 1000)); }

bool isOver(daylog::IDayLog& log) {
  if (!log.isFinished() && lastTime(log) > DAY_ENDS) log.finish(lastTime(log));
  return log.isFinished();
}

std::string writeHead(const daylog::IDayLog& log, const std::string& file) {
  QSaveFile out(QString::fromStdString(file + ".head"));
  const bool written = out.open(QIODevice::WriteOnly) && out.write((log.head() + "\n").c_str()) > 0 && out.commit();
  return written ? std::string() : file + ".head: " + out.errorString().toStdString();
}

std::int64_t lastTime(const daylog::IDayLog& log) {
  const std::int64_t entered = log.entries().empty() ? 0 : log.entries().back().m_nMsec;
  return log.marks().empty() ? entered : std::max(entered, log.marks().back().m_nMsec);
}

std::string takeStart(const daylog::IDayLog& log, const OptionValues& given, SOptions& options,
                      std::string* otherFiles) {
  try {
    const daylog::SEntry& first = log.entries().at(0);
    if (first.m_strKind != DAY_ENTRY) return "its first entry says not how it began";
    const Json began = journal::parseJson(first.m_strBody);
    const OptionValues values = began.at("options");
    if (std::string fault = otherOption(values, given); !fault.empty()) return fault;
    // An option that repeats would be given twice.
    options.m_baskets.clear();
    applyOptions(values, options);
    options.m_bFuturesAccount = began.at("futuresAccount").get<bool>();
    const std::optional<SOtherFile> other = otherFile(began.at("files"));
    if (!other) return {};
    if (!otherFiles) return faultOf(*other);
    *otherFiles = noticeOf(*other);
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
