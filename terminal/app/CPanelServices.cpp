#include "CPanelServices.h"

#include <QMessageBox>

#include "TableDump.h"
#include "gv/CColumnChooser.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CMessageBox.h"
#include "tc/CSettingDialogNew.h"

namespace app {

CPanelServices::CPanelServices(QWidget& window, journal::CRecorder* recorder, journal::COutput* output, bool headless)
    : m_window(window), m_pRecorder(recorder), m_pOutput(output), m_bHeadless(headless) {
  GV::CMessageBox::setPresenter(
      [this](QWidget* parent, const QString& title, const QString& text) { showMessage(parent, title, text); });
  TC::CSettingDialogNew::setPresenter([this](TC::ESettingPage, const QString& text) { showSettings(text); });
  // A dialog that the hook leaves open is dismissed.
  if (headless) GV::CCommonDialog::setExecHook([](GV::CCommonDialog&) {});
}

CPanelServices::~CPanelServices() {
  GV::CMessageBox::setPresenter({});
  TC::CSettingDialogNew::setPresenter({});
  GV::CCommonDialog::setExecHook({});
}

/// Does not wait for the user: what follows a message must not hang on when it is read, in a recording least of all,
/// since a replay does not wait either.
void CPanelServices::showMessage(QWidget* parent, const QString& title, const QString& text) {
  if (m_pOutput) m_pOutput->messageBox(title, text);
  if (m_bHeadless) return;
  auto* box = new QMessageBox(QMessageBox::Information, title, text, QMessageBox::NoButton,
                              parent ? parent->window() : &m_window);
  box->setTextFormat(Qt::PlainText);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->addButton(QStringLiteral("确定"), QMessageBox::AcceptRole);
  box->open();
}

void CPanelServices::showSettings(const QString& text) {
  if (m_pOutput) m_pOutput->showSettingPage(text);
  GV::CHpfTreeTable* table = m_pPanel ? journal::tableOf(*m_pPanel) : nullptr;
  if (!table || !GV::CColumnChooser::choose(*table, &m_window)) return;
  // The choice is part of the panel's parameter text; a replay has no such page.
  if (m_pRecorder && m_pPanel) m_pRecorder->recordSetParam(m_pPanel->param());
}

}  // namespace app
