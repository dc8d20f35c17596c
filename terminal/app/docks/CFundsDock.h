#pragma once

#include "docks/BasketNeeds.h"
#include "docks/CDocks.h"
#include "docks/RowsModel.h"

class QComboBox;

namespace app {

/// Money of an account, CNY.
struct SFundsRow {
  std::string m_strAccount;  ///< its key
  QString m_strDisplayId;
  std::shared_ptr<const desk::SHoldings> m_pHoldings;  ///< never null
  double m_dValue = 0;                                 ///< of shares, at their last price
  SBasketNeed m_need;
};

struct SPositionRow {
  QString m_strDisplayId;
  QString m_strName;
  desk::SPosition m_position;
  double m_dLast = 0;
  double m_dMultiplier = 1;

  /// CNY.
  double value() const { return m_position.m_nTotal * m_dLast * m_dMultiplier; }
  double result() const;
};

/// Money and positions of accounts: of all, or of the one of the chosen row. GUI thread only.
class CFundsDock : public CDockContent {
 public:
  explicit CFundsDock(QWidget* parent);

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& row) override;
  void refresh() override;
  QString param() const override;
  void setParam(const QString& text) override;

 private:
  /// Each row with a name of its own.
  struct SFound {
    std::vector<std::pair<std::string, SFundsRow>> m_funds;
    std::vector<std::pair<std::string, SPositionRow>> m_positions;
  };
  SFound find();
  void applyScope();

  SDockSources m_sources;
  SChosenRow m_chosen;
  CBasketNeeds m_needs;
  CRowsModel<SFundsRow>* m_pFunds;
  CRowsModel<SPositionRow>* m_pPositions;
  CRowsTable* m_pFundsTable;
  CRowsTable* m_pPositionTable;
  QComboBox* m_pScope;
};

}  // namespace app
