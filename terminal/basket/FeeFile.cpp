#include <array>
#include <charconv>
#include <map>
#include <optional>

#include "AccountFiles.h"
#include "Fields.h"

namespace basket {
namespace {

enum EColumn { Fee, Rate };

const std::vector<SColumnTitles>& columns() {
  static const std::vector<SColumnTitles> titles{{{"fee", "费用", "项目"}}, {{"rate", "费率", "value"}}};
  return titles;
}

struct SFeeRow {
  std::string_view m_name;
  std::string_view m_chinese;
  double exchange::SFeeRates::*m_pRate;
  double m_dMost;
};

/// The least commission is CNY; the others are parts of an amount.
const std::array<SFeeRow, 6> FEES{{{"commission", "佣金", &exchange::SFeeRates::m_dCommission, 0.1},
                                   {"leastCommission", "最低佣金", &exchange::SFeeRates::m_dLeastCommission, 10000},
                                   {"stampDuty", "印花税", &exchange::SFeeRates::m_dStampDuty, 0.1},
                                   {"transferFee", "过户费", &exchange::SFeeRates::m_dTransferFee, 0.1},
                                   {"futuresCommission", "期货手续费", &exchange::SFeeRates::m_dFuturesCommission, 0.1},
                                   {"margin", "保证金", &exchange::SFeeRates::m_dMargin, 1}}};

/// A number, or a percentage like 0.025%.
std::optional<double> rateOf(std::string field) {
  const bool percent = !field.empty() && field.back() == '%';
  if (percent) field.pop_back();
  const auto number = numberOf(field);
  return number && percent ? std::optional<double>(*number / 100) : number;
}

std::string textOf(double number) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

void readRow(const STextRow& row, SFeeFile& file, std::map<std::string_view, int>& seen, CFaults& faults) {
  for (const SFeeRow& fee : FEES) {
    if (row.m_fields[Fee] != fee.m_name && row.m_fields[Fee] != fee.m_chinese) continue;
    const std::string name(fee.m_name);
    const auto [earlier, added] = seen.try_emplace(fee.m_name, row.m_nLine);
    if (!added) faults.add(row.m_nLine, name + " stands in line " + std::to_string(earlier->second) + " already");
    const auto rate = rateOf(row.m_fields[Rate]);
    if (rate && *rate <= fee.m_dMost) {
      file.m_rates.*fee.m_pRate = *rate;
    } else {
      faults.add(row.m_nLine,
                 name + " " + quoted(row.m_fields[Rate]) + " is no number from 0 to " + textOf(fee.m_dMost));
    }
    return;
  }
  std::string known;
  for (const SFeeRow& fee : FEES) known += (known.empty() ? "" : ", ") + std::string(fee.m_name);
  faults.add(row.m_nLine, "unknown fee " + quoted(row.m_fields[Fee]) + ": there are " + known);
}

}  // namespace

SFeeFile readFeeFile(const std::string& path) {
  CFaults faults(path);
  SFeeFile file;
  std::map<std::string_view, int> seen;
  for (const STextRow& row : readTextTable(path, columns(), faults)) readRow(row, file, seen, faults);
  file.m_faults = faults.take();
  return file;
}

}  // namespace basket
