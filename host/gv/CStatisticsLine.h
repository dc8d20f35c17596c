/// The line under a table that shows the sums of its columns.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

namespace GV {

class CBaseHighPerformanceTable;
class CGlyphFont;
class CTextRuns;

class CStatisticsLine : public QWidget {
  Q_OBJECT

 public:
  explicit CStatisticsLine(CBaseHighPerformanceTable* table);
  /// What it shows for a column; empty for a column without a sum.
  QString text(int column) const;
  /// Paints the sums anew, at once or within a moment: a sum costs a walk over its rows, so that a stream of single
  /// changes must not cost one each.
  void scheduleUpdate();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void addSum(QPainter& painter, CTextRuns& sums, CGlyphFont& font, int column) const;
  QRect sumRect(int column, int alignment, double textWidth) const;

  CBaseHighPerformanceTable* m_pTable;
  QTimer m_timer;
  QElapsedTimer m_sincePaint;
};

}  // namespace GV
