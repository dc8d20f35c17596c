#include "utils/Pinyin.h"

#include <QVarLengthArray>
#include <algorithm>

#include "utils/PinyinTable.h"

namespace utils {

namespace {

/// Letters and digits, a bit for each.
using Initials = quint64;

constexpr ushort FIRST = 0x4e00;
constexpr ushort LAST = 0x9fff;

bool isChinese(ushort unicode) { return unicode >= FIRST && unicode <= LAST; }

/// 0 for what is no letter or digit of ASCII.
Initials ofAscii(ushort unicode) {
  const ushort lower = unicode | 0x20;
  if (lower >= 'a' && lower <= 'z') return Initials(1) << (lower - 'a');
  return unicode >= '0' && unicode <= '9' ? Initials(1) << (26 + unicode - '0') : 0;
}

std::vector<quint32> makeTable() {
  std::vector<quint32> table(LAST - FIRST + 1);
  for (const SPinyinInitials& group : pinyinInitials()) {
    Initials initials = 0;
    for (const char* letter = group.letters; *letter != 0; ++letter) initials |= ofAscii(static_cast<uchar>(*letter));
    for (const char16_t* each = group.characters; *each != 0; ++each) {
      table[static_cast<std::size_t>(*each - FIRST)] = static_cast<quint32>(initials);
    }
  }
  return table;
}

/// Fullwidth letters and digits, as names of securities have them, count as the others.
Initials initialsOf(ushort unicode) {
  static const std::vector<quint32> table = makeTable();
  if (isChinese(unicode)) return table[static_cast<std::size_t>(unicode - FIRST)];
  return ofAscii(unicode >= 0xff01 && unicode <= 0xff5e ? static_cast<ushort>(unicode - 0xfee0) : unicode);
}

}  // namespace

bool matchesPinyin(const QString& name, const QString& typed) {
  QVarLengthArray<Initials, 32> wanted;
  for (const QChar each : typed) wanted.append(ofAscii(each.unicode()));
  if (wanted.isEmpty() || wanted.contains(0)) return false;
  QVarLengthArray<Initials, 32> initials;
  for (const QChar each : name) {
    // A character whose readings are unknown keeps its place: what stands round it does not follow each other.
    const Initials known = initialsOf(each.unicode());
    if (known != 0 || isChinese(each.unicode())) initials.append(known);
  }
  const auto fits = [](Initials has, Initials wants) { return (has & wants) != 0; };
  return std::search(initials.begin(), initials.end(), wanted.begin(), wanted.end(), fits) != initials.end();
}

bool matchesGivenPinyin(const QString& given, const QString& typed) {
  return !typed.isEmpty() && !typed.contains(QLatin1Char(' ')) && given.contains(typed, Qt::CaseInsensitive);
}

}  // namespace utils
