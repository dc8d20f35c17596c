#include <algorithm>
#include <optional>

#include "CDayFile.h"
#include "CMendedCopy.h"

namespace daylog {
namespace {

/// Which rows of a table the new file leaves out.
void tellLost(CDayFile& damaged, const char* table, std::size_t kept, std::vector<std::string>& lost) {
  const std::string from = std::string(table) + " " + std::to_string(kept + 1);
  const auto last = damaged.lastRow(table);
  if (!last) {
    lost.push_back(from + " and all behind it are left out");
  } else if (*last > static_cast<std::int64_t>(kept)) {
    lost.push_back(from + " to " + std::to_string(*last) + " are left out");
  }
}

/// The marks that tell of nothing but what these entries made.
std::vector<SMark> marksOf(const CDayFile& damaged, bool entriesLost) {
  std::vector<SMark> marks = damaged.marks();
  if (!entriesLost) return marks;
  const std::int64_t end = damaged.entries().back().m_nMsec;
  marks.erase(std::find_if(marks.begin(), marks.end(), [end](const SMark& mark) { return mark.m_nMsec >= end; }),
              marks.end());
  return marks;
}

/// Empty, or why there is no new file.
std::string save(const std::string& out, const CDayFile& damaged, const std::vector<SMark>& marks) {
  std::string fault;
  bool begun = false;
  try {
    CDayFile saved(out, damaged.identifier());
    begun = true;
    fault = saved.append(damaged.entries(), marks);
  } catch (const std::exception& error) {
    fault = out + ": " + error.what();
  }
  if (begun && !fault.empty()) removeDay(out);
  return fault;
}

/// Throws CFault where there is nothing to save.
SRecovered recoverFrom(const std::string& path, const std::string& out) {
  SRecovered recovered;
  CDayFile damaged(path, CDayFile::EMode::Read);
  recovered.m_lost = damaged.findings();
  if (damaged.entries().empty()) {
    throw CFault("holds no entry that can be proved" +
                 (recovered.m_lost.empty() ? std::string() : ": " + recovered.m_lost.front()));
  }
  const std::size_t entries = damaged.entries().size();
  const auto last = damaged.lastRow("entries");
  const std::vector<SMark> marks = marksOf(damaged, !last || *last > static_cast<std::int64_t>(entries));
  tellLost(damaged, "entries", entries, recovered.m_lost);
  tellLost(damaged, "marks", marks.size(), recovered.m_lost);
  recovered.m_strFault = save(out, damaged, marks);
  if (!recovered.m_strFault.empty()) return recovered;
  recovered.m_nEntries = entries;
  recovered.m_nMarks = marks.size();
  return recovered;
}

/// Nothing, where that leads to no entry either.
std::optional<SRecovered> recoverMended(const std::string& path, const std::string& out) try {
  const CMendedCopy mended(path, out);
  SRecovered recovered = recoverFrom(mended.path(), out);
  recovered.m_lost.insert(recovered.m_lost.begin(), "the file's first page is damaged");
  return recovered;
} catch (const std::exception&) {
  return std::nullopt;
}

}  // namespace

SRecovered recoverDay(const std::string& path, const std::string& out) {
  std::string fault;
  try {
    return recoverFrom(path, out);
  } catch (const std::exception& error) {
    fault = path + ": " + error.what();
  }
  if (auto mended = recoverMended(path, out)) return *std::move(mended);
  SRecovered none;
  none.m_strFault = fault;
  return none;
}

}  // namespace daylog
