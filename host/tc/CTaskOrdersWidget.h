#pragma once

#include <QDialog>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <vector>

#include "ksservice/COrderInfo.h"

class QLabel;

namespace GV {
class CHpfTreeTable;
}

namespace TC {

/// The host's window with the orders of a task or of one of its rows. GUI thread.
class CTaskOrdersWidget : public QDialog {
  Q_OBJECT

 public:
  using Orders = std::vector<boost::shared_ptr<ksservice::COrderInfo>>;
  /// Told of each window of orders that is shown: the key given to updateOrders, and the orders' keys.
  using ShowObserver = std::function<void(const QString& key, const std::vector<std::string>& orderKeys)>;

  explicit CTaskOrdersWidget(QWidget* parent = nullptr);
  ~CTaskOrdersWidget() override;

  void setTradeType(int tradeType) { m_nTradeType = tradeType; }
  int tradeType() const { return m_nTradeType; }
  /// Shows every order again, whatever the user filtered away.
  void clearFilters();
  /// The line with the orders' sums, which only algorithm orders have; keepSize: the window keeps its height.
  void setOrderInfoTableVisible(bool visible, bool keepSize);
  /// The key under which the window shows the orders of a node.
  static QString keyOf(const QString& taskKey, const QString& nodeKey) { return taskKey + nodeKey; }
  /// Shows the orders of a node; key: its keyOf.
  void updateOrders(const QString& key, const Orders& orders);
  /// Shows a newer state of the orders that it shows: their rows stay, with their place, selection and sorting. The
  /// node may have another key by now.
  void followOrders(const QString& key, const Orders& orders);
  const QString& getKey() const { return m_strKey; }
  /// Shows the window and tells the observer.
  void present();

  /// The columns' layout as one text without "/" and "*".
  QString param() const;
  void setParam(const QString& text);

  static void setShowObserver(ShowObserver observer);

 private:
  class COrderRow;
  using RowPtr = boost::shared_ptr<COrderRow>;

  void showSums();

  GV::CHpfTreeTable* m_pTable;
  QLabel* m_pOrderInfo;
  QString m_strKey;
  std::vector<RowPtr> m_rows;  ///< of the orders, in their order
  int m_nTradeType = 0;
};

}  // namespace TC
