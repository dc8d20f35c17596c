/// What a screen reader calls the controls of a window.
#pragma once

#include <QAccessible>
#include <QWidget>
#include <string>

namespace test {

inline QString nameOf(QWidget& widget) {
  QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(&widget);
  return reader == nullptr ? QString() : reader->text(QAccessible::Name);
}

/// The controls that can have the focus, shown or not, and have no name.
inline std::string nameless(const QWidget& window) {
  std::string found;
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    // An inner widget of a control that takes the focus for it has its name.
    const bool isControl = widget->focusPolicy() != Qt::NoFocus && widget->focusProxy() == nullptr;
    if (!isControl || !nameOf(*widget).isEmpty()) continue;
    found +=
        std::string(widget->metaObject()->className()) + " in " + widget->parent()->metaObject()->className() + "\n";
  }
  return found;
}

}  // namespace test
