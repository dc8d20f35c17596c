/// What speaks against sending a draft. Any thread; 5,000 lines in a few milliseconds.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Draft.h"
#include "ShareOut.h"

namespace draft {

/// From when on a draft is held for a slip of the hand. CNY; 0: no limit.
struct SLimits {
  double m_dLine = 10'000'000;
  double m_dAccount = 500'000'000;
  double m_dBasket = 1'000'000'000;
  double m_dVolumeShare = 0.25;  ///< of a usual day's volume
};

enum class ELevel { Warning, Error };

enum class EFinding {
  Unread,
  UnknownCode,
  WrongName,
  NoSide,
  NoQuantity,
  Suspended,
  LimitLocked,
  BadSize,
  BadPrice,
  NotDealt,  ///< its parts are too small for some accounts or all
  NoCash,
  NoPosition,
  LineAmount,
  AccountAmount,
  BasketAmount,
  Volume,
  Twice,
  BothSides,
  Count
};

struct SFinding {
  EFinding m_kind = EFinding::Unread;
  ELevel m_level = ELevel::Error;
  std::string m_strText;  ///< Chinese, UTF-8, with the figures in it
};

/// Of the lines that are checked; an unchecked line has findings, but counts nowhere.
struct STotals {
  int m_nLines = 0;
  int m_nBuyLines = 0;
  int m_nSellLines = 0;
  int m_nErrors = 0;    ///< lines with an error
  int m_nWarnings = 0;  ///< lines with a warning and no error
  double m_dBuy = 0;    ///< CNY
  double m_dSell = 0;
  double m_dBuyFees = 0;
  double m_dSellFees = 0;
  int m_nOrders = 0;  ///< that go to the market, with what is split
};

struct SJudgement {
  std::vector<std::vector<SFinding>> m_findings;  ///< by line, errors first
  std::vector<SFinding> m_ofBasket;               ///< of the whole: beyond its amount, an account's amount or cash
  std::vector<std::string> m_near;                ///< limits that are kept, but hardly; Chinese, UTF-8
  STotals m_totals;
};

struct SMarketView {
  std::vector<SMarketFacts> m_facts;  ///< by line
  exchange::SFeeRates m_fees;
  int m_nSlices = 1;  ///< into which an algorithm cuts what an account gets of a line, where the board takes them
};

/// shares: what each account gets of each line.
SJudgement judge(const std::vector<SLine>& lines, const SMarketView& market, const std::vector<SAccountFacts>& accounts,
                 const SDeal& shares, const SLimits& limits);

}  // namespace draft
