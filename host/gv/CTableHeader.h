/// The header of a table whose first column stays in its place while the others scroll sideways below it.
#pragma once

#include <QHeaderView>

class QAbstractScrollArea;
class QScrollBar;

namespace GV {

/// The frozen column is the first that shows, in the order that the user gave the columns. One that would leave less
/// than a third of the view to the others scrolls with them. GUI thread only.
class CTableHeader : public QHeaderView {
  Q_OBJECT

 public:
  /// Scrolled as the table's horizontal scroll bar says.
  explicit CTableHeader(QAbstractScrollArea* table);

  /// The section that stands before others that are scrolled below it; -1 while none is.
  int frozenSection() const;
  /// Pixels at the left that it takes; 0 while there is none.
  int frozenWidth() const;
  /// Where a section stands in the viewport; below the frozen one, for one that is scrolled there.
  int left(int section) const;
  /// The section that shows at a place of the viewport; -1 for none.
  int sectionAt(int x) const { return logicalIndexAt(x - shiftAt(x, frozenWidth())); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  bool viewportEvent(QEvent* event) override;

 private:
  class CUnscrolled;
  int grip() const;
  int shiftAt(int x, int width) const { return x < width ? offset() : 0; }
  bool isHandle(int x) const;

  QScrollBar* m_pScrollBar;
  int m_nSized = -1;       ///< the frozen section while its edge is dragged
  int m_nSizedFrom = 0;    ///< pixels from its edge to where it was taken
  bool m_bSizing = false;  ///< the edge of another one is
};

}  // namespace GV
