#include "CRecorder.h"

#include <QAction>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "LineRecords.h"
#include "TableDump.h"
#include "gv/CCommonDialog.h"
#include "gv/CEventWidget.h"
#include "gv/CHpfTreeTable.h"
#include "tc/ITradeDockableWidget.h"

namespace journal {
namespace {

bool isSame(const TC::CQuote& one, const TC::CQuote& other) {
  return one.m_dLast == other.m_dLast && one.m_dBid == other.m_dBid && one.m_dAsk == other.m_dAsk &&
         one.m_dCalc == other.m_dCalc && one.m_dOrder == other.m_dOrder && one.m_dLimitUp == other.m_dLimitUp &&
         one.m_dLimitDown == other.m_dLimitDown;
}

bool isSame(const TC::CProgressOrder& one, const TC::CProgressOrder& other) {
  const ksservice::COrderDetail& a = one.m_detail;
  const ksservice::COrderDetail& b = other.m_detail;
  return one.m_strMapKey == other.m_strMapKey && one.m_nParamIndex == other.m_nParamIndex &&
         a.m_strMarket == b.m_strMarket && a.m_strCode == b.m_strCode && a.m_nTradedVolume == b.m_nTradedVolume &&
         a.m_dTradedAmount == b.m_dTradedAmount && a.m_bCancelled == b.m_bCancelled;
}

/// Whether the panel does something because of the line at once: asks for quotes, opens a modal dialog. What it does
/// because of the others, it does in a refresh.
template <typename... Acts>
bool isOneOf(const SLine& line) {
  return (std::holds_alternative<Acts>(line.m_body) || ...);
}
constexpr auto isAct =
    isOneOf<SUserLine, SHostLine, SOpenLine, SRefreshLine, SServerReplyLine, SCreateReplyLine, SOrderProcessLine,
            SHedgeVolumeLine, SHedgeStatusLine, STradingDayLine, SStockUnitChangeLine>;

/// The part of a task's progress that differs from what was told before; none where it cannot be told in parts.
std::optional<TC::CTaskProgress> changesOf(const TC::CTaskProgress& before, const TC::CTaskProgress& now) {
  if (before.m_orders.empty() || now.m_orders.size() < before.m_orders.size()) return std::nullopt;
  TC::CTaskProgress changes;
  for (std::size_t i = 0; i < now.m_orders.size(); ++i) {
    const TC::CProgressOrder& order = now.m_orders[i];
    if (order.m_detail.m_strKey.empty()) return std::nullopt;
    const bool known = i < before.m_orders.size();
    // New ones come behind the others; a replay keeps the order.
    if (known && before.m_orders[i].m_detail.m_strKey != order.m_detail.m_strKey) return std::nullopt;
    if (!known || !isSame(before.m_orders[i], order)) changes.m_orders.push_back(order);
  }
  return changes;
}

std::optional<std::string> errorText(const utils::KSError& error) {
  return error.success() ? std::nullopt : std::make_optional(error.errorMsg());
}

SUserLine userAct(EUserAct act, int id = 0) {
  SUserLine line;
  line.m_eAct = act;
  line.m_nId = id;
  return line;
}

SUserLine foldAct(bool expand, const QString& row) {
  SUserLine line = userAct(expand ? EUserAct::Expand : EUserAct::Collapse);
  line.m_strRow = row.toStdString();
  return line;
}

}  // namespace

CRecorder::CRecorder(desk::CDesk& desk, std::ostream& out) : m_desk(desk), m_inputDelay(desk.gate()), m_lines(out) {
  m_clock.start();
  m_desk.addObserver(this);
  m_desk.gate().setRecording(
      true, [this](utils::EPanelJob job) { onJob(job); }, [this] { return passFence(); });
  GV::CEventDeliverer::setTap([this](QWidget* from, int eventId, int id, int value, const QString& key) {
    onUserEvent(from, eventId, id, value, key);
  });
}

CRecorder::~CRecorder() {
  GV::CEventDeliverer::setTap({});
  m_desk.gate().setRecording(false);
  m_desk.removeObserver(this);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.finish();
}

bool CRecorder::isGood() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_lines.isGood();
}

void CRecorder::write(SLine::Body body) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  writeLocked(std::move(body));
}

/// What the user or the host does to the panel. Until the GUI thread is back at its events, in a dialog's loop at the
/// earliest, nothing changes beside it: what it meets is what stands before the line.
void CRecorder::writeAct(SLine::Body body) {
  const desk::CJobGate::CChange change(m_desk.gate());
  m_desk.gate().fence();
  write(std::move(body));
}

void CRecorder::writeLocked(SLine::Body body) {
  SLine line;
  line.m_nT = m_clock.elapsed();
  // A replay's time service goes on with "t"; where the terminal's runs faster, the line says so.
  const qint64 now = m_desk.now();
  if (now != m_nNow + (*line.m_nT - m_nNowT) / 1000) {
    line.m_nNow = m_nNow = now;
    m_nNowT = *line.m_nT;
  }
  line.m_body = std::move(body);
  m_lines.put(line, isAct(line));
}

bool CRecorder::passFence() {
  // A dialog that was ended still runs its events, but what was confirmed in it is not carried out yet.
  if (!m_dialogs.empty() && m_dialogs.back() && !m_dialogs.back()->isVisible()) return false;
  // A job that runs beside the GUI thread's act still asks; nothing changes until it has ended, and then comes a fence.
  if (!m_desk.gate().isRunning()) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.settle();
  }
  m_inputDelay.release();
  return true;
}

// The panel

void CRecorder::recordOpen() { write(SOpenLine()); }

void CRecorder::watch(TC::ITradeDockableWidget& panel) {
  m_pPanel = &panel;
  m_pTable = tableOf(panel);
  if (!m_pTable) return;
  // Queued: the menu tells of an action before it is carried out.
  QObject::connect(
      m_pTable->contextMenu(), &QMenu::triggered, m_pTable,
      [this](const QAction* action) {
        if (!GV::CHpfTreeTable::isCommand(*action)) onMenu();
      },
      Qt::QueuedConnection);
  QHeaderView* header = m_pTable->header();
  const auto changed = [this] { onHeader(); };
  QObject::connect(header, &QHeaderView::sortIndicatorChanged, m_pTable, changed);
  QObject::connect(header, &QHeaderView::sectionMoved, m_pTable, changed);
  QObject::connect(header, &QHeaderView::sectionResized, m_pTable, changed);
  // What the layout did to the columns while the panel was made is told as well.
  onHeader();
}

void CRecorder::recordClose() {
  m_desk.gate().dropFences();
  write(SCloseLine());
}

void CRecorder::recordDump(const std::string& name) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  writeLocked(SDumpLine{name});
  m_lines.settle();
}

void CRecorder::recordSetParam(const QString& text) {
  SHostLine line;
  line.m_eAct = EHostAct::SetParam;
  line.m_strText = text.toStdString();
  writeAct(line);
}

void CRecorder::onJob(utils::EPanelJob job) {
  // The other jobs are caused by lines of their own: an open line, a user's act.
  if (job == utils::EPanelJob::Refresh) write(SRefreshLine());
}

void CRecorder::onUserEvent(QWidget* from, int eventId, int id, int value, const QString& key) {
  if (!m_pPanel || !m_pPanel->isAncestorOf(from)) return;
  SUserLine line;
  switch (eventId) {
    case GV::EventButtonClicked:
      return writeAct(userAct(EUserAct::ToolBar, id));
    case GV::EventCheckBoxToggled:
      line = userAct(EUserAct::FilterFinished);
      line.m_bOn = value != 0;
      return writeAct(line);
    case GV::EventRowButtonClicked:
      line = userAct(EUserAct::Button, id);
      line.m_strRow = rowPath(*m_pTable, key).toStdString();
      return writeAct(line);
    case GV::EventColumnDoubleClicked:
      line = userAct(EUserAct::DoubleClick);
      line.m_nColumn = id;
      return writeAct(line);
    case GV::EventCellClicked:
      line = userAct(EUserAct::Click);
      line.m_strRow = rowPath(*m_pTable, key).toStdString();
      line.m_nColumn = id;
      return writeAct(line);
    case GV::EventRowFolded:
      return writeAct(foldAct(id == 1, rowPath(*m_pTable, key)));
    case GV::EventTableExport:
      line = userAct(EUserAct::Export);
      // Without its folder: a replay elsewhere must not write over the user's files.
      line.m_strFile = QFileInfo(key).fileName().toStdString();
      return writeAct(line);
    case GV::EventTableCopy:
      return writeAct(userAct(EUserAct::Copy));
    default:
      return;
  }
}

/// The menu folds or unfolds roots; a replay is told how each of them stands.
void CRecorder::onMenu() {
  m_pTable->forEachRow([this](const GV::CHpfTreeTableData& row, int depth, bool, bool expanded) {
    if (depth == 0) writeAct(foldAct(expanded, row.scriptName()));
  });
}

/// Sort and columns are part of the panel's parameter text; one line tells of a whole gesture.
void CRecorder::onHeader() {
  if (std::exchange(m_bHeaderChanged, true)) return;
  QTimer::singleShot(0, m_pTable, [this] {
    m_bHeaderChanged = false;
    if (m_pPanel) recordSetParam(m_pPanel->param());
  });
}

// Dialogs

void CRecorder::dialogOpens(GV::CCommonDialog& dialog) {
  m_dialogs.emplace_back(&dialog);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.dialogOpens();
}

void CRecorder::addAct(EDialogAct act, const QString& name, bool on, const QString& text) {
  const desk::CJobGate::CChange change(m_desk.gate());
  m_desk.gate().fence();
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.add({act, name.toStdString(), on, text.toStdString()});
}

void CRecorder::buttonPressed(GV::CCommonDialog&, const QString& text) { addAct(EDialogAct::Press, text); }

void CRecorder::rowChecked(GV::CCommonDialog&, const QString& key, bool on) { addAct(EDialogAct::Check, key, on); }

void CRecorder::rowEdited(GV::CCommonDialog&, const QString& key, const QString& text) {
  addAct(EDialogAct::Edit, key, true, text);
}

void CRecorder::dialogClosed(GV::CCommonDialog&) { addAct(EDialogAct::Close, QString()); }

void CRecorder::dialogEnded(GV::CCommonDialog&, bool) {
  m_dialogs.pop_back();
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.dialogEnded();
}

// The desk

void CRecorder::onSession(const desk::SSession& session) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  SSessionLine line;
  line.m_session = session;
  m_nNow = session.m_nNow;
  m_nNowT = m_clock.elapsed();
  writeLocked(line);
}

void CRecorder::onAccount(const desk::SAccount& account) { write(toAccountLine(account)); }

void CRecorder::onInstrument(const TC::CCodeInfo& info) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  SInstrument& known = m_instruments[info.m_strCode];
  known.m_infos.erase(std::remove_if(known.m_infos.begin(), known.m_infos.end(),
                                     [&](const TC::CCodeInfo& each) { return each.m_strMarket == info.m_strMarket; }),
                      known.m_infos.end());
  known.m_infos.push_back(info);
  if (known.m_bInUse) writeLocked(SInstrumentLine{info});
}

void CRecorder::onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  SInstrument& known = m_instruments[code];
  const auto [entry, isNew] = known.m_quotes.try_emplace(market, SQuote{quote});
  if (!isNew && isSame(entry->second.m_quote, quote)) return;
  entry->second = {quote};
}

/// A market's quotes change all the time, and the panel reads few of them.
void CRecorder::onQuoteRead(const std::string& code) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto known = m_instruments.find(code);
  if (known == m_instruments.end()) return;
  for (auto& [market, each] : known->second.m_quotes) {
    if (std::exchange(each.m_bTold, true)) continue;
    // Without a time: it stands before lines that are older.
    SLine line;
    line.m_body = toQuoteLine(market, code, each.m_quote);
    m_lines.putAsked(line);
  }
}

void CRecorder::useLocked(const std::string& code) {
  SInstrument& known = m_instruments[code];
  if (std::exchange(known.m_bInUse, true)) return;
  for (const TC::CCodeInfo& info : known.m_infos) writeLocked(SInstrumentLine{info});
  for (auto& [market, each] : known.m_quotes) {
    each.m_bTold = true;
    writeLocked(toQuoteLine(market, code, each.m_quote));
  }
}

void CRecorder::onCommand(const ksservice::COrderCommand& command) { write(SCommandLine{command}); }

void CRecorder::onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  useLocked(param.m_strCode);
  writeLocked(SHedgeParamLine{commandId, source, param});
}

void CRecorder::onHedgeState(int groupId, int status) { write(SHedgeStateLine{groupId, status}); }

void CRecorder::onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (const TC::CProgressOrder& order : progress.m_orders) useLocked(order.m_detail.m_strCode);
  TC::CTaskProgress& before = m_progress[detailKey];
  const std::optional<TC::CTaskProgress> changes = changesOf(before, progress);
  writeLocked(SProgressLine{detailKey, changes.has_value(), changes ? *changes : progress});
  before = progress;
}

void CRecorder::onTask(const desk::SPublication& publication) {
  STaskLine line = toTaskLine(publication, m_desk);
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (const STaskParam& each : line.m_params) useLocked(each.m_param.m_stock.m_strCode);
  for (const STaskOrder& each : line.m_orders) useLocked(each.m_order.m_strCode);
  writeLocked(std::move(line));
}

// These four come on the GUI thread, and the panel deals with them at once.

void CRecorder::onHedgeVolume(int taskId, int volume) { writeAct(SHedgeVolumeLine{taskId, volume}); }

void CRecorder::onHedgeStatus(int taskId, int status) { writeAct(SHedgeStatusLine{taskId, status}); }

void CRecorder::onTradingDay(const std::string& date) { writeAct(STradingDayLine{date}); }

void CRecorder::onStockUnitChange() { writeAct(SStockUnitChangeLine()); }

void CRecorder::onServerReply(const utils::KSError& error, const bson::BSONObj& reply) {
  write(SServerReplyLine{errorText(error), reply});
}

void CRecorder::onCreateReply(const utils::KSError& error, int taskId) {
  write(SCreateReplyLine{errorText(error), taskId});
}

void CRecorder::onOrderProcess(const TC::OrderProcessMap& data, const utils::KSError& error,
                               const bson::BSONObj& result) {
  write(SOrderProcessLine{data, errorText(error), result});
}

}  // namespace journal
