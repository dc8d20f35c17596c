/// Widgets one below the other, without margins and spacing.
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace GV {

/// GUI thread only.
class CVerticalWidgetList : public QWidget {
  Q_OBJECT

 public:
  explicit CVerticalWidgetList(QWidget* parent = nullptr);
  /// Fills the window with a new list.
  static CVerticalWidgetList* fill(QWidget* window);

  /// A widget that stretches takes the room that the others leave.
  void addWidget(QWidget* widget, bool stretches = false);
  /// At scale 1.
  void addSpacing(int pixels);

 private:
  QVBoxLayout* m_pLayout;
};

}  // namespace GV
