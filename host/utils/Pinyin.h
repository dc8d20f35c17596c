/// Names as people type them: by the initials of their characters' readings.
#pragma once

#include <QString>

namespace utils {

/// Whether typed letters and digits are the initials of characters that follow each other in a name, whatever their
/// case: of a Chinese character any of its readings counts (行 is h and x), of a letter or digit itself; anything else
/// in a name is passed over. False for an empty text and for one that holds anything else. Any thread.
bool matchesPinyin(const QString& name, const QString& typed);

/// The same of initials that somebody has written down ("PFYH"; several apart by blanks), which know better than the
/// characters.
bool matchesGivenPinyin(const QString& given, const QString& typed);

}  // namespace utils
