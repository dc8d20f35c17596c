#include "CDialogScript.h"

#include <QPointer>
#include <utility>

#include "COutput.h"
#include "gv/CCommonDialog.h"

namespace journal {

CDialogScript::CDialogScript(COutput& output, PlayLines playLines, Fault fault)
    : m_output(output), m_playLines(std::move(playLines)), m_fault(std::move(fault)) {
  GV::CCommonDialog::setExecHook([this](GV::CCommonDialog& dialog) { work(dialog); });
}

CDialogScript::~CDialogScript() { GV::CCommonDialog::setExecHook({}); }

void CDialogScript::queue(std::vector<SDialogAct> acts, int line) {
  m_waiting.push_back({line, {std::make_move_iterator(acts.begin()), std::make_move_iterator(acts.end())}});
}

void CDialogScript::work(GV::CCommonDialog& dialog) {
  if (m_nOpen == 0) {
    m_current = {};
    if (!m_waiting.empty()) {
      m_current = std::move(m_waiting.front());
      m_waiting.pop_front();
    }
  }
  ++m_nOpen;
  const QPointer<GV::CCommonDialog> open(&dialog);
  while (open && open->isOpen() && !m_current.m_acts.empty() && !m_bFailed) {
    const SDialogAct act = std::move(m_current.m_acts.front());
    m_current.m_acts.pop_front();
    const QString fault = perform(*open, act);
    if (!fault.isEmpty()) fail(fault.toStdString());
  }
  --m_nOpen;
  if (m_nOpen == 0 && !m_current.m_acts.empty()) fail("acts are left that no dialog is open for");
}

QString CDialogScript::perform(GV::CCommonDialog& dialog, const SDialogAct& act) {
  const QString name = QString::fromStdString(act.m_strName);
  switch (act.m_eAct) {
    case EDialogAct::Press:
      return dialog.press(name);
    case EDialogAct::Check:
      return dialog.check(name, act.m_bOn);
    case EDialogAct::Edit:
      return dialog.edit(name, QString::fromStdString(act.m_strText));
    case EDialogAct::Dump:
      m_output.dump(dialog, act.m_strName);
      return {};
    case EDialogAct::Close:
      dialog.closeByUser();
      return {};
    case EDialogAct::Play:
      m_playLines(act.m_nLines);
      return {};
  }
  return {};
}

void CDialogScript::fail(const std::string& what) {
  if (std::exchange(m_bFailed, true)) return;
  m_fault(m_current.m_nLine, what);
}

}  // namespace journal
