#include "JournalReader.h"

#include <array>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

namespace journal {
namespace {

constexpr std::size_t LINE_BYTES = std::size_t{64} << 20;

/// Checks what one line cannot know: what the lines before it said.
class CContext {
 public:
  /// What is wrong with the line here; empty: nothing.
  std::string check(const SLine& line) {
    const bool session = std::holds_alternative<SSessionLine>(line.m_body);
    const bool first = !std::exchange(m_bStarted, true);
    if (first && !session) return "the first line must be of the kind 'session'";
    if (!first && session) return "a journal has one session line";
    return std::visit([this](const auto& body) { return checkBody(body); }, line.m_body);
  }

  bool isStarted() const { return m_bStarted; }

 private:
  std::string checkBody(const SAccountLine& line) {
    m_accounts.insert(line.m_info.getKey());
    return {};
  }
  std::string checkBody(const STaskLine& line) {
    for (const STaskParam& each : line.m_params) {
      if (std::string fault = checkAccount(each.m_strAccount); !fault.empty()) return fault;
    }
    if (!line.m_command && !line.m_nId && line.m_strKey.empty()) return "a task needs a key, an id or a command";
    return {};
  }
  std::string checkBody(const SHedgeParamLine& line) { return checkAccount(line.m_param.m_strAccount); }
  std::string checkBody(const SHostLine& line) {
    const bool named = line.m_eAct == EHostAct::RequestAccount;
    return named && !m_accounts.contains(line.m_strAccount) ? undeclared(line.m_strAccount) : std::string();
  }
  template <typename Other>
  std::string checkBody(const Other&) {
    return {};
  }

  /// No account is allowed where an account may be named.
  std::string checkAccount(const std::string& key) const {
    return key.empty() || m_accounts.contains(key) ? std::string() : undeclared(key);
  }

  static std::string undeclared(const std::string& key) { return "account '" + key + "' was not declared"; }

  bool m_bStarted = false;
  std::set<std::string> m_accounts;
};

bool isObject(const std::string& text) {
  return text[text.find_first_not_of(" \t\r")] == '{' && nlohmann::json::accept(text);
}

bool isSkipped(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  return begin == std::string::npos || text[begin] == '#';
}

enum class ELine { Whole, Torn, TooLong, None };

/// The next line, without its end; Torn: the text has ended instead.
ELine readLine(std::istream& in, std::string& text) {
  text.clear();
  std::array<char, 1 << 16> block;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by what is read
  for (;;) {
    in.getline(block.data(), block.size());
    const auto count = static_cast<std::size_t>(in.gcount());
    if (in.eof()) {
      text.append(block.data(), count);
      return text.empty() ? ELine::None : ELine::Torn;
    }
    if (in.good()) {
      text.append(block.data(), count - 1);  // the line end was counted
      return ELine::Whole;
    }
    if (in.bad() || count == 0) return ELine::None;
    text.append(block.data(), count);
    if (text.size() > LINE_BYTES) return ELine::TooLong;
    in.clear();
  }
}

}  // namespace

std::string faultText(const std::string& fileName, int line, const std::string& what) {
  return fileName + ":" + std::to_string(line) + ": " + what;
}

SJournal readJournal(std::istream& in, const std::string& fileName) {
  SJournal journal;
  CContext context;
  std::string text;
  int number = 0;
  for (ELine state = readLine(in, text); state != ELine::None; state = readLine(in, text)) {
    ++number;
    if (isSkipped(text)) continue;
    std::string fault = state == ELine::TooLong ? "the line is longer than 64 MiB" : std::string();
    auto parsed = fault.empty() ? parseLine(text) : std::variant<SLine, std::string>(fault);
    if (SLine* line = std::get_if<SLine>(&parsed)) {
      line->m_nNumber = number;
      fault = context.check(*line);
      if (fault.empty()) journal.m_lines.push_back(std::move(*line));
    } else {
      fault = std::get<std::string>(parsed);
      // A recording that was cut off is good up to there.
      if (state == ELine::Torn && !isObject(text) && context.isStarted()) {
        journal.m_strTorn = faultText(fileName, number, "the last line is torn and left out");
        return journal;
      }
    }
    if (!fault.empty()) {
      journal.m_strFault = faultText(fileName, number, fault);
      return journal;
    }
  }
  if (in.bad())
    journal.m_strFault = faultText(fileName, number + 1, "cannot be read");
  else if (!context.isStarted())
    journal.m_strFault = faultText(fileName, number + 1, "the session line is missing");
  return journal;
}

}  // namespace journal
