#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <variant>

#include "Lines.h"

namespace journal {

/// Puts the lines of a recording into the order in which a replay needs them: what the user did in a modal dialog
/// stands before the line that opened the dialog, and that line before those that came while the dialog was open; what
/// the panel asked for because of a line stands before that line. Each line is flushed as soon as its place is known.
/// Not thread-safe.
class CLineSequence {
 public:
  explicit CLineSequence(std::ostream& out) : m_out(out) {}

  /// The next line. acts: the panel does something because of it, asks for quotes or opens a dialog; such a line, and
  /// those behind it, wait for settle() or a dialog.
  void put(const SLine& line, bool acts);
  /// A line that changes what the panel asks for now, because of what has not settled; it has not asked for it since
  /// the change, and until settle() nothing changes.
  void putAsked(const SLine& line);
  /// What the lines and acts so far caused has happened.
  void settle();

  void dialogOpens();
  /// What the user did in the dialog that was opened last.
  void add(const SDialogAct& act);
  void dialogEnded();
  /// Writes what is held back; dialogs that are open are taken for closed.
  void finish();

  bool isGood() const { return m_out.good(); }

 private:
  void write(const std::string& text) { m_out << text << '\n' << std::flush; }
  bool isInDialog() const { return m_nDialogs > 0 || m_bDialogEnded; }
  void writeDialog();

  std::ostream& m_out;
  std::deque<std::string> m_held;  ///< lines that have not settled; while a dialog is open, the last one opened it
  int m_nDialogs = 0;              ///< open, one inside another
  bool m_bDialogEnded = false;     ///< the outermost one, but what was confirmed in it has not settled
  std::deque<std::variant<std::string, SDialogAct>> m_inDialog;  ///< lines and acts since the outermost dialog opened
  std::optional<std::size_t> m_nSettled;  ///< so many of these have settled; none: what opened the dialog has not
};

}  // namespace journal
