/// Texts of a host, an exchange or a user are texts: what looks like markup in them is shown, not carried out. Labels
/// and message boxes are told so by their text format; what Qt offers no format for is told by these. Any thread.
#pragma once

#include <QString>

namespace GV {

/// The text for a tip, which Qt would take for markup where it looks like it.
QString plainTip(const QString& text);

}  // namespace GV
