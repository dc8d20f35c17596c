#include "tc/CMsgService.h"

#include <QApplication>

#include "gv/CMessageBox.h"

namespace TC {

void CMsgService::showBox(const QString& title, const QString& text) {
  GV::CMessageBox::information(QApplication::activeWindow(), title, text);
}

}  // namespace TC
