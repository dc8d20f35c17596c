#include "tc/CTaskOrdersWidget.h"

#include <QLabel>
#include <QVBoxLayout>
#include <boost/make_shared.hpp>
#include <unordered_map>
#include <utility>

#include "gv/CHpfTreeTable.h"
#include "gv/Scaling.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace TC {
namespace {

using ksservice::COrderInfo;

CTaskOrdersWidget::ShowObserver& showObserver() {
  static CTaskOrdersWidget::ShowObserver observer;
  return observer;
}

QString nameOf(const COrderInfo& order) {
  const auto info = getExchangeClient().getCodeInfo(order.m_strMarket, order.m_strCode);
  return info ? QString::fromStdString(info->m_strName) : QString();
}

QString stateOf(const COrderInfo& order) {
  if (order.m_nTradedVolume >= order.m_nVolume) return QStringLiteral("已成");
  const auto detail = ksservice::COrderDetailHelper::getOrderDetailByMavTag(order.m_tag);
  if (detail && ksservice::COrderDetailHelper::isOrderCanceled(*detail)) return QStringLiteral("已撤");
  if (ksservice::COrderDetailHelper::completed(order)) return detail ? QStringLiteral("已撤") : QStringLiteral("废单");
  if (order.m_nTradedVolume > 0) return QStringLiteral("部成");
  return detail ? QStringLiteral("已报") : QStringLiteral("待报");
}

struct SOrderColumn {
  const char* title;
  int alignment;
  int width;
  QString (*text)(const COrderInfo& order);
  double (*figure)(const COrderInfo& order);  ///< null: sorts by its text
};

constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;

const std::vector<SOrderColumn>& orderColumns() {
  static const std::vector<SOrderColumn> columns = {
      {"证券", LEFT, 96,
       [](const COrderInfo& o) { return QString::fromStdString(utils::mavStockKey(o.m_strMarket, o.m_strCode)); },
       nullptr},
      {"名称", LEFT, 84, nameOf, nullptr},
      {"方向", LEFT, 72, [](const COrderInfo& o) { return operationToString(o.m_nOperation); }, nullptr},
      {"委托价", RIGHT, 76, [](const COrderInfo& o) { return QString::number(o.m_dPrice, 'f', 3); },
       [](const COrderInfo& o) { return o.m_dPrice; }},
      {"委托数量", RIGHT, 84, [](const COrderInfo& o) { return QString::number(o.m_nVolume); },
       [](const COrderInfo& o) { return double(o.m_nVolume); }},
      {"成交数量", RIGHT, 84, [](const COrderInfo& o) { return QString::number(o.m_nTradedVolume); },
       [](const COrderInfo& o) { return double(o.m_nTradedVolume); }},
      {"成交金额", RIGHT, 104, [](const COrderInfo& o) { return QString::number(o.m_dTradedAmount, 'f', 2); },
       [](const COrderInfo& o) { return o.m_dTradedAmount; }},
      {"状态", LEFT, 60, stateOf, nullptr},
      {"信息", LEFT, 200, [](const COrderInfo& o) { return QString::fromStdString(o.m_strMessage); }, nullptr},
  };
  return columns;
}

std::vector<GV::SColumn> tableColumns() {
  std::vector<GV::SColumn> columns;
  for (const SOrderColumn& entry : orderColumns()) {
    GV::SColumn column;
    column.title = QString::fromUtf8(entry.title);
    column.alignment = entry.alignment;
    column.width = entry.width;
    column.numericSort = entry.figure != nullptr;
    columns.push_back(column);
  }
  return columns;
}

}  // namespace

class CTaskOrdersWidget::COrderRow : public GV::CHpfTreeTableData {
 public:
  explicit COrderRow(boost::shared_ptr<COrderInfo> order) : m_pOrder(std::move(order)) {}
  const COrderInfo& order() const { return *m_pOrder; }
  /// A newer state of the order; false when it is the one that shows.
  bool take(const boost::shared_ptr<COrderInfo>& order) { return std::exchange(m_pOrder, order) != order; }
  QString key() const override { return QString::fromStdString(m_pOrder->getKey()); }
  QString text(int column) const override { return orderColumns()[static_cast<std::size_t>(column)].text(*m_pOrder); }
  double number(int column) const override {
    const auto figure = orderColumns()[static_cast<std::size_t>(column)].figure;
    return figure ? figure(*m_pOrder) : 0;
  }

 private:
  boost::shared_ptr<COrderInfo> m_pOrder;
};

CTaskOrdersWidget::CTaskOrdersWidget(QWidget* parent)
    : QDialog(parent), m_pTable(new GV::CHpfTreeTable(this)), m_pOrderInfo(new QLabel(this)) {
  setWindowTitle(QStringLiteral("委托详情"));
  m_pTable->setAccessibleName(windowTitle());
  m_pTable->setDataModel(new GV::CHpfTreeTableModel(tableColumns(), m_pTable));
  GV::followScale(*m_pOrderInfo, [this] { m_pOrderInfo->setMargin(GV::CUiResource::scaled(4)); });
  m_pOrderInfo->hide();
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(m_pTable, 1);
  layout->addWidget(m_pOrderInfo);
}

CTaskOrdersWidget::~CTaskOrdersWidget() = default;

void CTaskOrdersWidget::clearFilters() { m_pTable->clearColumnFilters(); }

void CTaskOrdersWidget::setOrderInfoTableVisible(bool visible, bool keepSize) {
  const int change = m_pOrderInfo->sizeHint().height() * (visible == m_pOrderInfo->isVisible() ? 0 : visible ? 1 : -1);
  m_pOrderInfo->setVisible(visible);
  if (!keepSize && isVisible()) resize(width(), height() + change);
}

void CTaskOrdersWidget::updateOrders(const QString& key, const Orders& orders) {
  m_pTable->clear();
  m_rows.clear();
  followOrders(key, orders);
}

void CTaskOrdersWidget::followOrders(const QString& key, const Orders& orders) {
  m_strKey = key;
  GV::CHpfTreeTableModel& model = *m_pTable->dataModel();
  const GV::CModelBatch batch(model);
  std::vector<RowPtr> before = std::exchange(m_rows, {});
  m_rows.reserve(orders.size());
  // Mostly the orders stand where they stood; else a row is found by its order's key.
  std::unordered_map<std::string, std::size_t> places;
  const auto rowOf = [&](std::size_t i) -> RowPtr {
    const std::string& orderKey = orders[i]->getKey();
    const auto stands = [&](std::size_t place) { return before[place] && before[place]->isInTable(); };
    if (i < before.size() && stands(i) && before[i]->order().getKey() == orderKey) return std::move(before[i]);
    if (places.empty()) {
      for (std::size_t place = 0; place < before.size(); ++place) {
        if (stands(place)) places.emplace(before[place]->order().getKey(), place);
      }
    }
    const auto known = places.find(orderKey);
    return known == places.end() ? nullptr : std::move(before[known->second]);
  };
  for (std::size_t i = 0; i < orders.size(); ++i) {
    RowPtr row = rowOf(i);
    if (!row) {
      row = boost::make_shared<COrderRow>(orders[i]);
      m_pTable->updateData(row, QString());
    } else if (row->take(orders[i])) {
      model.rowChanged(GV::CHpfTreeTableModel::treeRowOf(*row));
    }
    m_rows.push_back(std::move(row));
  }
  for (const RowPtr& row : before) {
    if (row && row->isInTable()) m_pTable->removeDataByKey(row->key());
  }
  showSums();
}

void CTaskOrdersWidget::showSums() {
  double amount = 0;
  long long traded = 0;
  for (const RowPtr& row : m_rows) {
    traded += row->order().m_nTradedVolume;
    amount += row->order().m_dTradedAmount;
  }
  m_pOrderInfo->setText(QStringLiteral("委托 %1 笔   成交 %2   金额 %3")
                            .arg(m_rows.size())
                            .arg(traded)
                            .arg(QString::number(amount, 'f', 2)));
}

void CTaskOrdersWidget::present() {
  show();
  raise();
  if (!showObserver()) return;
  std::vector<std::string> keys;
  for (const RowPtr& row : m_rows) keys.push_back(row->order().getKey());
  showObserver()(m_strKey, keys);
}

QString CTaskOrdersWidget::param() const { return m_pTable->saveConfigStr(); }

void CTaskOrdersWidget::setParam(const QString& text) { m_pTable->restoreConfigStr(text); }

void CTaskOrdersWidget::setShowObserver(ShowObserver observer) { showObserver() = std::move(observer); }

}  // namespace TC
