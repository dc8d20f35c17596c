#include "KeptEdits.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "Changes.h"

namespace preview {
namespace {

/// Lines of another kind do not belong together: to open a position and to close one are two things.
int kindOf(const SDraftLine& line) {
  const bool plain = line.m_nOperation == ksservice::EOT_Buy || line.m_nOperation == ksservice::EOT_Sell;
  return plain ? static_cast<int>(ksservice::EOT_None) : line.m_nOperation;
}

/// What the user changed of a line, on one that was read anew; the rest is as it is read now.
void putBack(const SDraftLine& edited, SDraftLine& line) {
  line.m_line.m_bChecked = edited.m_line.m_bChecked;
  if (!edited.m_bEdited) return;
  const draft::SLine& user = edited.m_line;
  const draft::SLine& original = edited.m_original;
  if (user.m_strMarket != original.m_strMarket || user.m_strCode != original.m_strCode) {
    line.m_line.m_strMarket = user.m_strMarket;
    line.m_line.m_strCode = user.m_strCode;
    line.m_line.m_strName = user.m_strName;
  }
  if (user.m_side != original.m_side) {
    line.m_line.m_side = user.m_side;
    line.m_nOperation = ksservice::EOT_None;
  }
  if (user.m_dQuantity != original.m_dQuantity || user.m_measure != original.m_measure) {
    line.m_line.m_dQuantity = user.m_dQuantity;
    line.m_line.m_measure = user.m_measure;
  }
  if (user.m_dPrice != original.m_dPrice) line.m_line.m_dPrice = user.m_dPrice;
  line.m_line.m_strFault.clear();
  line.m_bEdited = true;
}

/// The lines that were read anew, and which of them nobody has claimed yet.
class CReadAnew {
 public:
  explicit CReadAnew(std::vector<SDraftLine>& lines) : m_lines(lines), m_gone(lines.size()) {
    for (std::size_t i = 0; i < lines.size(); ++i) m_free.emplace(lines[i].m_strRead, i);
  }

  void keep(const SDraftLine& line) {
    if (!line.m_merged.empty()) {
      if (keepMerged(line)) return;
      for (const SDraftLine& part : line.m_merged) keep(part);
    } else if (line.m_bEdited || !line.m_line.m_bChecked) {
      if (const auto at = claim(line.m_strRead)) {
        putBack(line, m_lines[*at]);
      } else if (line.m_strRead.empty()) {
        // What the user added himself was never in the source.
        m_added.push_back(line);
      }
    }
  }

  /// What became of them, with what the user added.
  std::vector<SDraftLine> finish() {
    std::vector<SDraftLine> lines;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      if (!m_gone[i]) lines.push_back(std::move(m_lines[i]));
    }
    lines.insert(lines.end(), m_added.begin(), m_added.end());
    return lines;
  }

 private:
  std::optional<std::size_t> claim(const std::string& read) {
    const auto found = m_free.find(read);
    if (found == m_free.end()) return std::nullopt;
    const std::size_t at = found->second;
    m_free.erase(found);
    return at;
  }

  bool keepMerged(const SDraftLine& line) {
    std::vector<std::size_t> places;
    std::optional<SDraftLine> merged = rebuilt(line, places);
    if (!merged) {
      for (const std::size_t at : places) m_free.emplace(m_lines[at].m_strRead, at);
      return false;
    }
    for (const std::size_t at : places) m_gone[at] = true;
    if (places.empty()) {
      m_added.push_back(std::move(*merged));
    } else {
      m_lines[places.front()] = std::move(*merged);
      m_gone[places.front()] = false;
    }
    return true;
  }

  /// A line of what its parts are now; none where one is missing, or they do not belong together any more.
  std::optional<SDraftLine> rebuilt(const SDraftLine& line, std::vector<std::size_t>& places) {
    if (line.m_merged.empty()) {
      // What the user added himself stays as it is.
      if (line.m_strRead.empty()) return line;
      const auto at = claim(line.m_strRead);
      if (!at) return std::nullopt;
      places.push_back(*at);
      SDraftLine anew = m_lines[*at];
      putBack(line, anew);
      return anew;
    }
    std::vector<SDraftLine> parts;
    for (const SDraftLine& part : line.m_merged) {
      auto anew = rebuilt(part, places);
      if (!anew) return std::nullopt;
      parts.push_back(std::move(*anew));
    }
    std::vector<SDraftLine> merged = mergedLines(parts);
    if (merged.size() != 1) return std::nullopt;
    putBack(line, merged.front());
    return std::move(merged.front());
  }

  std::vector<SDraftLine>& m_lines;
  std::vector<bool> m_gone;  ///< into another line
  std::multimap<std::string, std::size_t> m_free;
  std::vector<SDraftLine> m_added;
};

}  // namespace

std::vector<SDraftLine> mergedLines(const std::vector<SDraftLine>& lines) {
  std::vector<draft::SLine> plain;
  std::vector<int> kinds;
  for (const SDraftLine& line : lines) {
    plain.push_back(line.m_line);
    kinds.push_back(kindOf(line));
  }
  std::vector<SDraftLine> merged;
  for (const draft::SMerged& each : draft::merge(plain, kinds)) {
    SDraftLine& line = merged.emplace_back(lines[static_cast<std::size_t>(each.m_lines.front())]);
    if (each.m_lines.size() < 2) continue;
    line.m_line = line.m_original = each.m_line;
    line.m_bEdited = true;
    line.m_merged.clear();
    for (const int index : each.m_lines) line.m_merged.push_back(lines[static_cast<std::size_t>(index)]);
  }
  return merged;
}

void keepEdits(const std::vector<SDraftLine>& before, std::vector<SDraftLine>& after) {
  CReadAnew anew(after);
  for (const SDraftLine& line : before) anew.keep(line);
  after = anew.finish();
}

}  // namespace preview
