#pragma once

#include <string>
#include <vector>

#include "CExchange.h"
#include "Lines.h"

namespace drill {

/// The journal of one minute of a drill: what the terminal knew when it began, then what happened. GUI thread.
class CDrillJournal {
 public:
  /// The minute in which a moment of a day lies; day: of the drill, from 1; msec: since midnight.
  CDrillJournal(int day, std::int64_t msec) : m_nDay(day), m_nFrom(msec / MINUTE * MINUTE) {}

  /// Told the time at each step, before anything happens at it.
  void advanceTo(int day, std::int64_t msec, const desk::CDesk& desk, const exchange::CExchange& market);
  /// Whether lines are taken now.
  bool isOpen() const { return m_bOpen; }
  void add(journal::SLine::Body body);
  void addDetail(const desk::SPublication& publication, const desk::CDesk& desk);
  /// What the user does in a dialog that opens now stands before the line that opened it.
  void beginDialog();
  void addAct(journal::EDialogAct act, const std::string& name, bool on = true, const std::string& text = {});
  void endDialog();
  /// One line each; at its end the table is dumped as "violation".
  std::string text() const;

 private:
  static constexpr std::int64_t MINUTE = 60000;

  struct SDialog {
    std::size_t m_nPlace = 0;  ///< of the line that opened it
    std::size_t m_nLines = 0;  ///< when the last act was added
    std::vector<journal::SDialogAct> m_acts;
  };

  void addState(const desk::CDesk& desk, const exchange::CExchange& market);

  int m_nDay;
  std::int64_t m_nFrom;
  std::int64_t m_nNow = 0;
  bool m_bOpen = false;
  std::vector<journal::SLine> m_lines;
  std::vector<SDialog> m_dialogs;
};

}  // namespace drill
