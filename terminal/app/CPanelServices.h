#pragma once

#include <QObject>

#include "COutput.h"
#include "CRecorder.h"
#include "tc/ITradeDockableWidget.h"

namespace app {

/// The windows that a panel asks the terminal for: messages, the page of visible columns. GUI thread; one at a time.
class CPanelServices : public QObject {
  Q_OBJECT

 public:
  /// recorder and output may be null and must outlive this object, as window must. headless: nobody is there, so
  /// messages are told and dismissed, and modal dialogs too.
  CPanelServices(QWidget& window, journal::CRecorder* recorder, journal::COutput* output, bool headless);
  ~CPanelServices() override;

  /// The panel that the windows are about.
  void setPanel(TC::ITradeDockableWidget* panel) { m_pPanel = panel; }

 private:
  void showMessage(QWidget* parent, const QString& title, const QString& text);
  void showSettings(const QString& text);

  QWidget& m_window;
  journal::CRecorder* m_pRecorder;
  journal::COutput* m_pOutput;
  bool m_bHeadless;
  QPointer<TC::ITradeDockableWidget> m_pPanel;
};

}  // namespace app
