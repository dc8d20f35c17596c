#include "CDrillTerminal.h"

#include <QCoreApplication>
#include <chrono>
#include <utility>

#include "UserActs.h"

namespace drill {
namespace {

constexpr int SLICE_MSEC = 10;
/// What the GUI thread does may need the very task that is worked on.
constexpr std::chrono::milliseconds PATIENCE(20);

}  // namespace

CDrillTerminal::CDrillTerminal(TC::CreatePanelFunction createPanel, CDrillJournal* journal)
    : m_pJournal(journal), m_createPanel(createPanel) {
  m_host.setMeeting([this](const std::string&) { meet(); });
}

CDrillTerminal::~CDrillTerminal() {
  delete m_pPanel.data();
  m_host.setMeeting({});
}

TC::ITradeDockableWidget* CDrillTerminal::makePanel(int id) {
  TC::ITradeDockableWidget* panel = m_createPanel(id, nullptr);
  act([&] { panel->setTradeType(EMavTraderType(desk().session().m_nTraderType)); });
  return panel;
}

void CDrillTerminal::openPanel() {
  m_pPanel = makePanel(1);
  showQuantities(*m_pPanel);
}

void CDrillTerminal::showQuantities(TC::ITradeDockableWidget& panel) {
  journal::SUserLine line;
  line.m_eAct = journal::EUserAct::DoubleClick;
  line.m_nColumn = PROGRESS_COLUMN;
  // It shows amounts at first.
  act([&] { journal::performUserAct(panel, line); });
}

void CDrillTerminal::act(const std::function<void()>& what) {
  desk().gate().setHold(true);
  what();
  desk().gate().setHold(false);
  settle();
}

void CDrillTerminal::actInDialog(const std::function<void()>& what) {
  desk().gate().setHold(false);
  settle();
  what();
  settle();
  desk().gate().setHold(true);
}

void CDrillTerminal::settle() {
  desk::CJobGate& gate = desk().gate();
  for (bool settled = false; !settled;) {
    while (!gate.waitIdle(SLICE_MSEC)) {
    }
    gate.setHold(true);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    // No event loop runs that would do so.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    settled = gate.isIdle();
    gate.setHold(false);
  }
}

bool CDrillTerminal::refresh(int question, const std::function<void()>& amidst) {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_nQuestion = question;
    m_amidst = amidst;
    m_bMet = false;
  }
  if (m_pJournal) m_pJournal->add(journal::SRefreshLine{});
  act([this] { m_host.fireTimers(); });
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nQuestion = -1;
  m_amidst = {};
  return m_bMet;
}

bool CDrillTerminal::refreshAnd(int question, const std::function<void()>& what) {
  bool done = false;
  const auto wait = [this, &done] {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bMet = true;
    m_changed.notify_all();
    m_changed.wait_for(lock, PATIENCE, [&done] { return done; });
  };
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_nQuestion = question;
    m_amidst = wait;
    m_bMet = false;
  }
  m_host.fireTimers();
  bool met = false;
  while (!met && m_host.hasJobs()) {
    std::unique_lock<std::mutex> lock(m_mutex);
    met = m_changed.wait_for(lock, std::chrono::milliseconds(1), [this] { return m_bMet; });
  }
  what();
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    done = true;
    m_changed.notify_all();
  }
  settle();
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nQuestion = -1;
  m_amidst = {};
  return met;
}

/// A question that the panel asks its host.
void CDrillTerminal::meet() {
  if (std::this_thread::get_id() == m_gui) return;
  std::function<void()> amidst;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_nQuestion < 0 || m_nQuestion-- > 0) return;
    amidst = m_amidst;
    m_bMet = true;
  }
  amidst();
}

}  // namespace drill
