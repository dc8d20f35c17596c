#include "gv/CEventWidget.h"

namespace GV {

bool CEventWidget::handleEvent(int /*eventId*/, int /*id*/, int /*value*/, QString /*key*/, void* /*data*/) {
  return false;
}

bool CEventDeliverer::deliverEvent(QWidget* from, int eventId, int id, int value, const QString& key, void* data) {
  if (from == nullptr) return false;
  for (QWidget* parent = from->parentWidget(); parent != nullptr; parent = parent->parentWidget()) {
    auto* handler = dynamic_cast<CEventWidget*>(parent);
    if (handler != nullptr && handler->handleEvent(eventId, id, value, key, data)) return true;
  }
  return false;
}

}  // namespace GV
