#pragma once

#include <QString>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "Lines.h"

namespace GV {
class CCommonDialog;
}

namespace journal {

class COutput;

/// Works the modal dialogs of a replay with the acts that the journal has for them. A list of acts is for one dialog
/// and those that open inside it; a dialog without acts, or one that its acts leave open, is dismissed. GUI thread.
class CDialogScript {
 public:
  /// Plays so many of the journal's next lines.
  using PlayLines = std::function<void(int count)>;
  /// Told of what keeps an act from being done, and of the journal's line that it stands in. No dialog is worked any
  /// further then.
  using Fault = std::function<void(int line, const std::string& what)>;

  /// Takes all modal dialogs of the process while it lives. The output must outlive it.
  CDialogScript(COutput& output, PlayLines playLines, Fault fault);
  CDialogScript(const CDialogScript&) = delete;
  CDialogScript& operator=(const CDialogScript&) = delete;
  ~CDialogScript();

  /// The acts of a line are for the next dialog that opens while none is open.
  void queue(std::vector<SDialogAct> acts, int line);

 private:
  /// The acts of a line that are left.
  struct SList {
    int m_nLine = 0;
    std::deque<SDialogAct> m_acts;
  };

  void work(GV::CCommonDialog& dialog);
  QString perform(GV::CCommonDialog& dialog, const SDialogAct& act);
  void fail(const std::string& what);

  COutput& m_output;
  PlayLines m_playLines;
  Fault m_fault;
  std::deque<SList> m_waiting;
  SList m_current;
  int m_nOpen = 0;  ///< dialogs that are worked now, one inside another
  bool m_bFailed = false;
};

}  // namespace journal
