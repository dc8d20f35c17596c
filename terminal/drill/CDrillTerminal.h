#pragma once

#include <QPointer>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "CDrillJournal.h"
#include "CTestHost.h"
#include "tc/ITradeDockableWidget.h"
#include "tc/PanelPlugin.h"

namespace drill {

/// A terminal that is stepped: its desk and its panel, by a clock that stands still until it is moved. Between two
/// calls no job runs and nothing is queued. GUI thread.
class CDrillTerminal {
 public:
  /// Where quantities or amounts show.
  static constexpr int PROGRESS_COLUMN = 8;

  /// The journal may be null and must outlive the terminal.
  CDrillTerminal(TC::CreatePanelFunction createPanel, CDrillJournal* journal);
  ~CDrillTerminal();
  CDrillTerminal(const CDrillTerminal&) = delete;
  CDrillTerminal& operator=(const CDrillTerminal&) = delete;

  testkit::CTestHost& host() { return m_host; }
  desk::CDesk& desk() { return m_host.desk(); }
  CDrillJournal* journal() { return m_pJournal; }
  /// Null before openPanel().
  TC::ITradeDockableWidget* panel() { return m_pPanel; }
  /// Makes the panel, which loads what the desk knows.
  void openPanel();
  /// One more panel of the same desk, which the caller deletes.
  TC::ITradeDockableWidget* makePanel(int id);
  /// In the column of progress of a panel that shows amounts there.
  void showQuantities(TC::ITradeDockableWidget& panel);

  /// Something that happens on the GUI thread, to its end: no job begins within it, then jobs and queued calls run.
  void act(const std::function<void()>& what);
  /// The same from within a dialog that is open.
  void actInDialog(const std::function<void()>& what);
  /// The timer of the refresh goes off. amidst: called on the worker at that of its questions of which the number is
  /// given, from 0, while it waits; true when it came to that.
  bool refresh(int question = -1, const std::function<void()>& amidst = {});
  /// Its timer goes off, and the worker waits at a question while what is done on the GUI thread. The worker goes on
  /// when it is done, or when the GUI thread waits for the worker.
  bool refreshAnd(int question, const std::function<void()>& what);
  void settle();

 private:
  void meet();

  CDrillJournal* m_pJournal;
  TC::CreatePanelFunction m_createPanel;
  testkit::CTestHost m_host;
  QPointer<TC::ITradeDockableWidget> m_pPanel;
  const std::thread::id m_gui = std::this_thread::get_id();
  std::mutex m_mutex;  ///< guards the rest
  std::condition_variable m_changed;
  int m_nQuestion = -1;  ///< that is still to come until the worker is met; below 0: none
  std::function<void()> m_amidst;
  bool m_bMet = false;
};

}  // namespace drill
