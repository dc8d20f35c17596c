#include "DialogObservers.h"

#include <algorithm>
#include <functional>

#include "gv/CColumnChooser.h"

namespace journal {
namespace {

/// The kit has room for one observer: this one, which passes everything on.
class CFanOut : public GV::IDialogObserver {
 public:
  void add(GV::IDialogObserver* observer) {
    m_observers.push_back(observer);
    GV::CCommonDialog::setObserver(this);
  }
  void remove(GV::IDialogObserver* observer) {
    m_observers.erase(std::remove(m_observers.begin(), m_observers.end(), observer), m_observers.end());
    if (m_observers.empty()) GV::CCommonDialog::setObserver(nullptr);
  }

  void dialogOpens(GV::CCommonDialog& dialog) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.dialogOpens(dialog); });
  }
  void buttonPressed(GV::CCommonDialog& dialog, const QString& text) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.buttonPressed(dialog, text); });
  }
  void rowChecked(GV::CCommonDialog& dialog, const QString& key, bool on) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.rowChecked(dialog, key, on); });
  }
  void rowEdited(GV::CCommonDialog& dialog, const QString& key, const QString& text) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.rowEdited(dialog, key, text); });
  }
  void dialogClosed(GV::CCommonDialog& dialog) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.dialogClosed(dialog); });
  }
  void dialogEnded(GV::CCommonDialog& dialog, bool accepted) override {
    tell(dialog, [&](GV::IDialogObserver& each) { each.dialogEnded(dialog, accepted); });
  }

 private:
  void tell(const GV::CCommonDialog& dialog, const std::function<void(GV::IDialogObserver&)>& what) const {
    if (qobject_cast<const GV::CColumnChooser*>(&dialog)) return;
    for (GV::IDialogObserver* each : std::vector<GV::IDialogObserver*>(m_observers)) what(*each);
  }

  std::vector<GV::IDialogObserver*> m_observers;
};

CFanOut& fanOut() {
  static CFanOut instance;
  return instance;
}

}  // namespace

CDialogObserver::CDialogObserver() { fanOut().add(this); }

CDialogObserver::~CDialogObserver() { fanOut().remove(this); }

}  // namespace journal
