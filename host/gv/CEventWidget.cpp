#include "gv/CEventWidget.h"

#include <QPointer>

#include "gv/CCommonDialog.h"

namespace GV {
namespace {

CEventDeliverer::Tap& tap() {
  static CEventDeliverer::Tap installed;
  return installed;
}

}  // namespace

bool CEventWidget::handleEvent(int /*eventId*/, int /*id*/, int /*value*/, QString /*key*/, void* /*data*/) {
  return false;
}

bool CEventDeliverer::deliverEvent(QWidget* from, int eventId, int id, int value, const QString& key, void* data) {
  if (from == nullptr) return false;
  const QPointer<QWidget> alive = from;
  if (CCommonDialog* dialog = CCommonDialog::of(from)) {
    if (dialog->hasEnded()) return false;
    // Committing an edit may show a message, during which anything may go.
    dialog->aboutToHandle(from, eventId, value, key, data);
    if (!alive) return false;
  } else {
    tellTap(from, eventId, id, value, key);
  }
  for (QWidget* parent = from->parentWidget(); parent != nullptr; parent = parent->parentWidget()) {
    auto* handler = dynamic_cast<CEventWidget*>(parent);
    if (handler != nullptr && handler->handleEvent(eventId, id, value, key, data)) return true;
  }
  return false;
}

void CEventDeliverer::setTap(Tap newTap) { tap() = std::move(newTap); }

void CEventDeliverer::tellTap(QWidget* from, int eventId, int id, int value, const QString& key) {
  if (tap() && CCommonDialog::of(from) == nullptr) tap()(from, eventId, id, value, key);
}

}  // namespace GV
