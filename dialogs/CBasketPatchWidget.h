/// The confirmation of a patch.
#pragma once

#include <QSet>
#include <QStringList>
#include <string>
#include <vector>

#include "CHpfOpPatchConfirmTableModel.h"
#include "PatchPrices.h"
#include "gv/CCommonDialog.h"

class QLabel;

namespace GV {
class CBaseTableColumnCheckBoxDelegate;
class CBaseTableColumnLineEditDelegate;
class CPushButton;
class CStandardHpfTable;
class CVerticalWidgetList;
}  // namespace GV

namespace TC {

class CTradeParamDialog;

/// The user picks the securities of a cancelled task that are ordered again, and how much of each, never more than was
/// offered: as a task of the same basket or as lines for a new basket. Lives with its task; what the user chose in the
/// trade parameters stays from one run to the next. GUI thread.
class CBasketPatchDialog : public GV::CCommonDialog {
  Q_OBJECT

 public:
  CBasketPatchDialog();

  /// Only an algorithm's task can be handed on as a new basket.
  void setTraderType(bool algorithmic);
  /// The securities that can be patched, each with the most that may be ordered as its volume, all checked. taskParams:
  /// the task's own parameters in the order of its details' keys; tradeParamText: its algorithm parameters. The trade
  /// parameters start from the first run's first parameter and text; prices that the task gave are this run's.
  void setPatchParams(const std::vector<ksservice::CCodeOrderParam>& params,
                      const std::vector<ksservice::CCodeOrderParam>& taskParams, const std::string& tradeParamText);
  /// Whether the last accepted run chose a new basket.
  bool isNewBasket() const { return m_bNewBasket; }
  /// EOrderType of the trade parameters as they are chosen now. After setPatchParams.
  int orderType() const;
  /// Appends what is to be ordered of the checked rows, with order type, price type and price
  /// (docs/order-parameters.md); algoParams is set when an algorithm is shown, else left alone: the task keeps its own.
  void takeParams(std::vector<ksservice::CCodeOrderParam>& out, std::string& algoParams);
  /// What the last takeParams left out for want of a price above 0, in the order of the rows.
  const std::vector<ksservice::CCodeOrderParam>& unpriced() const { return m_unpriced; }
  /// A line of the new-basket window for each checked row that has one. The user is told of rows that cannot be ordered
  /// since their unit of trade is below 1.
  QStringList takeNewBasketLines();
  /// The rows' parameters of the last takeNewBasketLines, line by line, each with the line's quantity as its volume.
  const std::vector<ksservice::CCodeOrderParam>& newBasketParams() const { return m_newBasketParams; }

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
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
  std::vector<ksservice::CCodeOrderParam> m_unpriced;
  std::vector<ksservice::CCodeOrderParam> m_newBasketParams;
  bool m_bNewBasket = false;
};

}  // namespace TC
