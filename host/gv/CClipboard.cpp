#include "gv/CClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <utility>

namespace GV {

namespace {
CClipboard::Observer& observerRef() {
  static CClipboard::Observer observer;
  return observer;
}
}  // namespace

void CClipboard::setText(const QString& text) {
  if (observerRef()) observerRef()(text);
  QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void CClipboard::setObserver(Observer observer) { observerRef() = std::move(observer); }

}  // namespace GV
