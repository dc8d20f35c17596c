#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QSpinBox>

#include "CDraft.h"

namespace TC {
class COpBasketStockParamsWidget;
}

namespace preview {

/// How the orders of a draft are made and hedged. GUI thread.
class CTradeBox : public QWidget {
  Q_OBJECT

 public:
  CTradeBox(CDraft& draft, const std::vector<std::string>& futures, QWidget* parent);

  /// What stands in the fields and is wrong; empty: nothing.
  QString fault() const;
  /// Shows what the draft says.
  void showState();

 private:
  QWidget* createHedge(const std::vector<std::string>& futures);
  void takeTrade();
  void takeHedge();

  CDraft& m_draft;
  TC::COpBasketStockParamsWidget* m_pParams;
  QSpinBox* m_pOffset;
  QCheckBox* m_pHedged;
  QComboBox* m_pFuture;
  QDoubleSpinBox* m_pRatio;
  bool m_bShowing = false;
};

/// From when on a draft is held for a slip of the hand. GUI thread.
class CLimitsBox : public QWidget {
  Q_OBJECT

 public:
  CLimitsBox(CDraft& draft, QWidget* parent);
  void showState();

 Q_SIGNALS:
  void sigChanged();

 private:
  struct SField {
    QDoubleSpinBox* m_pBox;
    double draft::SLimits::*m_pMember;
    double m_dUnit;
  };
  void addField(QFormLayout& form, const QString& title, SField field, const QString& suffix);

  CDraft& m_draft;
  std::vector<SField> m_fields;
};

}  // namespace preview
