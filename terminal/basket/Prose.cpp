#include "Prose.h"

#include <algorithm>
#include <array>
#include <utility>

#include "LineParts.h"
#include "SheetFacts.h"
#include "Text.h"

namespace basket {
namespace {

constexpr std::size_t CODE_DIGITS = 6;

/// A piece of a sentence: a number with its unit, a code, or words.
struct SWord {
  std::string m_strText;
  bool m_bWide = false;
};

bool isNumeric(char letter) { return isDigit(letter) || letter == '.' || letter == ',' || letter == '%'; }
bool isCodeLetter(char letter) { return isLetter(letter) || letter == ':' || letter == '_'; }

/// At blanks and marks, and where writing changes between Chinese and ASCII.
std::vector<SWord> wordsOf(std::string_view text) {
  std::vector<SWord> words;
  std::string word;
  const auto end = [&words, &word] {
    while (!word.empty() && (word.back() == ',' || word.back() == '.' || word.back() == ':')) word.pop_back();
    if (!word.empty()) words.push_back({word, isWide(word[0])});
    word.clear();
  };
  const auto characters = charactersOf(text);
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const std::string_view character = characters[i];
    const char letter = character[0];
    const bool digitNext = i + 1 < characters.size() && isDigit(characters[i + 1][0]);
    const bool starts = letter == '@' || ((letter == '-' || letter == '+') && digitNext && word.empty());
    const bool sign = starts || isNumeric(letter) || isCodeLetter(letter) || letter == '-';
    if (character == "、" || character == "。" || (!isWide(letter) && !sign) || (letter == ',' && !digitNext)) {
      end();
      continue;
    }
    if (letter == '@' || (!word.empty() && isWide(letter) != isWide(word[0]))) end();
    word += character;
  }
  end();
  return words;
}

/// What has been found in a sentence.
struct SSentence {
  std::optional<SSideValue> m_side;
  bool m_bTwoSides = false;
  std::string m_strCode;
  bool m_bListed = false;
  std::string m_strName;
  std::vector<SNumber> m_numbers;  ///< sizes, as they stand
  std::vector<std::string> m_sizeTexts;
  std::optional<double> m_dPrice;
  std::string m_strUnread;  ///< what looks like a number and is none
};

class CSentenceReader {
 public:
  CSentenceReader(std::string_view text, const CSecurities& securities)
      : m_securities(securities), m_words(wordsOf(normalized(text))) {}

  SSentence read() {
    for (std::size_t i = 0; i < m_words.size(); ++i) {
      if (m_words[i].m_bWide) {
        readWide(m_words[i].m_strText);
      } else {
        i += readNarrow(i);
      }
    }
    return std::move(m_sentence);
  }

 private:
  void takeSide(const SSideValue& side) {
    const bool other = m_sentence.m_side && m_sentence.m_side->m_bBuy != side.m_bBuy;
    m_sentence.m_bTwoSides = m_sentence.m_bTwoSides || other;
    if (!m_sentence.m_side) m_sentence.m_side = side;
  }

  /// Takes sides and fillers off the ends of a run of Chinese; what is left is the name.
  void readWide(std::string text) {
    constexpr std::array<std::string_view, 16> sides{"买入开仓", "卖出开仓", "买入平仓", "卖出平仓", "买入", "卖出",
                                                     "买进",     "加仓",     "减仓",     "增持",     "减持", "清仓",
                                                     "买",       "卖",       "买开",     "卖平"};
    constexpr std::array<std::string_view, 26> fillers{"请",   "帮我", "麻烦", "以", "按", "价格", "限价", "价位", "价",
                                                       "数量", "代码", "共",   "约", "的", "各",   "股票", "先",   "再",
                                                       "到",   "在",   "元",   "，", "：", "；",   "市价", "左右"};
    if (!m_securities.withName(text).empty()) return takeName(text);
    bool more = true;
    while (more && !text.empty()) {
      more = false;
      for (const std::string_view side : sides) {
        if (!strip(text, side)) continue;
        takeSide(*sideOf(side));
        more = true;
      }
      for (const std::string_view filler : fillers) {
        if (!strip(text, filler)) continue;
        m_bPriceNext = m_bPriceNext || filler.find("价") != std::string_view::npos || filler == "以" || filler == "按";
        if (filler == "市价") m_bPriceNext = false;
        more = true;
      }
    }
    if (!text.empty()) takeName(text);
  }

  static bool strip(std::string& text, std::string_view part) {
    if (text.starts_with(part)) {
      text.erase(0, part.size());
    } else if (text.ends_with(part)) {
      text.resize(text.size() - part.size());
    } else {
      return false;
    }
    return true;
  }

  void takeName(const std::string& text) {
    const bool listed = !m_securities.withName(text).empty();
    if (!m_sentence.m_strName.empty() && (m_bNameListed || !listed)) return;
    m_sentence.m_strName = text;
    m_bNameListed = listed;
  }

  bool takeCode(const std::string& text) {
    const auto code = codeIn(text);
    if (!code || code->m_strCode.size() != CODE_DIGITS || text.find(',') != std::string::npos) return false;
    const bool listed = meantBy(*code, {}, m_securities).m_nIndex >= 0;
    const bool marked = !code->m_strMarket.empty() || isLetter(code->m_strCode[0]);
    if (!m_sentence.m_strCode.empty() && (m_sentence.m_bListed || !(listed || marked))) return false;
    m_sentence.m_strCode = text;
    m_sentence.m_bListed = listed || marked;
    return true;
  }

  /// The words after it that it takes as well.
  std::size_t readNarrow(std::size_t index) {
    std::string text = m_words[index].m_strText;
    if (text.starts_with('@')) {
      m_bPriceNext = true;
      text.erase(0, 1);
      if (text.empty()) return 0;
    }
    std::size_t taken = 0;
    std::string unit;
    const bool numeric = isDigit(text.back()) || text.back() == '.';
    if (numeric && index + 1 < m_words.size() && m_words[index + 1].m_bWide) unit = unitBefore(index + 1);
    if (!numeric && !isDigit(text.back())) {
      if (const auto side = sideOf(text)) {
        takeSide(*side);
        return 0;
      }
    }
    if (!m_bPriceNext && unit.empty() && takeCode(text)) return 0;
    const auto number = numberIn(text + unit);
    if (!number) {
      const bool meant = std::any_of(text.begin(), text.end(), isDigit);
      if (meant && m_sentence.m_strUnread.empty()) m_sentence.m_strUnread = text;
      return taken;
    }
    takeNumber(*number, text + unit);
    return taken;
  }

  /// The unit with which a run of Chinese begins, taken off it.
  std::string unitBefore(std::size_t index) {
    constexpr std::array<std::string_view, 12> units{"万股", "万元", "亿元", "千股", "百股", "万手",
                                                     "股",   "手",   "元",   "张",   "份",   "万"};
    std::string& text = m_words[index].m_strText;
    for (const std::string_view unit : units) {
      // "600309 万华化学": a code, and a name that begins like a unit.
      const auto code =
          unit == "万" && m_sentence.m_strCode.empty() ? codeIn(m_words[index - 1].m_strText) : std::nullopt;
      if (!text.starts_with(unit) || (code && meantBy(*code, {}, m_securities).m_nIndex >= 0)) continue;
      text.erase(0, unit.size());
      return std::string(unit);
    }
    return {};
  }

  void takeNumber(const SNumber& number, const std::string& text) {
    const bool money = number.m_measure == EMeasure::Amount && number.m_unit == EUnit::One;
    const bool sized = !m_sentence.m_numbers.empty();
    const bool bare = !number.m_bUnit;
    const bool told = std::exchange(m_bPriceNext, false);
    if ((bare || money) && (told || (sized && !m_sentence.m_dPrice))) {
      m_sentence.m_dPrice = number.m_dValue;
    } else {
      m_sentence.m_numbers.push_back(number);
      m_sentence.m_sizeTexts.push_back(text);
    }
  }

  const CSecurities& m_securities;
  std::vector<SWord> m_words;
  SSentence m_sentence;
  bool m_bPriceNext = false;
  bool m_bNameListed = false;
};

/// The orders of one line of prose: more than one where marks part them and each part has a security.
std::vector<std::string> sentencesOf(const std::string& text, const CSecurities& securities) {
  std::vector<std::string> parts(1);
  const auto characters = charactersOf(text);
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const std::string_view character = characters[i];
    const bool separates = character == "；" || character == ";" || character == "。" || character == "，" ||
                           (character == "," && (i + 1 == characters.size() || !isDigit(characters[i + 1][0])));
    if (!separates) {
      parts.back() += character;
      continue;
    }
    const SSentence before = CSentenceReader(parts.back(), securities).read();
    const bool whole = (!before.m_strCode.empty() || !before.m_strName.empty()) && !before.m_numbers.empty();
    std::string rest;
    for (std::size_t j = i + 1; j < characters.size(); ++j) rest += characters[j];
    const SSentence after = whole ? CSentenceReader(rest, securities).read() : SSentence();
    if (whole && (after.m_bListed || !securities.withName(after.m_strName).empty())) {
      parts.emplace_back();
    } else {
      parts.back() += ' ';
    }
  }
  return parts;
}

void fillSizes(const SSentence& sentence, SReadLine& line) {
  if (sentence.m_numbers.empty()) {
    if (!sentence.m_strUnread.empty()) addFault(line, "数量读不出：" + sentence.m_strUnread);
    return;
  }
  if (sentence.m_numbers.size() > 1)
    return addFault(line, "有两个数量：" + sentence.m_sizeTexts[0] + " 与 " + sentence.m_sizeTexts[1]);
  setSize(line, sentence.m_numbers.front(), EMeasure::Shares, EUnit::One, sentence.m_numbers.front().m_nSign != 0);
}

class CProseReader {
 public:
  explicit CProseReader(const CSecurities& securities) : m_securities(securities) {}

  void read(const SSheetRow& row) {
    const std::string& text = row.m_cells.front();
    if (!row.m_strFault.empty()) {
      SReadLine& line = m_basket.m_lines.emplace_back();
      line.m_nLine = row.m_nLine;
      line.m_strText = text;
      return addFault(line, row.m_strFault);
    }
    if (const auto side = headingSide(text)) {
      m_heading = side;
      return leaveOut(row, "小标题");
    }
    if (isTotal(row)) return leaveOut(row, "合计行");
    if (isRemark(text)) return leaveOut(row, "备注");
    std::optional<SSideValue> side = m_heading;
    for (const std::string& each : sentencesOf(text, m_securities)) {
      const SSentence sentence = CSentenceReader(each, m_securities).read();
      if (sentence.m_side) side = sentence.m_side;
      readSentence(row, sentence, side);
    }
  }

  SReadBasket take() { return std::move(m_basket); }

 private:
  void leaveOut(const SSheetRow& row, const char* reason) {
    m_basket.m_leftOut.push_back({row.m_nLine, row.m_cells.front(), reason});
  }

  void readSentence(const SSheetRow& row, const SSentence& sentence, const std::optional<SSideValue>& side) {
    const bool named = !m_securities.withName(sentence.m_strName).empty();
    const bool sized = std::any_of(sentence.m_numbers.begin(), sentence.m_numbers.end(),
                                   [](const SNumber& number) { return number.m_bUnit; });
    // A sentence without a security is an order only if it says a side or how much.
    if (sentence.m_strCode.empty() && !named && !sentence.m_side && !sized) return leaveOut(row, "备注");
    SReadLine& line = m_basket.m_lines.emplace_back();
    line.m_nLine = row.m_nLine;
    line.m_strText = row.m_cells.front();
    setSecurity(line, sentence.m_strCode, {}, sentence.m_strName, m_securities);
    if (sentence.m_bTwoSides) {
      addFault(line, "既有买又有卖");
    } else if (side) {
      setSide(line, *side);
    }
    line.m_dPrice = sentence.m_dPrice;
    if (line.m_dPrice && *line.m_dPrice <= 0) line.m_dPrice.reset();
    fillSizes(sentence, line);
  }

  const CSecurities& m_securities;
  std::optional<SSideValue> m_heading;
  SReadBasket m_basket;
};

}  // namespace

SReadBasket readProse(const SSheet& sheet, const CSecurities& securities) {
  CProseReader reader(securities);
  for (const SSheetRow& row : sheet.m_rows) reader.read(row);
  return reader.take();
}

}  // namespace basket
