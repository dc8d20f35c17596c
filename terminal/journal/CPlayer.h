#pragma once

#include <QPointer>
#include <functional>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "CDialogScript.h"
#include "CExportGuard.h"
#include "JournalReader.h"
#include "tc/ITradeDockableWidget.h"

namespace desk {
class CHostServices;
}

namespace journal {

class COutput;

/// Makes a panel and shows it where it belongs. The player deletes it.
using PanelFactory = std::function<TC::ITradeDockableWidget*()>;

/// Plays a journal on a desk and a panel. GUI thread.
///
/// Lines are taken strictly in order. Before the next one starts, what the line caused has run: first the jobs of the
/// panel's queue to their end, then the calls queued for the GUI thread, until nothing is left. While the GUI thread
/// works on a line no job begins, so that a replay is deterministic.
class CPlayer {
 public:
  enum EExit { ExitPlayed = 0, ExitMalformed = 2 };

  /// The services are installed, with a manual clock; all must outlive the player. Faults go to errors, a line each.
  CPlayer(desk::CDesk& desk, desk::CHostServices& services, PanelFactory createPanel, COutput& output,
          std::ostream& errors);
  CPlayer(const CPlayer&) = delete;
  CPlayer& operator=(const CPlayer&) = delete;
  /// Deletes the panel.
  ~CPlayer();

  /// What the lines of a host say changes another desk: one from which that of the panel is filled, and to which goes
  /// what the panel asks, before a call to it returns. Both must outlive the player.
  void setSource(desk::CDesk& desk, desk::CHostServices& services) {
    m_pSource = &desk;
    m_pSourceServices = &services;
  }
  /// Lines with a "t" wait for it.
  void setRecordedPace(bool on) { m_bRecordedPace = on; }
  /// A journal whose text is malformed is not played at all; one that turns out to be so while it is played (a row
  /// that does not exist) ends there. The panel stays for the user to see.
  EExit play(SJournal journal, const std::string& fileName);
  EExit play(std::istream& in, const std::string& fileName) { return play(readJournal(in, fileName), fileName); }
  /// Ends a replay before its next line, as one that was played.
  void stop() { m_bStopped = true; }
  /// Whether lines were left because of stop().
  bool wasStopped() const { return m_bStopped && m_strFault.empty() && m_nNext < m_lines.size(); }

  /// Null before an open line and after a close line.
  TC::ITradeDockableWidget* panel() const { return m_pPanel; }

 private:
  bool isDone() const { return m_bStopped || !m_strFault.empty() || m_nNext >= m_lines.size(); }
  void playNext();
  void playInDialog(int count);
  void fail(int line, const std::string& what);
  void start(const SLine& line);
  void waitFor(qint64 msec) const;
  void settle();

  void play(const SSessionLine& line);
  void play(const SAccountLine& line);
  void play(const SInstrumentLine& line);
  void play(const SQuoteLine& line);
  void play(const SCommandLine& line);
  void play(const SHedgeParamLine& line);
  void play(const SHedgeStateLine& line);
  void play(const STaskLine& line);
  void play(const SProgressLine& line);
  void play(const SHedgeVolumeLine& line);
  void play(const SHedgeStatusLine& line);
  void play(const STradingDayLine& line);
  void play(const SStockUnitChangeLine& line);
  void play(const SServerReplyLine& line);
  void play(const SCreateReplyLine& line);
  void play(const SOrderProcessLine& line);
  void play(const SOpenLine& line);
  void play(const SCloseLine& line);
  void play(const SRefreshLine& line);
  void play(const SHostLine& line);
  void play(const SUserLine& line);
  void play(const SDumpLine& line);

  TC::ITradeDockableWidget& openPanel() const;
  void closePanel();

  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  desk::CDesk* m_pSource;
  desk::CHostServices* m_pSourceServices;
  PanelFactory m_createPanel;
  COutput& m_output;
  std::ostream& m_errors;
  CDialogScript m_dialogs;
  CExportGuard m_exports;
  QPointer<TC::ITradeDockableWidget> m_pPanel;
  std::string m_strFile;
  std::vector<SLine> m_lines;
  std::size_t m_nNext = 0;  ///< the line that is played next
  int m_nNumber = 0;        ///< number of the line that is played
  std::string m_strFault;   ///< why the replay ended early; empty: it did not
  bool m_bRecordedPace = false;
  bool m_bStopped = false;
  qint64 m_nStart = 0;    ///< steady milliseconds at which the replay began
  qint64 m_nBaseNow = 0;  ///< time of the time service at m_nBaseT
  qint64 m_nBaseT = 0;    ///< milliseconds since the journal began
};

}  // namespace journal
