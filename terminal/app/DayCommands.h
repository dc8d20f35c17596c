/// What can be asked of a kept day without a terminal.
#pragma once

#include <QStringList>

namespace app {

/// The first word of these commands: ./run day verify FILE.
inline constexpr const char* DAY_WORD = "day";

/// Whether these words, told without the first word, are such a command; if not, they name a day to look back at.
bool isDayCommand(const QStringList& words);

/// Carries a command out, told without its first word. Answers go to standard output, one line what it cannot do to
/// standard error. Gives the exit status: 0, 1 when something is wrong with the day, 2 when the command is none or
/// cannot be carried out. An application object must exist.
int runDayCommand(const QStringList& words);

}  // namespace app
