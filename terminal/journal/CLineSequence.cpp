#include "CLineSequence.h"

#include <utility>

namespace journal {

void CLineSequence::put(const SLine& line, bool acts) {
  std::string text = writeLine(line);
  if (isInDialog()) {
    m_inDialog.emplace_back(std::move(text));
  } else if (acts || !m_held.empty()) {
    m_held.push_back(std::move(text));
  } else {
    write(text);
  }
}

void CLineSequence::putAsked(const SLine& line) {
  std::string text = writeLine(line);
  if (isInDialog() && (m_nSettled || m_held.empty())) {
    const auto place = static_cast<std::ptrdiff_t>(m_nSettled.value_or(0));
    m_inDialog.insert(m_inDialog.begin() + place, std::move(text));
  } else if (m_held.empty()) {
    write(text);
  } else {
    m_held.push_front(std::move(text));
  }
}

void CLineSequence::settle() {
  if (m_nDialogs > 0) {
    m_nSettled = m_inDialog.size();
    return;
  }
  if (m_bDialogEnded) writeDialog();
  for (const std::string& text : std::exchange(m_held, {})) write(text);
}

void CLineSequence::dialogOpens() {
  // Acts are for one dialog and those inside it: one that opens behind it begins anew.
  if (m_bDialogEnded) writeDialog();
  ++m_nDialogs;
}

void CLineSequence::add(const SDialogAct& act) {
  if (m_nDialogs > 0) m_inDialog.emplace_back(act);
}

void CLineSequence::dialogEnded() {
  if (m_nDialogs > 0 && --m_nDialogs == 0) m_bDialogEnded = true;
}

void CLineSequence::writeDialog() {
  SUserLine dialog;
  dialog.m_eAct = EUserAct::Dialog;
  std::deque<std::string> meanwhile;
  int linesBefore = 0;  // the next act
  for (auto& each : std::exchange(m_inDialog, {})) {
    if (std::string* text = std::get_if<std::string>(&each)) {
      meanwhile.push_back(std::move(*text));
      ++linesBefore;
      continue;
    }
    if (linesBefore > 0) {
      SDialogAct& play = dialog.m_acts.emplace_back();
      play.m_eAct = EDialogAct::Play;
      play.m_nLines = std::exchange(linesBefore, 0);
    }
    dialog.m_acts.push_back(std::get<SDialogAct>(std::move(each)));
  }
  // A dialog without acts is dismissed by a replay too.
  if (!dialog.m_acts.empty()) {
    SLine line;
    line.m_body = std::move(dialog);
    m_held.insert(m_held.empty() ? m_held.end() : m_held.end() - 1, writeLine(std::move(line)));
  }
  m_nSettled.reset();
  m_bDialogEnded = false;
  for (const std::string& text : std::exchange(m_held, {})) write(text);
  for (const std::string& text : meanwhile) write(text);
}

void CLineSequence::finish() {
  m_bDialogEnded = isInDialog();
  m_nDialogs = 0;
  settle();
}

}  // namespace journal
