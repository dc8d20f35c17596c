#include "tc/AlgoParams.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "utils/Keys.h"

namespace TC {
namespace {

constexpr int DAY = 24 * 3600;

constexpr std::array<const char*, 3> NAMES = {"TWAP", "VWAP", "POV"};

template <typename Number>
bool readNumber(std::string_view text, Number& out) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
  return error == std::errc() && end == text.data() + text.size();
}

bool readAlgorithm(const std::string& text, SAlgoParams& out) {
  const auto* const found = std::find(NAMES.begin(), NAMES.end(), std::string_view(text));
  if (found == NAMES.end()) return false;
  out.m_eAlgorithm = static_cast<EAlgorithm>(found - NAMES.begin());
  return true;
}

bool slicesApply(EAlgorithm algorithm) { return algorithm != EAlgorithm::POV; }
bool rateApplies(EAlgorithm algorithm) { return algorithm == EAlgorithm::POV; }
bool always(EAlgorithm /*algorithm*/) { return true; }

struct SField {
  const char* name;
  bool (*applies)(EAlgorithm algorithm);
  bool required;
  bool (*read)(const std::string& text, SAlgoParams& out);
  std::string (*write)(const SAlgoParams& params);  ///< empty: left out
};

/// In the order of the text.
const SField FIELDS[] = {
    {"algo", always, true, readAlgorithm,
     [](const SAlgoParams& p) { return std::string(algorithmName(p.m_eAlgorithm)); }},
    {"start", always, true,
     [](const std::string& t, SAlgoParams& p) { return (p.m_nStart = parseSecondOfDay(t)) >= 0; },
     [](const SAlgoParams& p) { return formatSecondOfDay(p.m_nStart); }},
    {"end", always, true, [](const std::string& t, SAlgoParams& p) { return (p.m_nEnd = parseSecondOfDay(t)) >= 0; },
     [](const SAlgoParams& p) { return formatSecondOfDay(p.m_nEnd); }},
    {"slices", slicesApply, true, [](const std::string& t, SAlgoParams& p) { return readNumber(t, p.m_nSlices); },
     [](const SAlgoParams& p) { return std::to_string(p.m_nSlices); }},
    {"limit", always, false, [](const std::string& t, SAlgoParams& p) { return readNumber(t, p.m_dLimit); },
     [](const SAlgoParams& p) { return p.m_dLimit > 0 ? formatFixed(p.m_dLimit) : std::string(); }},
    {"rate", rateApplies, true, [](const std::string& t, SAlgoParams& p) { return readNumber(t, p.m_dRate); },
     [](const SAlgoParams& p) { return formatFixed(p.m_dRate); }},
};

/// Reads one "name=value" into the next field of that name; what is wrong with it, or empty.
std::string readField(const std::string& part, const SField*& next, SAlgoParams& out) {
  const std::size_t split = part.find('=');
  const std::string name = part.substr(0, split);
  for (; next != std::end(FIELDS); ++next) {
    if (split != std::string::npos && name == next->name) break;
    if (next->required && next->applies(out.m_eAlgorithm)) return std::string("缺少 ") + next->name;
  }
  if (next == std::end(FIELDS) || !next->applies(out.m_eAlgorithm)) return "无法识别 \"" + part + "\"";
  if (!next->read(part.substr(split + 1), out)) return "取值有误 \"" + part + "\"";
  ++next;
  return {};
}

std::string readAll(const std::string& text, SAlgoParams& out) {
  const SField* next = std::begin(FIELDS);
  for (const std::string& part : utils::split(text, ';')) {
    std::string error = readField(part, next, out);
    if (!error.empty()) return error;
  }
  for (; next != std::end(FIELDS); ++next) {
    if (next->required && next->applies(out.m_eAlgorithm)) return std::string("缺少 ") + next->name;
  }
  return out.check();
}

}  // namespace

const char* algorithmName(EAlgorithm algorithm) { return NAMES.at(static_cast<std::size_t>(algorithm)); }

std::string SAlgoParams::parse(const std::string& text, SAlgoParams& out) {
  SAlgoParams read;
  const std::string error = readAll(text, read);
  if (!error.empty()) return "算法参数 \"" + text + "\"：" + error;
  out = read;
  return {};
}

std::string SAlgoParams::format() const {
  std::string text;
  for (const SField& field : FIELDS) {
    const std::string value = field.applies(m_eAlgorithm) ? field.write(*this) : std::string();
    if (value.empty()) continue;
    if (!text.empty()) text += ';';
    text.append(field.name).append("=").append(value);
  }
  return text;
}

std::string SAlgoParams::check() const {
  if (m_nStart < 0 || m_nStart >= DAY) return "开始时间须为 00:00:00 至 23:59:59";
  if (m_nEnd < 0 || m_nEnd >= DAY) return "结束时间须为 00:00:00 至 23:59:59";
  if (m_nStart >= m_nEnd) return "结束时间须晚于开始时间";
  if (slicesApply(m_eAlgorithm) && (m_nSlices < 1 || m_nSlices > MAX_SLICES)) {
    return "拆单笔数须为 1 至 " + std::to_string(MAX_SLICES);
  }
  if (!std::isfinite(m_dLimit) || m_dLimit < 0) return "限价须不小于 0";
  // The comparison is false for what is no number, too.
  if (rateApplies(m_eAlgorithm) && !(m_dRate > 0 && m_dRate <= 1)) return "参与率须大于 0 且不大于 1";
  return {};
}

std::string formatSecondOfDay(int second) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", second / 3600 % 100, second / 60 % 60, second % 60);
  return text.data();
}

int parseSecondOfDay(const std::string& text) {
  if (text.size() != 8 || text[2] != ':' || text[5] != ':') return -1;
  const std::array<int, 3> limits = {24, 60, 60};
  int second = 0;
  for (std::size_t i = 0; i < limits.size(); ++i) {
    int part = -1;
    if (!readNumber(std::string_view(text).substr(i * 3, 2), part) || part < 0 || part >= limits[i]) return -1;
    second = second * 60 + part;
  }
  return second;
}

std::string formatFixed(double value) {
  std::array<char, 400> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return {text.data(), result.ptr};
}

}  // namespace TC
