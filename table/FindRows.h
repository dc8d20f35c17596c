/// What a user finds in the table by typing.
#pragma once

#include <QString>
#include <functional>

namespace GV {
class ITreeState;
}

namespace TC {

/// Whether a row of the table is what a user typed (not empty, no blanks around it): an instrument by the beginning of
/// its code (600000, SH600000, 600000.SH), a part of its name or initials of that; a task by the beginning of its
/// number, a part of its name or of its basket's, or initials of the latter. Groups and accounts are none of these.
std::function<bool(const GV::ITreeState& state, int row)> rowsNamed(const QString& typed);

}  // namespace TC
