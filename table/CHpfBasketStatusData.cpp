#include "CHpfBasketStatusData.h"

#include <QTime>

#include "EHpfBasketTaskStatus.h"
#include "gv/Helpers.h"
#include "ksservice/Enumerations.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace TC {
namespace {

const QString SEPARATOR = QStringLiteral(" / ");
const QString TEN_THOUSAND = QStringLiteral("万");
const QString INVALID_NUMBER = QStringLiteral("非法值");

QString number(double value) { return GV::formatDoubleNumber(value, 2, 0, false, INVALID_NUMBER); }

QString amountProgress(const CHpfBasketStatusData& row) {
  if (row.shape.amountFree) return QStringLiteral("0.00 / 0.00");
  const SRowFigures& f = row.figures;
  const double right = f.unfilled == 0 ? f.tradedAmount : f.totalAmount;
  if (f.totalAmount / 10000 - 1 < -0.00001) return number(f.tradedAmount) + SEPARATOR + number(right);
  return number(f.tradedAmount / 10000) + TEN_THOUSAND + SEPARATOR + number(right / 10000) + TEN_THOUSAND;
}

bool isShownInUnits(const CHpfBasketStatusData& row) {
  // An empty market would be taken for any.
  if (row.instrument.market.isEmpty()) return false;
  const std::string market = utils::exchangeShortCode(row.instrument.market.toStdString());
  const std::string code = row.shape.code.toStdString();
  return ksservice::StockTypeCenter::isTypedStock(market, code, ksservice::STOCK_TYPE_SH_UNITS) ||
         ksservice::StockTypeCenter::isTypedStock(market, code, ksservice::STOCK_TYPE_SZ_UNITS);
}

QString quantityProgress(const CHpfBasketStatusData& row) {
  const SRowFigures& f = row.figures;
  if (getUserConfig().isRawQuantity() || !isShownInUnits(row)) {
    return QString::number(f.tradedVolume) + SEPARATOR + QString::number(f.totalVolume);
  }
  const double unit = ksservice::getStockTradeUnit(row.instrument.market.toStdString(), row.shape.code.toStdString());
  return QString::number(f.tradedVolume / unit, 'f', 2) + SEPARATOR + QString::number(f.totalVolume / unit, 'f', 2);
}

/// Where a status is told by its text, as bits.
enum EToldIn : unsigned { InRows = 1, InSignals = 2 };

struct SStatusText {
  int status;  ///< ETaskStatus or EHpfBasketTaskStatus
  unsigned toldIn;
  QString text;
};

const SStatusText STATUS_TEXTS[] = {
    {ksservice::ETS_Running, InRows, QStringLiteral("执行中")},
    {ksservice::ETS_Paused, InRows, QStringLiteral("已暂停")},
    {ksservice::ETS_Finished, InRows, QStringLiteral("已完成")},
    {ksservice::ETS_Cancelled, InRows, QStringLiteral("已撤销")},
    {ksservice::ETS_Dropped, InRows, QStringLiteral("已撤销")},
    {EHBTS_Patching, InRows | InSignals, QStringLiteral("补单中")},
    {EHBTS_PatchFailed, InSignals, QStringLiteral("补单失败")},
    {EHBTS_PatchFinished, InSignals, QStringLiteral("补单完成")},
};

/// Empty for a status that is not told there.
QString statusTextIn(EToldIn where, int status) {
  for (const SStatusText& each : STATUS_TEXTS) {
    if (each.status == status && (each.toldIn & where) != 0) return each.text;
  }
  return QString();
}

}  // namespace

bool isAmountFree(const QVector<int>& operations) {
  if (operations.isEmpty()) return false;
  switch (operations.first()) {
    case ksservice::EOT_CollateralIn:
    case ksservice::EOT_CollateralOut:
    case ksservice::EOT_BondRights:
    case ksservice::EOT_ShareRights:
    case ksservice::EOT_Vote:
    case ksservice::EOT_CancelCommand:
      return true;
    default:
      return false;
  }
}

QString batchStatusToString(int status) { return statusTextIn(InSignals, status); }

QString tradeTypeText(const QVector<int>& operations) {
  if (operations.size() == 1) return ksservice::operationText(operations.first());
  QString text;
  for (int i = 0; i < operations.size(); ++i) {
    if (i > 0) text += QLatin1Char('/');
    text += operationToString(operations[i]);
  }
  return text;
}

const QColor* tradeTypeColor(const QVector<int>& operations) {
  static const QColor buy(255, 0, 0);
  static const QColor sell(0, 100, 0);
  static const QColor mixed(0, 0, 255);
  if (operations.size() != 1) return &mixed;
  return ksservice::DataHelper::isBuy(operations.first()) ? &buy : &sell;
}

bool spansHedge(const SRowTexts& texts, const SRowFigures* hedge) {
  return hedge && texts.account.contains(QLatin1Char('/'));
}

double shownAmount(const SRowShape& shape, const SRowTexts& texts, const SRowFigures& figures,
                   const SRowFigures* hedge) {
  if (spansHedge(texts, hedge)) return figures.tradedAmount - hedge->tradedAmount;
  return shape.amountFree ? 0 : figures.tradedAmount;
}

double CHpfBasketStatusData::amount() const { return shownAmount(shape, texts, figures, hedge); }

QString progressText(const CHpfBasketStatusData& row, EProcessDisplay mode) {
  return mode == EPD_Quantity ? quantityProgress(row) : amountProgress(row);
}

double progressFraction(const QString& text) {
  const QStringList parts = QString(text).remove(TEN_THOUSAND).split(SEPARATOR);
  if (parts.size() < 2) return 0;
  const double done = parts[0].toDouble();
  const double total = parts[1].toDouble();
  return done > 0 && total > 0 ? done / total : 0;
}

QString statusText(const QString& ownText, int status) {
  if (!ownText.isEmpty() && status != ksservice::ETS_Finished) return ownText;
  return statusTextIn(InRows, status);
}

QString timeText(int msecOfDay) {
  if (msecOfDay < 0) return QString();
  return QTime::fromMSecsSinceStartOfDay(msecOfDay).toString(QStringLiteral("hh:mm:ss"));
}

QString orderText(int reported, int received) { return QStringLiteral(" 已报%1 收到%2 ").arg(reported).arg(received); }

}  // namespace TC
