#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "Lines.h"

namespace journal {

/// Puts the lines of a recording into the order in which a replay needs them: what the user did in a modal dialog
/// stands before the line that opened the dialog, and that line before those that came while the dialog was open. Each
/// line is flushed as soon as its place is known. Not thread-safe.
class CLineSequence {
 public:
  explicit CLineSequence(std::ostream& out) : m_out(out) {}

  /// The next line. opens: it may open a dialog; such a line waits for settle(), for a dialog or for the next line.
  void put(const SLine& line, bool opens);
  /// What the last line caused has happened.
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
  void writeDialog();

  std::ostream& m_out;
  std::string m_held;  ///< the line that may open a dialog; empty: none
  int m_nDialogs = 0;  ///< open, one inside another
  std::vector<SDialogAct> m_acts;
  std::vector<std::string> m_meanwhile;  ///< lines that came since the outermost dialog opened
  int m_nSinceAct = 0;                   ///< of these, those behind the last act
};

}  // namespace journal
