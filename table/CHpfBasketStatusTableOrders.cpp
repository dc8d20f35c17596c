// What a click on a row's trade parameters or orders opens.
#include <QScreen>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "CHpfBasketStatusTable.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/CTaskParamWidget.h"

namespace TC {
namespace {

/// Trade type of the window of orders.
constexpr int ORDERS_TRADE_TYPE = 4;

}  // namespace

void CHpfBasketStatusTable::createOrdersWidget() {
  m_pOrdersWidget = new CTaskOrdersWidget(this);
  m_pOrdersWidget->setTradeType(ORDERS_TRADE_TYPE);
}

void CHpfBasketStatusTable::onCellClicked(const QString& rowKey, int column) {
  boost::shared_ptr<CBasketTask> task;
  QString nodeKey;
  if (!getBasketTaskItemByKey(rowKey, task, nodeKey)) return;
  if (column == EBC_Orders) slotShowOrders(task.get(), nodeKey, SHOW_ORDERS);
  if (column == EBC_TradeParam) showParams(*task, rowKey, nodeKey);
}

void CHpfBasketStatusTable::slotShowOrders(CBasketTask* task, QString key, int mode) {
  if (!task) return;
  const bool show = mode == SHOW_ORDERS;
  if (!show &&
      (!m_pOrdersWidget->isVisible() || m_pOrdersWidget->getKey() != CTaskOrdersWidget::keyOf(task->getKey(), key)))
    return;
  if (show) {
    m_pOrdersWidget->clearFilters();
    m_strOrdersRow = rowKeyOf(key);
  }
  fillOrders(*task, key, mode);
  if (!show) return;
  const QRect available = screen()->availableGeometry();
  m_pOrdersWidget->setFixedSize(available.width() * 3 / 5, available.height() * 3 / 5);
  m_pOrdersWidget->move(available.center() - m_pOrdersWidget->rect().center());
  m_pOrdersWidget->present();
}

void CHpfBasketStatusTable::fillOrders(CBasketTask& task, const QString& nodeKey, int mode) {
  m_pOrdersWidget->setOrderInfoTableVisible(task.isAlgoOrderType(nodeKey), false);
  std::vector<boost::shared_ptr<ksservice::COrderDetail>> details;
  CTaskOrdersWidget::Orders orders;
  task.getOrders(nodeKey, details, orders);
  const QString key = CTaskOrdersWidget::keyOf(task.getKey(), nodeKey);
  if (mode == SHOW_ORDERS) {
    m_pOrdersWidget->updateOrders(key, orders);
  } else {
    m_pOrdersWidget->followOrders(key, orders);
  }
}

void CHpfBasketStatusTable::updateOrdersWidget(CBasketTask& task) {
  slotShowOrders(&task, task.getKey(), FOLLOW_ORDERS);
}

/// A window of orders that is open follows the row that it shows, whose node may have another key now.
void CHpfBasketStatusTable::followOrders(const CTaskBlock& block) {
  if (!m_pOrdersWidget->isVisible()) return;
  const boost::shared_ptr<CBasketTask> task = block.task();
  const StatusRowPtr row = getDataByKey(m_strOrdersRow);
  if (task && row && row->taskBlock() == &block) fillOrders(*task, row->nodeKey(), FOLLOW_ORDERS);
}

void CHpfBasketStatusTable::showParams(CBasketTask& task, const QString& rowKey, const QString& nodeKey) {
  const std::vector<ksservice::CCodeOrderParam> params = task.getParam(nodeKey);
  CBaseTaskParamWidget* popup = nullptr;
  if (task.isAlgoOrderType(task.getKey())) {
    auto* algo = new CHpfBasketTaskParamWidget(this);
    algo->setParams(params);
    algo->setAlgoParams(task.getAlgoParams());
    popup = algo;
  } else {
    popup = new CBaseTaskParamWidget(this);
    popup->setParams(params);
  }
  const int row = dataModel()->positionOf(rowKey);
  // By key the cell may be out of sight.
  QPoint corner = cellRect(row, EBC_TradeParam).bottomLeft();
  corner.setX(std::clamp(corner.x(), 0, viewport()->width()));
  popup->popUp(rowKey, viewport()->mapToGlobal(corner));
}

}  // namespace TC
