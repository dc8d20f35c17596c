#include "CLineSequence.h"

#include <utility>

namespace journal {

void CLineSequence::put(const SLine& line, bool opens) {
  std::string text = writeLine(line);
  if (m_nDialogs > 0) {
    m_meanwhile.push_back(std::move(text));
    ++m_nSinceAct;
    return;
  }
  settle();
  if (opens) {
    m_held = std::move(text);
  } else {
    write(text);
  }
}

void CLineSequence::settle() {
  if (m_nDialogs > 0 || m_held.empty()) return;
  write(std::exchange(m_held, {}));
}

void CLineSequence::dialogOpens() { ++m_nDialogs; }

void CLineSequence::add(const SDialogAct& act) {
  if (m_nDialogs == 0) return;
  if (m_nSinceAct > 0) {
    SDialogAct& play = m_acts.emplace_back();
    play.m_eAct = EDialogAct::Play;
    play.m_nLines = std::exchange(m_nSinceAct, 0);
  }
  m_acts.push_back(act);
}

void CLineSequence::dialogEnded() {
  if (m_nDialogs > 0 && --m_nDialogs == 0) writeDialog();
}

void CLineSequence::writeDialog() {
  // A dialog without acts is dismissed by a replay too.
  if (!m_acts.empty()) {
    SUserLine dialog;
    dialog.m_eAct = EUserAct::Dialog;
    dialog.m_acts = std::exchange(m_acts, {});
    SLine line;
    line.m_body = std::move(dialog);
    write(writeLine(std::move(line)));
  }
  settle();
  for (const std::string& text : std::exchange(m_meanwhile, {})) write(text);
  m_nSinceAct = 0;
}

void CLineSequence::finish() {
  if (m_nDialogs > 0) {
    m_nDialogs = 0;
    writeDialog();
  }
  settle();
}

}  // namespace journal
