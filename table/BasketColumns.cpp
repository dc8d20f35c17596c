#include "BasketColumns.h"

namespace TC {
namespace {

constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;
constexpr int CENTRE = GV::AlignCentre;

struct SSpec {
  const char* title = "";  ///< blanks included: they are part of the title
  int kind = GV::ColumnText;
  int alignment = LEFT;
  int width = 0;
  int exportOrder = 0;  ///< 1-based position in exports, 0 for none
  CellText text = nullptr;
  SortFigure sortFigure = nullptr;
};

QString nameText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.instrument.name; }
QString tradeParamText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.texts.tradeParam; }
QString investRemarkText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.texts.investRemark; }
QString accountText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.texts.account; }
QString accountNameText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.texts.accountName; }
QString typeText(const CHpfBasketStatusData& row, EProcessDisplay) { return tradeTypeText(row.shape.operations); }
QString amountText(const CHpfBasketStatusData& row, EProcessDisplay) { return QString::number(row.amount(), 'f', 2); }
QString startText(const CHpfBasketStatusData& row, EProcessDisplay) {
  return timeText(row.isRoot() ? row.facts.startMSec : -1);
}
QString endText(const CHpfBasketStatusData& row, EProcessDisplay) {
  return timeText(row.isRoot() ? row.facts.endMSec : -1);
}
QString stateText(const CHpfBasketStatusData& row, EProcessDisplay) {
  return statusText(row.statusText, row.figures.status);
}
QString sourceText(const CHpfBasketStatusData& row, EProcessDisplay) {
  return row.isRoot() ? row.facts.basketName : QString();
}
QString unfilledText(const CHpfBasketStatusData& row, EProcessDisplay) { return QString::number(row.figures.unfilled); }
QString algoTagText(const CHpfBasketStatusData& row, EProcessDisplay) { return row.texts.algoTag; }

double amountFigure(const CHpfBasketStatusData& row) { return row.amount(); }
double unfilledFigure(const CHpfBasketStatusData& row) { return row.figures.unfilled; }
double progressFigure(const CHpfBasketStatusData& row) {
  return row.figures.totalVolume > 0 ? static_cast<double>(row.figures.tradedVolume) / row.figures.totalVolume : 0;
}
double ordersFigure(const CHpfBasketStatusData& row) { return row.figures.orderCount; }

const SSpec SPECS[EBC_Count] = {
    {" 任务", GV::ColumnTree, LEFT, 150, 0, nullptr},
    {" 名称 ", GV::ColumnText, LEFT, 86, 3, nameText},
    {" 交易参数", GV::ColumnDelegate, LEFT, 72, 0, tradeParamText},
    {" 投资备注", GV::ColumnDelegate, LEFT, 76, 9, investRemarkText},
    {" 账号 ", GV::ColumnText, LEFT, 94, 1, accountText},
    {" 账号名称 ", GV::ColumnText, LEFT, 82, 2, accountNameText},
    {" 交易类型 ", GV::ColumnText, CENTRE, 86, 4, typeText},
    {" 金额 ", GV::ColumnNumber, RIGHT, 104, 5, amountText, amountFigure},
    {" 进度 ", GV::ColumnDelegate, CENTRE, 176, 0, progressText, progressFigure},
    {" 委托详情 ", GV::ColumnDelegate, LEFT, 136, 0, nullptr, ordersFigure},
    {" 开始时间 ", GV::ColumnText, RIGHT, 76, 6, startText},
    {" 结束时间 ", GV::ColumnText, RIGHT, 76, 7, endText},
    {" 操作 ", GV::ColumnDelegate, LEFT, 170, 0, nullptr},
    {" 状态 ", GV::ColumnText, LEFT, 76, 8, stateText},
    {" 篮子来源 ", GV::ColumnText, CENTRE, 90, 0, sourceText},
    {"未成交数量", GV::ColumnText, LEFT, 84, 10, unfilledText, unfilledFigure},
    {"智能算法标识", GV::ColumnText, LEFT, 100, 11, algoTagText},
};

std::vector<SBasketColumn> makeColumns() {
  std::vector<SBasketColumn> columns;
  for (int i = 0; i < EBC_Count; ++i) {
    const SSpec& spec = SPECS[i];
    SBasketColumn entry;
    entry.column.title = QString::fromUtf8(spec.title);
    entry.column.kind = spec.kind;
    entry.column.alignment = spec.alignment;
    entry.column.width = spec.width;
    entry.column.stat = i == EBC_Amount;
    entry.column.numericSort = spec.sortFigure != nullptr;
    entry.column.exportOrder = spec.exportOrder;
    entry.text = spec.text;
    entry.sortFigure = spec.sortFigure;
    columns.push_back(entry);
  }
  return columns;
}

}  // namespace

const std::vector<SBasketColumn>& basketColumns() {
  static const std::vector<SBasketColumn> columns = makeColumns();
  return columns;
}

}  // namespace TC
