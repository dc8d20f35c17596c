/// The line under a table that shows the sums of its columns.
#pragma once

#include <QWidget>

namespace GV {

class CBaseHighPerformanceTable;

class CStatisticsLine : public QWidget {
  Q_OBJECT

 public:
  explicit CStatisticsLine(CBaseHighPerformanceTable* table);
  /// What it shows for a column; empty for a column without a sum.
  QString text(int column) const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  CBaseHighPerformanceTable* m_pTable;
};

}  // namespace GV
