/// The order parameters of the securities of a basket: one choice for all of them.
#pragma once

#include "tc/CGlobalOrderParamTable.h"

namespace TC {

/// GUI thread.
class COpBasketStockParamsWidget : public GV::CBaseWidget {
  Q_OBJECT

 public:
  /// accountType: CAccountInfo::m_nType of the accounts that trade.
  explicit COpBasketStockParamsWidget(int accountType, QWidget* parent = nullptr);

  CGlobalOrderParamTable& table() const { return *m_pTable; }
  /// Whether what the user chose stays when the widget goes out of sight; otherwise it starts again from what was
  /// loaded last through load. True at first.
  void setSaveParam(bool save) { m_bSaveParam = save; }
  void load(const ksservice::CCodeOrderParam& param, const QString& algoText);
  void setExpandItemsHidden(bool hidden) { m_pTable->setExpandItemsHidden(hidden); }

  /// Puts order type, price type and the volume into a security's parameter; its price stays, but is made no higher
  /// than limit (CNY). The same for every security, so the key is not looked at.
  void fillParams(const std::string& securityKey, int volume, ksservice::CCodeOrderParam& param, double limit) const;

 protected:
  void hideEvent(QHideEvent* event) override;

 private:
  CGlobalOrderParamTable* m_pTable;
  ksservice::CCodeOrderParam m_loaded;
  QString m_strLoadedAlgo;
  bool m_bSaveParam = true;
};

}  // namespace TC
