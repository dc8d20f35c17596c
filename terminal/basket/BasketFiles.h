/// Instrument and basket files. Any thread; nothing is thrown for bad input.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Instrument.h"
#include "Securities.h"
#include "TextTable.h"

namespace basket {

struct SInstrumentFile {
  std::vector<exchange::SInstrument> m_instruments;  ///< in the file's order; empty when there are faults
  std::vector<SFault> m_faults;

  bool isGood() const { return m_faults.empty(); }
};

/// Reads an instrument list. Needs the columns market, code, name, volume and prevClose (a row whose prevClose is empty
/// takes its last); see docs/data-files.md for all titles.
SInstrumentFile readInstrumentFile(const std::string& path);

/// One line of a basket.
struct SBasketLine {
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strName;  ///< UTF-8; empty when the file names none
  bool m_bBuy = true;
  int m_nQuantity = 0;  ///< shares, or lots of a future; above 0
  int m_nLine = 0;      ///< in the file, from 1
};

struct SBasketFile {
  std::vector<SBasketLine> m_lines;  ///< in the file's order; empty when there are faults: a basket is whole or refused
  std::vector<SFault> m_faults;
  int m_nUnlisted = 0;  ///< lines of instruments that are not listed; the faults name the first of them

  bool isGood() const { return m_faults.empty(); }
};

/// Reads a basket that nobody looks at before it is traded: each of its lines must be read whole, in shares, with a
/// side, and be of a security that is listed (unless none are given). Two lines of one instrument with the same side
/// are a fault: it is more often a mistake than meant.
SBasketFile readBasketFile(const std::string& path, const CSecurities& securities = CSecurities());

}  // namespace basket
