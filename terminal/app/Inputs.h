/// The instruments, baskets, positions and fees of a live session, read before anything is traded.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "AccountFiles.h"
#include "BasketFiles.h"
#include "Options.h"
#include "TimedActs.h"

namespace app {

struct SNamedBasket {
  std::string m_strName;  ///< the file's name without folder and ending
  std::vector<basket::SBasketLine> m_lines;
};

struct SInputs {
  std::vector<exchange::SInstrument> m_instruments;  ///< as in the file; without the futures that are always listed
  std::vector<SNamedBasket> m_baskets;
  std::vector<basket::SPositionLine> m_positions;  ///< accounts by their keys or display identifiers
  exchange::SFeeRates m_fees;
  std::vector<STimedAct> m_acts;
  std::vector<std::string> m_faults;  ///< "FILE:LINE: fault"; when there are any, nothing may be traded
};

/// The files that readInputs() reads. An application object must exist.
std::string instrumentFileOf(const SOptions& options);
std::vector<std::string> basketFilesOf(const SOptions& options);

/// The instruments and the fees alone, for a day that is looked back at.
SInputs readListed(const SOptions& options);

/// Of what is listed, the instruments by their keys that do not trade today.
std::set<std::string> suspendedOf(const SInputs& inputs);

/// Reads what the options name, or the project's own samples. dayStart decides which index futures are listed.
SInputs readInputs(const SOptions& options, std::int64_t dayStart);

}  // namespace app
