/// The confirmation of a patch.
#pragma once

#include <QSet>
#include <string>

#include "CHpfOpPatchConfirmTableModel.h"
#include "IPatchConfirm.h"
#include "PatchPrices.h"
#include "gv/CCommonDialog.h"

namespace GV {
class CBaseTableColumnCheckBoxDelegate;
class CBaseTableColumnLineEditDelegate;
class CPushButton;
class CStandardHpfTable;
}  // namespace GV

namespace TC {

class CTradeParamDialog;

/// The user picks the securities of a cancelled task that are ordered again, and how much of each, never more than was
/// offered: as a task of the same basket or as lines for a new basket. Lives with its task; what the user chose in the
/// trade parameters stays from one run to the next. GUI thread.
class CBasketPatchDialog : public GV::CCommonDialog, public IPatchConfirm {
  Q_OBJECT

 public:
  CBasketPatchDialog();

  /// Makes this dialog what tasks ask through. GUI thread.
  static void install();

  /// The securities of the offer are shown all checked. The trade parameters start from the first offer's first
  /// parameter and text; prices that the task gave are this offer's. Then come boxes about what cannot be taken.
  PatchChoice confirm(const SPatchOffer& offer) override;

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  /// Only an algorithm's task can be handed on as a new basket.
  void setTraderType(bool algorithmic);
  void setPatchParams(const PatchParams& params, const PatchParams& taskParams, const std::string& tradeParamText);
  /// Whether the last accepted run chose a new basket.
  bool isNewBasket() const { return m_bNewBasket; }
  /// EOrderType of the trade parameters as they are chosen now. After setPatchParams.
  int orderType() const;
  /// What is to be ordered of the checked rows, in their order (docs/order-parameters.md).
  SPatchOrders takeParams();
  /// A line for each checked row that has one. The user is told of rows that cannot be ordered since their unit of
  /// trade is below 1.
  SPatchBasket takeNewBasket();

  QWidget* createTools();
  QWidget* createBottom();
  void createTable();
  void showOrderType();
  bool pressed(int id);
  void checkRow(CHpfOpPatchConfirmData& row, bool on);
  void editQuantity(const QString& key, const QString& text);
  QString uniqueKey(const ksservice::CCodeOrderParam& param) const;

  CTradeParamDialog* m_pTradeParams = nullptr;
  GV::CStandardHpfTable* m_pTable;
  CHpfOpPatchConfirmTableModel* m_pModel;
  GV::CBaseTableColumnLineEditDelegate* m_pQuantities;
  GV::CBaseTableColumnCheckBoxDelegate* m_pCheckBoxes;
  GV::CPushButton* m_pOrderType = nullptr;
  GV::CPushButton* m_pNewBasketButton = nullptr;
  QSet<QString> m_keys;
  CPatchPrices m_prices;
  bool m_bNewBasket = false;
};

}  // namespace TC
