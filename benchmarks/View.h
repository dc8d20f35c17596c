/// Drives a view from outside: shows it, waits for its repaints, scrolls it.
#pragma once

#include <QAbstractScrollArea>

namespace bench {

/// Rows on screen.
constexpr int PAGE_ROWS = 40;

/// Counts what a view paints. GUI thread.
class CPaintWatch : public QObject {
  Q_OBJECT

 public:
  /// Shows the view in its usual size; it must outlive the watch.
  explicit CPaintWatch(QAbstractScrollArea& view);

  /// Runs what is pending on the GUI thread until the view has painted. Ends the program when it never does: then no
  /// figure would mean anything.
  void settle() const;
  void repaint();
  void scrollTo(int page);
  int paints() const { return m_nPaints; }

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QAbstractScrollArea& m_view;
  int m_nPaints = 0;
};

}  // namespace bench
