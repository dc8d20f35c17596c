#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "BasketFiles.h"
#include "BasketReader.h"
#include "Fields.h"

namespace basket {
namespace {

constexpr double MOST_SHARES = 1'000'000'000;  // of one line; sums of several still fit the panel's counters
/// A basket for another list of instruments may hold nothing else: the first lines show what is meant.
constexpr int UNLISTED_NAMED = 5;

class CBasketLines {
 public:
  CBasketLines(const CSecurities& securities, CFaults& faults) : m_securities(securities), m_faults(faults) {}

  void read(const SReadLine& read) {
    SBasketLine line;
    line.m_nLine = read.m_nLine;
    line.m_strMarket = read.m_strMarket;
    line.m_strCode = read.m_strCode;
    line.m_strName = read.m_strName;
    line.m_bBuy = read.m_bBuy.value_or(true);
    // What is wrong with the rest follows from what could not be read.
    if (!read.m_strFault.empty()) return m_faults.add(read.m_nLine, read.m_strFault);
    const bool known = checkInstrument(line);
    if (!read.m_bBuy) m_faults.add(read.m_nLine, "no side: it is 买入 or 卖出");
    checkQuantity(read);
    if (known && read.m_bBuy) checkRepeated(line);
    line.m_nQuantity = read.m_dQuantity <= MOST_SHARES ? static_cast<int>(read.m_dQuantity) : 0;
    m_lines.push_back(std::move(line));
  }

  std::vector<SBasketLine> take() { return std::move(m_lines); }

  /// The lines of instruments that are not listed; to be called when all are read.
  int endUnlisted() {
    const int more = m_nUnlisted - UNLISTED_NAMED;
    if (more > 0) {
      m_faults.add(m_nUnnamed, "from here on, lines of instruments that are not listed: " + std::to_string(more));
    }
    return m_nUnlisted;
  }

 private:
  bool checkInstrument(const SBasketLine& line) {
    std::string fault;
    if (line.m_strMarket.empty()) {
      fault = line.m_strCode.empty() ? "no instrument is named " + quoted(line.m_strName)
                                     : "no market lists an instrument " + line.m_strCode;
    } else {
      fault = codeFault(line.m_strMarket, line.m_strCode);
    }
    const bool listed = m_securities.size() == 0 || m_securities.find(line.m_strMarket, line.m_strCode) >= 0;
    if (fault.empty() && listed) return true;
    if (!listed && ++m_nUnlisted == UNLISTED_NAMED + 1) m_nUnnamed = line.m_nLine;
    if (!listed && m_nUnlisted > UNLISTED_NAMED) return false;
    m_faults.add(line.m_nLine, fault.empty() ? unlistedText(line) : fault);
    return false;
  }

  std::string unlistedText(const SBasketLine& line) const {
    std::string text = "the market " + line.m_strMarket + " lists no instrument " + line.m_strCode;
    for (const int each : m_securities.withCode(line.m_strCode)) {
      text += ", the market " + m_securities[each].m_strMarket + " does";
    }
    return text;
  }

  void checkQuantity(const SReadLine& line) {
    if (line.m_measure == EMeasure::None) {
      m_faults.add(line.m_nLine, "no quantity");
    } else if (line.m_measure != EMeasure::Shares) {
      m_faults.add(line.m_nLine, "the quantity is no number of shares");
    } else if (line.m_dQuantity > MOST_SHARES) {
      m_faults.add(line.m_nLine, "the quantity is above 1000000000");
    }
  }

  void checkRepeated(const SBasketLine& line) {
    const auto [earlier, added] = m_seen.try_emplace({line.m_strMarket, line.m_strCode, line.m_bBuy}, line.m_nLine);
    if (added) return;
    m_faults.add(line.m_nLine, line.m_strMarket + " " + line.m_strCode + " stands in line " +
                                   std::to_string(earlier->second) + " already, with the same side");
  }

  const CSecurities& m_securities;
  CFaults& m_faults;
  std::map<std::tuple<std::string, std::string, bool>, int> m_seen;
  std::vector<SBasketLine> m_lines;
  int m_nUnlisted = 0;
  int m_nUnnamed = 0;  ///< the first line of those that are only counted
};

/// The lines of the one sheet that has any. Sheets of which none can be told to be the basket are a fault.
std::vector<SReadLine> basketLines(const SSource& source, const CSecurities& securities, CFaults& faults) {
  std::vector<SReadLine> lines;
  for (const SSheet& sheet : source.m_sheets) {
    const SLayout layout = guessLayout(sheet, securities);
    const auto meant = [](const SColumn& column) {
      return column.m_role == ERole::Code || column.m_role == ERole::Name;
    };
    // A sheet beside the basket's, with something else.
    if (source.m_sheets.size() > 1 && std::none_of(layout.m_columns.begin(), layout.m_columns.end(), meant)) continue;
    std::vector<SReadLine> read = readLines(sheet, layout, securities).m_lines;
    if (!read.empty() && !lines.empty()) {
      faults.add(0, "more than one sheet has lines");
      return {};
    }
    if (!read.empty()) lines = std::move(read);
  }
  return lines;
}

}  // namespace

SBasketFile readBasketFile(const std::string& path, const CSecurities& securities) {
  CFaults faults(path);
  CBasketLines lines(securities, faults);
  const SSource source = readSourceFile(path);
  if (!source.m_strFault.empty()) faults.add(0, source.m_strFault);
  const std::vector<SReadLine> read = basketLines(source, securities, faults);
  for (const SReadLine& line : read) lines.read(line);
  if (faults.isEmpty() && read.empty()) faults.add(0, "no line in the basket");
  SBasketFile file;
  file.m_nUnlisted = lines.endUnlisted();
  if (faults.isEmpty()) file.m_lines = lines.take();
  file.m_faults = faults.take();
  return file;
}

}  // namespace basket
