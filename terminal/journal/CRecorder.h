#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "CInputDelay.h"
#include "CLineSequence.h"
#include "DialogObservers.h"
#include "IDeskObserver.h"
#include "utils/JobMonitor.h"

class QWidget;
namespace GV {
class CHpfTreeTable;
}
namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// Writes the journal of a live session: what the drivers of a desk deliver, where the panel's refreshes run, and what
/// the user does. Made before the desk is filled, so that the session comes first. While it lives, deliveries and the
/// panel's jobs exclude each other.
///
/// A recording is small, and all the same says whatever the panel can have seen: of instruments only those are written
/// that a task or a hedge has to do with, of their quotes the first, and then those that the panel reads, of a task's
/// progress only what changed.
///
/// Threads: the observers of the desk are told on any thread, everything else belongs to the GUI thread. Each line is
/// flushed; one that the panel answers when it has done so, those that came while a dialog was open when it was closed.
class CRecorder : public desk::IDeskObserver, public CDialogObserver {
 public:
  /// The desk and the stream must outlive the recorder.
  CRecorder(desk::CDesk& desk, std::ostream& out);
  CRecorder(const CRecorder&) = delete;
  CRecorder& operator=(const CRecorder&) = delete;
  /// The panel is gone by then, or does nothing any more.
  ~CRecorder() override;

  /// Just before a panel is made and given its trader type.
  void recordOpen();
  /// Records what the user does in the panel from now on.
  void watch(TC::ITradeDockableWidget& panel);
  /// Just before the panel is deleted.
  void recordClose();
  void recordDump(const std::string& name);
  /// Just before the host hands the panel a parameter text.
  void recordSetParam(const QString& text);
  /// Just before any other act of the host.
  void recordHostAct(const SHostLine& line) { write(line); }

  /// False once a line could not be written.
  bool isGood() const;

  void onSession(const desk::SSession& session) override;
  void onAccount(const desk::SAccount& account) override;
  void onInstrument(const TC::CCodeInfo& info) override;
  void onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) override;
  void onCommand(const ksservice::COrderCommand& command) override;
  void onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onHedgeState(int groupId, int status) override;
  void onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) override;
  void onTask(const desk::SPublication& publication) override;
  void onQuoteRead(const std::string& code) override;
  void onHedgeVolume(int taskId, int volume) override;
  void onHedgeStatus(int taskId, int status) override;
  void onTradingDay(const std::string& date) override;
  void onStockUnitChange() override;
  void onServerReply(const utils::KSError& error, const bson::BSONObj& reply) override;
  void onCreateReply(const utils::KSError& error, int taskId) override;
  void onOrderProcess(const TC::OrderProcessMap& data, const utils::KSError& error,
                      const bson::BSONObj& result) override;

  void dialogOpens(GV::CCommonDialog& dialog) override;
  void buttonPressed(GV::CCommonDialog& dialog, const QString& text) override;
  void rowChecked(GV::CCommonDialog& dialog, const QString& key, bool on) override;
  void rowEdited(GV::CCommonDialog& dialog, const QString& key, const QString& text) override;
  void dialogClosed(GV::CCommonDialog& dialog) override;
  void dialogEnded(GV::CCommonDialog& dialog, bool accepted) override;

 private:
  struct SQuote {
    TC::CQuote m_quote;
    bool m_bTold = false;  ///< it stands in the journal
  };
  /// What is known of the instruments with one code: a task may name one of them by another market.
  struct SInstrument {
    std::vector<TC::CCodeInfo> m_infos;
    std::map<std::string, SQuote> m_quotes;  ///< by market
    bool m_bInUse = false;
  };

  void write(SLine::Body body);
  void writeLocked(SLine::Body body);
  void writeAct(SLine::Body body);
  bool passFence();
  void addAct(EDialogAct act, const QString& name, bool on = true, const QString& text = {});
  /// Writes what is known of the instruments with the code, once.
  void useLocked(const std::string& code);
  void onJob(utils::EPanelJob job);
  void onUserEvent(QWidget* from, int eventId, int id, int value, const QString& key);
  void onMenu();
  void onHeader();

  desk::CDesk& m_desk;
  QElapsedTimer m_clock;
  QPointer<TC::ITradeDockableWidget> m_pPanel;         ///< GUI thread
  QPointer<GV::CHpfTreeTable> m_pTable;                ///< GUI thread
  bool m_bHeaderChanged = false;                       ///< GUI thread
  std::vector<QPointer<GV::CCommonDialog>> m_dialogs;  ///< open, one inside another; GUI thread
  CInputDelay m_inputDelay;                            ///< GUI thread

  mutable std::mutex m_mutex;  ///< guards the rest, and the order of the lines
  CLineSequence m_lines;
  std::map<std::string, SInstrument> m_instruments;
  std::map<std::string, TC::CTaskProgress> m_progress;  ///< what was told last, by detail key
  qint64 m_nNow = 0;                                    ///< time of the time service that a replay has now
  qint64 m_nNowT = 0;
};

}  // namespace journal
