#include "CPlayer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <utility>

#include "Archive.h"
#include "CHostServices.h"
#include "COutput.h"
#include "LineRecords.h"
#include "UserActs.h"
#include "gv/CClipboard.h"
#include "gv/CFileDialog.h"
#include "gv/CMessageBox.h"
#include "tc/CSettingDialogNew.h"

namespace journal {
namespace {

/// How long a wait for a job or for the next line goes without a look at the GUI thread's events.
constexpr int SLICE_MSEC = 10;

/// Keeps the jobs of a panel back while it lives.
class CHold {
 public:
  explicit CHold(desk::CJobGate& gate) : m_gate(gate) { m_gate.setHold(true); }
  CHold(const CHold&) = delete;
  CHold& operator=(const CHold&) = delete;
  ~CHold() { m_gate.setHold(false); }

 private:
  desk::CJobGate& m_gate;
};

CLineFault unanswered(const std::string& what) { return CLineFault("no " + what + " is unanswered"); }

utils::KSError toError(const std::optional<std::string>& text) {
  return text ? utils::KSError(*text) : utils::KSError();
}

/// The reader has seen the line of the account.
boost::shared_ptr<const ksservice::CAccountInfo> findAccount(const desk::CDesk& desk, const std::string& key) {
  desk::SAccount account;
  desk.findAccount(key, account);
  return account.m_pInfo;
}

}  // namespace

CPlayer::CPlayer(desk::CDesk& desk, desk::CHostServices& services, PanelFactory createPanel, COutput& output,
                 std::ostream& errors)
    : m_desk(desk),
      m_services(services),
      m_pSource(&desk),
      m_pSourceServices(&services),
      m_createPanel(std::move(createPanel)),
      m_output(output),
      m_errors(errors),
      m_dialogs(
          output, [this](int count) { playInDialog(count); },
          [this](int line, const std::string& what) { fail(line, what); }) {
  m_desk.addObserver(&m_output);
  GV::CMessageBox::setPresenter(
      [this](QWidget*, const QString& title, const QString& text) { m_output.messageBox(title, text); });
  GV::CFileDialog::setPresenter([this](QWidget*, const QString& caption) {
    m_output.dialogResult(caption, false);
    return QString();
  });
  TC::CSettingDialogNew::setPresenter(
      [this](TC::ESettingPage, const QString& text) { m_output.showSettingPage(text); });
  GV::CClipboard::setObserver([this](const QString& text) { m_output.setClipboard(text); });
}

CPlayer::~CPlayer() {
  closePanel();
  GV::CMessageBox::setPresenter({});
  GV::CFileDialog::setPresenter({});
  GV::CClipboard::setObserver({});
  TC::CSettingDialogNew::setPresenter({});
  m_desk.removeObserver(&m_output);
}

CPlayer::EExit CPlayer::play(SJournal journal, const std::string& fileName) {
  m_strFile = fileName;
  m_strFault = std::move(journal.m_strFault);
  if (!journal.m_strTorn.empty()) m_errors << journal.m_strTorn << std::endl;
  m_lines = std::move(journal.m_lines);
  m_nNext = 0;
  if (m_strFault.empty()) m_strFault = exportFault(m_lines, fileName);
  QElapsedTimer timer;
  timer.start();
  m_nStart = timer.msecsSinceReference();
  while (!isDone()) playNext();
  if (m_strFault.empty()) return ExitPlayed;
  m_errors << m_strFault << std::endl;
  return ExitMalformed;
}

void CPlayer::playNext() {
  const SLine& line = m_lines[m_nNext++];
  try {
    start(line);
    if (m_bStopped) {
      --m_nNext;  // it was only waited for
      return;
    }
    const CHold hold(m_desk.gate());
    m_nNumber = line.m_nNumber;
    std::visit([this](const auto& body) { play(body); }, line.m_body);
  } catch (const CLineFault& fault) {
    fail(line.m_nNumber, fault.what());
  }
  settle();
}

/// Lines that came while a dialog was open. What the dialog's own line holds back is let go for them.
void CPlayer::playInDialog(int count) {
  m_desk.gate().setHold(false);
  settle();
  for (int i = 0; i < count && !isDone(); ++i) playNext();
  m_desk.gate().setHold(true);
}

void CPlayer::fail(int line, const std::string& what) {
  if (m_strFault.empty()) m_strFault = faultText(m_strFile, line, what);
}

void CPlayer::start(const SLine& line) {
  if (line.m_nT) {
    if (m_bRecordedPace) waitFor(*line.m_nT);
    m_services.manualClock()->advanceTo(double(*line.m_nT));
    m_desk.setNow(m_nBaseNow + (*line.m_nT - m_nBaseT) / 1000);
  }
  if (line.m_nNow) {
    m_nBaseNow = *line.m_nNow;
    m_nBaseT = line.m_nT.value_or(qint64(m_services.manualClock()->clockMSec()));
    m_desk.setNow(m_nBaseNow);
  }
}

void CPlayer::waitFor(qint64 msec) const {
  QElapsedTimer timer;
  for (;;) {
    timer.start();
    const qint64 left = m_nStart + msec - timer.msecsSinceReference();
    if (left <= 0 || m_bStopped) return;
    QCoreApplication::processEvents(QEventLoop::AllEvents, SLICE_MSEC);
    QThread::msleep(static_cast<unsigned long>(std::min<qint64>(left, SLICE_MSEC)));
  }
}

void CPlayer::settle() {
  desk::CJobGate& gate = m_desk.gate();
  bool settled = false;
  while (!settled) {
    // The GUI thread waits here for the worker; that is what makes a replay exact. A live terminal never does.
    while (!gate.waitIdle(SLICE_MSEC)) {
    }
    // Looked at while no job can begin: one that came and went in between would leave its outcome in the queue.
    const CHold hold(gate);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    settled = gate.isIdle();
  }
}

void CPlayer::play(const SSessionLine& line) {
  m_pSource->setSession(line.m_session);
  m_nBaseNow = line.m_session.m_nNow;
}

void CPlayer::play(const SAccountLine& line) { m_pSource->addAccount(toAccount(line)); }

void CPlayer::play(const SInstrumentLine& line) { m_pSource->setInstrument(line.m_info); }

void CPlayer::play(const SQuoteLine& line) { m_pSource->setQuotes({toQuote(line)}); }

void CPlayer::play(const SCommandLine& line) {
  auto command = boost::make_shared<ksservice::COrderCommand>(line.m_command);
  command->m_strKey = ksservice::COrderCommand::genKey(command->m_nCommandId, command->m_nNumber);
  m_pSource->setCommand(command);
}

void CPlayer::play(const SHedgeParamLine& line) {
  m_pSource->setHedgeParam(line.m_eWhere, line.m_nCommand, line.m_param);
}

void CPlayer::play(const SHedgeStateLine& line) { m_pSource->setHedgeState(line.m_nGroup, line.m_nStatus); }

void CPlayer::play(const STaskLine& line) { m_pSource->publishTask(toPublication(line, *m_pSource)); }

void CPlayer::play(const SProgressLine& line) {
  m_pSource->setProgress(line.m_strTask, toProgress(line, m_pSource->progress(line.m_strTask).get()));
}

void CPlayer::play(const SHedgeVolumeLine& line) {
  m_pSourceServices->announceHedgeVolume(line.m_nTask, line.m_nVolume);
}

void CPlayer::play(const SHedgeStatusLine& line) {
  m_pSourceServices->announceHedgeStatus(line.m_nTask, line.m_nStatus);
}

void CPlayer::play(const STradingDayLine& line) { m_pSourceServices->announceTradingDay(line.m_strDate); }

void CPlayer::play(const SStockUnitChangeLine&) { m_pSourceServices->announceStockUnitChange(); }

void CPlayer::play(const SServerReplyLine& line) {
  if (!m_pSource->requests().replyToOperation(toError(line.m_strError), line.m_document)) throw unanswered("operation");
}

void CPlayer::play(const SCreateReplyLine& line) {
  if (!m_pSource->requests().replyToCreate(toError(line.m_strError), line.m_nTaskId)) throw unanswered("creation");
}

void CPlayer::play(const SOrderProcessLine& line) {
  const bool asked = m_pSource->requests().replyToQuery(line.m_data, toError(line.m_strError), line.m_document);
  if (!asked) throw unanswered("order-process query");
}

void CPlayer::play(const SOpenLine&) {
  if (m_pPanel) throw CLineFault("a panel is open already");
  m_pPanel = m_createPanel();
  if (!m_pPanel) throw CLineFault("no panel could be made");
  m_output.watch(*m_pPanel);
  m_desk.setSignalHook([this](const ksservice::CTaskDetailPtr& detail) {
    if (m_pPanel) m_pPanel->deliverTaskDetail(detail);
  });
  m_pPanel->setTradeType(EMavTraderType(m_desk.session().m_nTraderType));
}

void CPlayer::play(const SCloseLine&) {
  openPanel();
  closePanel();
}

void CPlayer::play(const SRefreshLine&) {
  openPanel();
  if (!m_services.manualClock()->firePendingTimer()) throw CLineFault("no refresh is due");
}

void CPlayer::play(const SHostLine& line) {
  TC::ITradeDockableWidget& panel = openPanel();
  switch (line.m_eAct) {
    case EHostAct::SetParam:
      return panel.setParam(QString::fromStdString(line.m_strText));
    case EHostAct::SetTradeType:
      return panel.setTradeType(EMavTraderType(line.m_nTraderType));
    case EHostAct::SetUiLock:
      return panel.setUiLock(line.m_bOn);
    case EHostAct::PrepareActive:
      return panel.prepareActive();
    case EHostAct::RequestAccount:
      return panel.requestAccount(*findAccount(m_desk, line.m_strAccount));
    case EHostAct::LoadAccountGroupSettings:
      return panel.loadAccountGroupSettings();
    case EHostAct::Patch:
      return patchRow(panel, line.m_strRow, line.m_nPriceType);
  }
}

void CPlayer::play(const SUserLine& line) {
  if (line.m_eAct == EUserAct::Dialog) return m_dialogs.queue(line.m_acts, m_nNumber);
  // Once more: the folder may have changed since.
  if (line.m_eAct == EUserAct::Export) m_exports.check(line.m_strFile);
  performUserAct(openPanel(), line);
  if (line.m_eAct == EUserAct::Export) m_exports.exported(line.m_strFile);
}

void CPlayer::play(const SDumpLine& line) { m_output.dump(openPanel(), line.m_strName); }

TC::ITradeDockableWidget& CPlayer::openPanel() const {
  if (!m_pPanel) throw CLineFault("no panel is open");
  return *m_pPanel;
}

void CPlayer::closePanel() {
  m_desk.setSignalHook({});
  delete m_pPanel.data();
}

}  // namespace journal
