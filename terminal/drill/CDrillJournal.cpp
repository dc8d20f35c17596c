#include "CDrillJournal.h"

#include <set>
#include <utility>

#include "CDrillTerminal.h"
#include "LineRecords.h"

namespace drill {

using namespace journal;

void CDrillJournal::advanceTo(int day, std::int64_t msec, const desk::CDesk& desk, const exchange::CExchange& market) {
  m_nNow = msec;
  const bool within = day == m_nDay && msec >= m_nFrom && msec < m_nFrom + MINUTE;
  if (within && !std::exchange(m_bOpen, true)) addState(desk, market);
  // What follows from the minute's last step belongs to it.
  if (!within) m_bOpen = false;
}

void CDrillJournal::addState(const desk::CDesk& desk, const exchange::CExchange& market) {
  m_lines.clear();
  SSessionLine session;
  session.m_session = desk.session();
  session.m_session.m_nNow = desk.now();
  add(session);
  for (const desk::SAccount& account : desk.accounts()) add(toAccountLine(account));
  for (const exchange::SInstrument& listed : market.instruments()) {
    const auto info = desk.codeInfo(listed.m_strMarket, listed.m_strCode);
    if (info) add(SInstrumentLine{*info});
    TC::CQuote quote;
    if (desk.quote(listed.m_strMarket, listed.m_strCode, quote)) {
      add(toQuoteLine(listed.m_strMarket, listed.m_strCode, quote));
    }
  }
  std::set<std::pair<desk::EHedgeSource, int>> told;
  for (const ksservice::CTaskDetailPtr& detail : desk.taskDetails()) {
    const int command = detail->m_pCommand ? detail->m_pCommand->m_nCommandId : 0;
    const desk::EHedgeSource sources[] = {desk::EHedgeSource::Manager, desk::EHedgeSource::Stored};
    for (const desk::EHedgeSource source : sources) {
      ksservice::CBasketHedgeParam param;
      if (!desk.hedgeParam(source, command, param) || !told.emplace(source, command).second) continue;
      add(SHedgeParamLine{command, source, param});
    }
    if (const auto progress = desk.progress(detail->getKey())) {
      add(SProgressLine{detail->getKey(), false, *progress});
    }
    desk::SPublication publication;
    publication.m_pDetail = detail;
    publication.m_eVia = desk::EVia::Store;
    addDetail(publication, desk);
  }
  add(SOpenLine{});
  SUserLine quantities;
  quantities.m_eAct = EUserAct::DoubleClick;
  quantities.m_nColumn = CDrillTerminal::PROGRESS_COLUMN;
  add(quantities);
}

void CDrillJournal::add(SLine::Body body) {
  if (!m_bOpen) return;
  SLine& line = m_lines.emplace_back();
  line.m_nT = m_nNow - m_nFrom;
  line.m_body = std::move(body);
}

void CDrillJournal::addDetail(const desk::SPublication& publication, const desk::CDesk& desk) {
  if (m_bOpen) add(toTaskLine(publication, desk));
}

void CDrillJournal::beginDialog() {
  if (!m_bOpen || m_lines.empty()) return;
  m_dialogs.push_back({m_lines.size() - 1, m_lines.size(), {}});
}

void CDrillJournal::addAct(EDialogAct act, const std::string& name, bool on, const std::string& text) {
  if (m_dialogs.empty()) return;
  SDialog& dialog = m_dialogs.back();
  if (m_lines.size() > dialog.m_nLines) {
    dialog.m_acts.push_back({EDialogAct::Play, {}, true, {}, static_cast<int>(m_lines.size() - dialog.m_nLines)});
    dialog.m_nLines = m_lines.size();
  }
  dialog.m_acts.push_back({act, name, on, text, 0});
}

void CDrillJournal::endDialog() {
  if (m_dialogs.empty()) return;
  const SDialog dialog = std::move(m_dialogs.back());
  m_dialogs.pop_back();
  SLine line;
  line.m_nT = m_lines[dialog.m_nPlace].m_nT;
  SUserLine acts;
  acts.m_eAct = EUserAct::Dialog;
  acts.m_acts = dialog.m_acts;
  line.m_body = acts;
  m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(dialog.m_nPlace), line);
}

std::string CDrillJournal::text() const {
  std::string text;
  for (const SLine& line : m_lines) text += writeLine(line) + "\n";
  SLine dump;
  dump.m_body = SDumpLine{"violation"};
  return text + writeLine(dump) + "\n";
}

}  // namespace drill
