#include "docks/OrderRows.h"

#include "gv/CUiResource.h"
#include "ksservice/Operations.h"
#include "tc/AlgoParams.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"

namespace app {
namespace {

using ksservice::COrderInfo;

constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;

QString number(double value, int digits) { return QString::number(value, 'f', digits); }

QString nameOf(const COrderInfo& order) {
  const auto info = TC::getExchangeClient().getCodeInfo(order.m_strMarket, order.m_strCode);
  return info ? QString::fromStdString(info->m_strName) : QString();
}

double multiplierOf(const COrderInfo& order) {
  const auto info = TC::getExchangeClient().getCodeInfo(order.m_strMarket, order.m_strCode);
  return info && info->m_dMultiplier > 0 ? info->m_dMultiplier : 1;
}

template <typename Row>
const COrderInfo& infoOf(const Row& row) {
  if constexpr (std::is_same_v<Row, SOrderRow>) {
    return *row.m_order.m_pInfo;
  } else {
    return *row.m_fill.m_pInfo;
  }
}

template <typename Row>
const SBlotterDetail& detailOf(const Row& row) {
  if constexpr (std::is_same_v<Row, SOrderRow>) {
    return *row.m_order.m_pDetail;
  } else {
    return *row.m_fill.m_pDetail;
  }
}

/// What both tables begin with.
template <typename Row>
std::vector<SRowColumn<Row>> commonColumns() {
  return {
      {"时间", LEFT, 64,
       [](const Row& row) { return QString::fromStdString(TC::formatSecondOfDay(row.m_nSecondOfDay)); },
       [](const Row& row) { return double(row.m_nSecondOfDay); }},
      {"任务", RIGHT, 52, [](const Row& row) { return QString::number(detailOf(row).m_nTaskId); },
       [](const Row& row) { return double(detailOf(row).m_nTaskId); }},
      {"账号", LEFT, 76, [](const Row& row) { return QString::fromStdString(detailOf(row).m_strDisplayId); }},
      {"证券", LEFT, 68, [](const Row& row) { return QString::fromStdString(infoOf(row).m_strCode); }},
      {"名称", LEFT, 80, [](const Row& row) { return nameOf(infoOf(row)); }},
      {"方向", LEFT, 64, [](const Row& row) { return TC::operationToString(infoOf(row).m_nOperation); },
       [](const Row& row) { return double(infoOf(row).m_nOperation); },
       [](const Row& row) { return sideColour(infoOf(row).m_nOperation); }},
  };
}

double averagePrice(const COrderInfo& order, int quantity, double amount) {
  return quantity > 0 ? amount / quantity / multiplierOf(order) : 0;
}

double tradedPrice(const SOrderRow& row) {
  const COrderInfo& info = *row.m_order.m_pInfo;
  return averagePrice(info, info.m_nTradedVolume, info.m_dTradedAmount);
}

double tradedPrice(const SFillRow& row) {
  return averagePrice(*row.m_fill.m_pInfo, row.m_fill.m_nQuantity, row.m_fill.m_dAmount);
}

const QColor* stateColour(const SOrderRow& row) {
  if (row.state() == EOrderState::Refused) return GV::CUiResource::getColor(QStringLiteral("clr_text_warning"));
  return row.isOpen() ? nullptr : GV::CUiResource::getColor(QStringLiteral("clr_text_title"));
}

}  // namespace

const QColor* sideColour(int operation) {
  const bool buy = ksservice::DataHelper::isBuy(operation);
  return GV::CUiResource::getColor(buy ? QStringLiteral("clr_side_buy") : QStringLiteral("clr_side_sell"));
}

EOrderState SOrderRow::state() const {
  const COrderInfo& info = *m_order.m_pInfo;
  if (info.m_nTradedVolume >= info.m_nVolume) return EOrderState::Filled;
  if (m_order.m_bCancelled) return EOrderState::Cancelled;
  if (info.m_bCompleted) return m_order.m_bAccepted ? EOrderState::Cancelled : EOrderState::Refused;
  if (info.m_nTradedVolume > 0) return EOrderState::Partial;
  return m_order.m_bAccepted ? EOrderState::Working : EOrderState::Pending;
}

QString orderStateText(EOrderState state) {
  static const QString texts[] = {QStringLiteral("待报"), QStringLiteral("已报"), QStringLiteral("部成"),
                                  QStringLiteral("已成"), QStringLiteral("已撤"), QStringLiteral("废单")};
  return texts[static_cast<int>(state)];
}

QString priceText(double price, const std::string& market) {
  const int digits = exchange::kindOf(market) == exchange::EKind::IndexFuture ? 1 : 2;
  return price > 0 ? number(price, digits) : QStringLiteral("--");
}

const std::vector<SRowColumn<SOrderRow>>& orderColumns() {
  using Row = SOrderRow;
  static const std::vector<SRowColumn<Row>> columns = [] {
    std::vector<SRowColumn<Row>> list = commonColumns<Row>();
    const std::vector<SRowColumn<Row>> own = {
        {"委托价", RIGHT, 72, [](const Row& row) { return priceText(infoOf(row).m_dPrice, infoOf(row).m_strMarket); },
         [](const Row& row) { return infoOf(row).m_dPrice; }},
        {"委托数量", RIGHT, 76, [](const Row& row) { return QString::number(infoOf(row).m_nVolume); },
         [](const Row& row) { return double(infoOf(row).m_nVolume); }},
        {"成交数量", RIGHT, 76, [](const Row& row) { return QString::number(infoOf(row).m_nTradedVolume); },
         [](const Row& row) { return double(infoOf(row).m_nTradedVolume); }},
        {"成交均价", RIGHT, 72,
         [](const Row& row) { return infoOf(row).m_nTradedVolume > 0 ? number(tradedPrice(row), 3) : QString(); },
         [](const Row& row) { return tradedPrice(row); }},
        {"状态", LEFT, 52, [](const Row& row) { return orderStateText(row.state()); },
         [](const Row& row) { return double(row.state()); }, stateColour},
        {"信息", LEFT, 200, [](const Row& row) { return QString::fromStdString(infoOf(row).m_strMessage); }},
    };
    list.insert(list.end(), own.begin(), own.end());
    return list;
  }();
  return columns;
}

const std::vector<SRowColumn<SFillRow>>& fillColumns() {
  using Row = SFillRow;
  static const std::vector<SRowColumn<Row>> columns = [] {
    std::vector<SRowColumn<Row>> list = commonColumns<Row>();
    const std::vector<SRowColumn<Row>> own = {
        {"成交价", RIGHT, 76, [](const Row& row) { return number(tradedPrice(row), 3); },
         [](const Row& row) { return tradedPrice(row); }},
        {"成交数量", RIGHT, 76, [](const Row& row) { return QString::number(row.m_fill.m_nQuantity); },
         [](const Row& row) { return double(row.m_fill.m_nQuantity); }},
        {"成交金额", RIGHT, 108, [](const Row& row) { return number(row.m_fill.m_dAmount, 2); },
         [](const Row& row) { return row.m_fill.m_dAmount; }},
    };
    list.insert(list.end(), own.begin(), own.end());
    return list;
  }();
  return columns;
}

bool namesInstrument(const COrderInfo& order, const QString& text) {
  return QString::fromStdString(order.m_strCode).contains(text, Qt::CaseInsensitive) ||
         nameOf(order).contains(text, Qt::CaseInsensitive);
}

}  // namespace app
