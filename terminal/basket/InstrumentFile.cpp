#include <map>
#include <utility>

#include "BasketFiles.h"
#include "Fields.h"

namespace basket {
namespace {

enum EColumn { Market, Code, Name, PrevClose, Volume, Last, Pinyin };

const std::vector<SColumnTitles>& columns() {
  static const std::vector<SColumnTitles> titles{MARKET_COLUMN,
                                                 CODE_COLUMN,
                                                 {{"name", "名称", "证券名称"}},
                                                 {{"prevClose", "昨收", "昨收价", "前收盘"}},
                                                 {{"volume", "成交量"}},
                                                 {{"last", "最新价", "现价"}, false},
                                                 {{"pinyin", "拼音", "拼音简称"}, false}};
  return titles;
}

/// A number of a row; 0 for an empty field. Adds a fault for what is no number.
double readNumber(const STextRow& row, EColumn column, CFaults& faults) {
  const std::string& field = row.m_fields[column];
  constexpr double largest = 1e12;
  if (field.empty()) return 0;
  const auto number = numberOf(field);
  if (number && *number <= largest) return *number;
  const std::string title(columns()[column].m_titles.front());
  faults.add(row.m_nLine, title + " " + quoted(field) + (number ? " is too large" : " is no number"));
  return 0;
}

class CInstrumentRows {
 public:
  explicit CInstrumentRows(CFaults& faults) : m_faults(faults) {}

  void read(const STextRow& row) {
    exchange::SInstrument instrument;
    instrument.m_strMarket = marketOf(row.m_fields[Market]);
    instrument.m_strCode = row.m_fields[Code];
    instrument.m_strName = row.m_fields[Name];
    instrument.m_strPinyin = row.m_fields[Pinyin];
    if (!isIdentityGood(row, instrument)) return;
    instrument.m_dPrevClose = readNumber(row, PrevClose, m_faults);
    instrument.m_dLast = readNumber(row, Last, m_faults);
    instrument.m_dVolume = readNumber(row, Volume, m_faults);
    if (!(instrument.m_dPrevClose > 0)) instrument.m_dPrevClose = instrument.m_dLast;
    if (!(instrument.m_dPrevClose > 0)) m_faults.add(row.m_nLine, "no previous close above 0");
    if (instrument.m_strMarket == exchange::FUTURES_MARKET) {
      instrument.m_kind = exchange::EKind::IndexFuture;
      instrument.m_nMultiplier = exchange::futureMultiplier(instrument.m_strCode);
    }
    m_instruments.push_back(std::move(instrument));
  }

  std::vector<exchange::SInstrument> take() { return std::move(m_instruments); }

 private:
  bool isIdentityGood(const STextRow& row, const exchange::SInstrument& instrument) {
    if (instrument.m_strMarket.empty()) {
      m_faults.add(row.m_nLine, "unknown market " + quoted(row.m_fields[Market]));
      return false;
    }
    if (const std::string fault = codeFault(instrument.m_strMarket, instrument.m_strCode); !fault.empty()) {
      m_faults.add(row.m_nLine, fault);
      return false;
    }
    if (instrument.m_strName.empty()) m_faults.add(row.m_nLine, "the name is empty");
    const auto [known, added] = m_lines.try_emplace({instrument.m_strMarket, instrument.m_strCode}, row.m_nLine);
    if (added) return true;
    m_faults.add(row.m_nLine, instrument.m_strMarket + " " + instrument.m_strCode + " stands in line " +
                                  std::to_string(known->second) + " already");
    return false;
  }

  CFaults& m_faults;
  std::map<std::pair<std::string, std::string>, int> m_lines;
  std::vector<exchange::SInstrument> m_instruments;
};

}  // namespace

SInstrumentFile readInstrumentFile(const std::string& path) {
  CFaults faults(path);
  CInstrumentRows rows(faults);
  const std::vector<STextRow> table = readTextTable(path, columns(), faults);
  for (const STextRow& row : table) rows.read(row);
  if (faults.isEmpty() && table.empty()) faults.add(0, "no instrument in the file");
  SInstrumentFile file;
  if (faults.isEmpty()) file.m_instruments = rows.take();
  file.m_faults = faults.take();
  return file;
}

}  // namespace basket
