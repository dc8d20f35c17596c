#pragma once

#include "gv/DialogScript.h"

namespace journal {

/// Told of what happens in a panel's modal dialogs while it lives, beside all others of this class. Not of the choice
/// of columns, which is the terminal's own dialog. GUI thread.
class CDialogObserver : public GV::IDialogObserver {
 public:
  CDialogObserver();
  CDialogObserver(const CDialogObserver&) = delete;
  CDialogObserver& operator=(const CDialogObserver&) = delete;
  ~CDialogObserver() override;

  void dialogOpens(GV::CCommonDialog&) override {}
  void buttonPressed(GV::CCommonDialog&, const QString& /*text*/) override {}
  void rowChecked(GV::CCommonDialog&, const QString& /*key*/, bool /*on*/) override {}
  void rowEdited(GV::CCommonDialog&, const QString& /*key*/, const QString& /*text*/) override {}
  void dialogClosed(GV::CCommonDialog&) override {}
  void dialogEnded(GV::CCommonDialog&, bool /*accepted*/) override {}
};

}  // namespace journal
