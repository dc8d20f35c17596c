#pragma once

#include "docks/CDocks.h"
#include "docks/OrderRows.h"
#include "docks/RowScope.h"
#include "gv/CUiResource.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;

namespace app {

/// The day's orders and, in a second tab, what they traded; those that still work can be cancelled. GUI thread only.
class COrdersDock : public CDockContent {
 public:
  explicit COrdersDock(QWidget* parent);
  ~COrdersDock() override;

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& row) override;
  void refresh() override;
  void hidden() override { stopFollowing(); }
  QString param() const override;
  void setParam(const QString& text) override;

 private:
  QWidget* makeFilters();
  void stopFollowing();
  void applyFilters();
  void cancelSelected();
  void showCounts();
  void showRow(const SBlotterDetail& detail, const ksservice::COrderInfo& order) const;

  SDockSources m_sources;
  SChosenRow m_chosen;
  bool m_bFollowing = false;
  CRowsModel<SOrderRow>* m_pOrders;
  CRowsModel<SFillRow>* m_pFills;
  CRowsTable* m_pOrderTable;
  CRowsTable* m_pFillTable;
  QTabWidget* m_pTabs;
  QComboBox* m_pScope = nullptr;
  QComboBox* m_pState = nullptr;
  QLineEdit* m_pSearch = nullptr;
  QPushButton* m_pCancel = nullptr;
  QLabel* m_pCounts = nullptr;
};

}  // namespace app
