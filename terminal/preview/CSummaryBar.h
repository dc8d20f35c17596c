#pragma once

#include <QButtonGroup>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "CLineModel.h"

namespace preview {

/// What a draft comes to, above its lines: how many are wrong, a click shows these alone; lines, amounts and fees by
/// side. GUI thread.
class CSummaryBar : public QWidget {
  Q_OBJECT

 public:
  CSummaryBar(CDraft& draft, QWidget* parent);
  ELineFilter filter() const { return static_cast<ELineFilter>(m_pFilters->checkedId()); }

 Q_SIGNALS:
  void sigFilter(preview::ELineFilter filter);

 private:
  void showTotals();
  int countOf(ELineFilter filter) const;

  CDraft& m_draft;
  QButtonGroup* m_pFilters;
  QPushButton* m_pUncheck;
  QPushButton* m_pMerge;
  QLabel* m_pTotals;
};

}  // namespace preview
