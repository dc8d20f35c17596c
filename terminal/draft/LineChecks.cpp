#include "LineChecks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "Texts.h"

namespace draft {
namespace {

using namespace std::string_literals;

void add(std::vector<SFinding>& findings, EFinding kind, ELevel level, std::string text) {
  findings.push_back({kind, level, std::move(text)});
}

/// Without blanks, letters narrow and large.
std::string plainName(std::string_view name) {
  std::string plain;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const std::string_view rest = name.substr(i);
    char letter = name[i];
    if (rest.starts_with("\u3000") || rest.starts_with("\u00a0")) {
      i += rest.starts_with("\u3000") ? 2 : 1;
      continue;
    }
    if (rest.size() > 2 && (rest.starts_with("\xEF\xBC") || rest.starts_with("\xEF\xBD"))) {
      // U+FF01 to U+FF5E are the printable letters of ASCII from 0x21 on.
      const int offset = (rest[1] == '\xBD' ? 0x40 : 0) + (static_cast<unsigned char>(rest[2]) - 0x80);
      if (offset > 0 && offset < 0x5F) {
        letter = static_cast<char>(0x20 + offset);
        i += 2;
      }
    }
    if (letter == ' ') continue;
    plain += letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
  }
  for (const std::string_view mark : {"*ST", "ST", "XD", "XR", "DR", "N", "C"}) {
    if (plain.starts_with(mark) && plain.size() > mark.size()) return plain.substr(mark.size());
  }
  return plain;
}

void checkQuantity(const SLineLook& look, std::vector<SFinding>& findings) {
  const SLine& line = look.m_line;
  if (line.m_measure == basket::EMeasure::None || !(line.m_dQuantity > 0)) {
    return add(findings, EFinding::NoQuantity, ELevel::Error, "没有数量");
  }
  if (!look.m_facts.m_bListed) return;
  const exchange::SRules& rules = look.m_facts.m_rules;
  const int quantity = look.m_dealt.m_nQuantity;
  const bool isBuy = line.m_side == ESide::Buy;
  if (quantity >= MOST_SHARES) {
    return add(findings, EFinding::BadSize, ELevel::Error, "数量过大：一行须少于 " + countText(MOST_SHARES));
  }
  const std::string least = countText(std::max(rules.m_nBuyMinimum, rules.m_nBuyStep));
  if (line.m_measure == basket::EMeasure::Shares) {
    const char* const fault = rules.quantityFault(quantity, isBuy);
    if (std::floor(line.m_dQuantity) != line.m_dQuantity && quantity == static_cast<int>(line.m_dQuantity)) {
      add(findings, EFinding::BadSize, ELevel::Error, "数量 " + priceText(line.m_dQuantity) + " 不是整数");
    } else if (fault) {
      add(findings, EFinding::BadSize, ELevel::Error,
          fault + "：数量 "s + countText(quantity) + "，最少 " + countText(rules.m_nBuyMinimum) + "，每次增加 " +
              countText(rules.m_nBuyStep));
    }
  } else if (quantity == 0 && !(look.m_facts.price() > 0)) {
    add(findings, EFinding::NoQuantity, ELevel::Error, "没有价格，换算不出数量");
  } else if (quantity == 0 && line.m_measure == basket::EMeasure::Weight && !look.m_bWeightsSized) {
    add(findings, EFinding::NoQuantity, ELevel::Error, "没有总金额，权重换算不出数量");
  } else if (quantity == 0) {
    const double lot = std::max(rules.m_nBuyMinimum, rules.m_nBuyStep);
    const std::string price = amountText(lot * look.m_facts.price() * look.m_facts.m_nMultiplier);
    add(findings, EFinding::NotDealt, ELevel::Warning, "不足最小数量 " + least + "（约 " + price + "），本行不会发送");
  }
}

void checkTrading(const SLineLook& look, std::vector<SFinding>& findings) {
  const SMarketFacts& facts = look.m_facts;
  const exchange::SRules& rules = facts.m_rules;
  const SLine& line = look.m_line;
  if (facts.m_bSuspended) add(findings, EFinding::Suspended, ELevel::Error, "停牌，今日不能成交");
  const auto last = std::llround(facts.m_dLast * rules.m_nTicksPerUnit);
  if (line.m_side == ESide::Buy && last >= rules.m_nLimitUp && rules.m_nLimitUp > 0 && !(facts.m_dAsk > 0)) {
    add(findings, EFinding::LimitLocked, ELevel::Warning,
        "涨停 " + priceText(facts.m_dLast) + "，没有卖盘，买入难以成交");
  }
  if (line.m_side == ESide::Sell && last > 0 && last <= rules.m_nLimitDown && !(facts.m_dBid > 0)) {
    add(findings, EFinding::LimitLocked, ELevel::Warning,
        "跌停 " + priceText(facts.m_dLast) + "，没有买盘，卖出难以成交");
  }
  if (line.m_dPrice < 0) add(findings, EFinding::BadPrice, ELevel::Error, "限价读不出：请改正，或清空为不限价");
  if (!(line.m_dPrice > 0)) return;
  if (const char* const fault = rules.priceFault(line.m_dPrice)) {
    add(findings, EFinding::BadPrice, ELevel::Error,
        fault + "：限价 "s + priceText(line.m_dPrice) + "，跌停 " + priceText(rules.toPrice(rules.m_nLimitDown)) +
            "，涨停 " + priceText(rules.toPrice(rules.m_nLimitUp)));
  }
}

void checkParts(const SLineLook& look, std::vector<SFinding>& findings) {
  const SDealtLine& dealt = look.m_dealt;
  if (!look.m_line.m_bChecked || dealt.m_nQuantity <= 0) return;
  if (dealt.m_parts.empty()) {
    add(findings, EFinding::NotDealt, ELevel::Error, "没有账户分得本行：请选择账户并给出比例");
  } else if (dealt.m_nLeftOut > 0) {
    const exchange::SRules& rules = look.m_facts.m_rules;
    add(findings, EFinding::NotDealt, ELevel::Warning,
        "只有 " + countText(static_cast<int>(dealt.m_parts.size())) + " 个账户分得，另 " + countText(dealt.m_nLeftOut) +
            " 个账户的份额不足最小数量 " + countText(std::max(rules.m_nBuyMinimum, rules.m_nBuyStep)));
  }
}

void checkSlips(const SLineLook& look, std::vector<SFinding>& findings) {
  const SMarketFacts& facts = look.m_facts;
  const double quantity = look.m_dealt.m_nQuantity;
  const double amount = quantity * facts.price() * facts.m_nMultiplier;
  const SLimits& limits = look.m_limits;
  if (limits.m_dLine > 0 && amount > limits.m_dLine) {
    add(findings, EFinding::LineAmount, ELevel::Error,
        "单行金额 " + amountText(amount) + "，超过上限 " + amountText(limits.m_dLine));
  }
  const double part = facts.m_dUsualVolume > 0 ? quantity / facts.m_dUsualVolume : 0;
  if (limits.m_dVolumeShare > 0 && part > limits.m_dVolumeShare) {
    add(findings, EFinding::Volume, ELevel::Warning,
        "数量为平日成交量的 " + percentText(part) + "，上限 " + percentText(limits.m_dVolumeShare));
  }
}

}  // namespace

bool fitsName(const std::string& name, const std::string& listed) {
  if (name.empty() || listed.empty() || name == listed) return true;
  const std::string plain = plainName(name);
  const std::string known = plainName(listed);
  return plain.empty() || plain.find(known) != std::string::npos || known.find(plain) != std::string::npos;
}

void checkLine(const SLineLook& look, std::vector<SFinding>& findings) {
  const SLine& line = look.m_line;
  const SMarketFacts& facts = look.m_facts;
  if (!line.m_strFault.empty()) add(findings, EFinding::Unread, ELevel::Error, line.m_strFault);
  if (line.m_side == ESide::None) add(findings, EFinding::NoSide, ELevel::Error, "没有买卖方向");
  if (!facts.m_bListed) {
    const bool isEmpty = line.m_strCode.empty();
    add(findings, EFinding::UnknownCode, ELevel::Error,
        isEmpty ? "没有证券代码" : "证券代码 " + line.m_strCode + " 不在证券列表中");
  } else if (!fitsName(line.m_strName, facts.m_strName)) {
    add(findings, EFinding::WrongName, ELevel::Warning,
        "名称“" + line.m_strName + "”与代码 " + line.m_strCode + " 的“" + facts.m_strName + "”不符");
  }
  checkQuantity(look, findings);
  // A line that could not be read or has no side is told so; what it would be dealt out as is no news then.
  if (!facts.m_bListed || line.m_side == ESide::None || !line.m_strFault.empty()) return;
  checkTrading(look, findings);
  checkParts(look, findings);
  checkSlips(look, findings);
}

}  // namespace draft
