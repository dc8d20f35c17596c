#pragma once

#include "docks/CDocks.h"
#include "docks/Exceptions.h"
#include "docks/RowsModel.h"

class QPushButton;
class QSpinBox;

namespace app {

struct SExceptionRow {
  std::string m_strKey;
  SException m_exception;
  int m_nSecondOfDay = 0;  ///< below 0: not known
};

/// What a trader should look at, from when on, and what he has taken note of. GUI thread only.
class CExceptionsDock : public CDockContent {
 public:
  explicit CExceptionsDock(QWidget* parent);

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& /*row*/) override {}
  void refresh() override;
  QString param() const override;
  void setParam(const QString& text) override;

 private:
  QWidget* makeBar();
  void takeLimits();
  void putAway();
  void showRow(int position) const;

  SDockSources m_sources;
  CRowsModel<SExceptionRow>* m_pModel;
  CRowsTable* m_pTable;
  QSpinBox* m_pMinutes = nullptr;
  QSpinBox* m_pHedge = nullptr;  ///< 10,000 CNY
  QSpinBox* m_pSeconds = nullptr;
  QPushButton* m_pPutAway = nullptr;
  int m_nVersion = -1;  ///< what is shown
};

}  // namespace app
