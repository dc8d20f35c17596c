#include "PatchState.h"

#include <utility>

namespace TC {

bool CPatchState::begin(bool awaited, double now) {
  const EPatchStep at = step(awaited);
  const bool unanswered = at == EPatchStep::Asking && now - m_dAskedMSec >= ANSWER_MSEC;
  if (m_letGo != ELetGo::Held || (at != EPatchStep::Idle && !unanswered)) return false;
  m_step = EPatchStep::Begun;
  return true;
}

int CPatchState::ask(std::set<std::string> running, double now) {
  m_step = EPatchStep::Asking;
  m_running = std::move(running);
  m_dAskedMSec = now;
  return ++m_nQuery;
}

void CPatchState::answer(const OrderProcessMap& finished) {
  m_finished = finished;
  m_nAnswered = m_nQuery;
}

std::optional<OrderProcessMap> CPatchState::goOn() {
  if (m_step != EPatchStep::Asking || m_nAnswered != m_nQuery) return std::nullopt;
  m_step = EPatchStep::Begun;
  return m_finished;
}

bool CPatchState::confirm(bool awaited, double now) {
  if (m_step != EPatchStep::Begun && !begin(awaited, now)) return false;
  m_step = EPatchStep::Confirming;
  m_bDropped = false;
  return true;
}

void CPatchState::giveUp() {
  if (m_step == EPatchStep::Asking) m_step = EPatchStep::Idle;
}

void CPatchState::drop() {
  m_bDropped = true;
  giveUp();
}

void CPatchState::letGo(ELetGo why) {
  m_letGo = why;
  giveUp();
}

}  // namespace TC
