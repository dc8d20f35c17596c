/// What a window's sizes are at a scale, and which of its texts are cut.
#pragma once

#include <QAbstractButton>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QStyle>
#include <map>
#include <string>

#include "gv/CUiResource.h"

namespace test {

/// Sizes that were given, by the place of the widget in the window and what they are of: fixed sizes, margins and
/// spacings, widths of columns.
using Sizes = std::map<std::string, int>;

inline void addSizes(const QWidget& widget, const std::string& path, Sizes& sizes) {
  const auto add = [&](const char* what, int size) {
    if (size > 1) sizes[path + "." + what] = size;  // not a line
  };
  if (widget.minimumWidth() == widget.maximumWidth()) add("width", widget.minimumWidth());
  if (widget.minimumHeight() == widget.maximumHeight()) add("height", widget.minimumHeight());
  if (const QLayout* layout = widget.layout()) {
    const QMargins margins = layout->contentsMargins();
    add("left", margins.left());
    add("top", margins.top());
    if (layout->count() > 1) add("spacing", layout->spacing());
  }
  if (const auto* header = qobject_cast<const QHeaderView*>(&widget)) {
    add("title height", header->height());
    for (int i = 0; i < header->count(); ++i) add(("column " + std::to_string(i)).c_str(), header->sectionSize(i));
  }
  int number = 0;
  for (const QWidget* inner : widget.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
    addSizes(*inner, path + "/" + inner->metaObject()->className() + std::to_string(number++), sizes);
  }
}

inline Sizes sizesOf(const QWidget& window) {
  Sizes sizes;
  addSizes(window, "window", sizes);
  return sizes;
}

/// Of one size at two scales, those that are not in proportion, up to a pixel of rounding.
inline std::string outOfProportion(const Sizes& before, const Sizes& after, double by) {
  std::string faults;
  for (const auto& [name, size] : before) {
    const int now = after.contains(name) ? after.at(name) : 0;
    if (std::abs(now - size * by) > 1)
      faults += name + ": " + std::to_string(size) + " became " + std::to_string(now) + "\n";
  }
  return faults;
}

/// The texts of labels and buttons that show and are cut. The window must show.
inline std::string cutTexts(const QWidget& window) {
  std::string cut;
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    const auto* label = qobject_cast<const QLabel*>(widget);
    const auto* button = qobject_cast<const QAbstractButton*>(widget);
    const QString text = label != nullptr ? label->text() : button != nullptr ? button->text() : QString();
    if (text.isEmpty() || !widget->isVisible() || (label != nullptr && label->wordWrap())) continue;
    const QSize need = widget->fontMetrics().size(Qt::TextSingleLine, text);
    if (need.width() > widget->width() || need.height() > widget->height()) cut += text.toStdString() + "\n";
  }
  return cut;
}

/// Sets a scale as a host does, and takes it back at its end.
class CScaled {
 public:
  explicit CScaled(double scale) { set(scale); }
  ~CScaled() { set(1); }
  Q_DISABLE_COPY(CScaled)

  static void set(double scale) {
    GV::CUiResource::setScale(scale);
    GV::CUiResource::applyToApplication();
  }
};

}  // namespace test
