#pragma once

#include <map>
#include <vector>

#include "IDraftHost.h"
#include "Judge.h"

namespace preview {

/// A line and what became of it since it was read.
struct SDraftLine {
  draft::SLine m_line;
  draft::SLine m_original;  ///< as it was read: what the user changed of it is known by that
  std::string m_strRead;    ///< as it stood in its source; empty for a line that the user added
  bool m_bEdited = false;   ///< by hand
  QString m_strChange;      ///< what is new of it since the source was read before; Chinese; empty: nothing
  int m_nOperation = ksservice::EOT_None;  ///< where the source said more than buy or sell
  std::vector<SDraftLine> m_merged;        ///< of which it was made; empty: of none but itself
};

/// How a draft is shared out.
struct SDealChoice {
  draft::EDealBy m_by = draft::EDealBy::Ratio;
  std::map<std::string, double> m_ratios;  ///< by account key, above 0; by ratio an account that is absent gets nothing
};

/// Everything of a draft that the user could lose.
struct SDraftState {
  QString m_strName;
  QString m_strFile;  ///< from which it can be read again; empty: none
  int m_nSheet = 0;
  basket::SLayout m_layout;
  std::vector<SDraftLine> m_lines;
  draft::SSizing m_sizing;
  SDealChoice m_deal;
  STradeParams m_trade;
  SHedgeChoice m_hedge;
  draft::SLimits m_limits;
};

}  // namespace preview
