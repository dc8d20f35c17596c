#include "CHpfOpPatchConfirmTableModel.h"

#include <limits>

#include "gv/CUiResource.h"
#include "gv/Helpers.h"
#include "ksservice/Operations.h"

namespace TC {
namespace {

constexpr int LEFT = GV::AlignLeft;
constexpr int RIGHT = GV::AlignRight;
constexpr int CENTRE = GV::AlignCentre;

struct SPatchColumn {
  const char* title;
  GV::EColumnKind kind;
  int alignment;
  int width;
};

/// In the order of EPatchColumn. Together they fill the dialog's width beside a scroll bar.
constexpr SPatchColumn COLUMNS[] = {
    {"选择", GV::ColumnDelegate, CENTRE, 56},
    {"账号", GV::ColumnText, LEFT, 140},
    {"市场", GV::ColumnText, LEFT, 70},
    {"代码", GV::ColumnText, LEFT, 100},
    {"名称", GV::ColumnText, LEFT, 170},
    {"交易类型", GV::ColumnText, LEFT, 110},
    {"可补单数量", GV::ColumnInteger, RIGHT, 130},
    {"补单数量", GV::ColumnInteger, RIGHT, 140},
};

std::vector<GV::SColumn> tableColumns() {
  std::vector<GV::SColumn> columns;
  for (const SPatchColumn& entry : COLUMNS) {
    GV::SColumn column;
    column.title = QString::fromUtf8(entry.title);
    column.kind = entry.kind;
    column.alignment = entry.alignment;
    column.width = entry.width;
    columns.push_back(column);
  }
  return columns;
}

}  // namespace

CHpfOpPatchConfirmData::CHpfOpPatchConfirmData(QString key, const GV::IBaseHpfTableModel* model, int flags)
    : m_nFlags(flags), m_strKey(std::move(key)), m_pModel(model) {}

QString CHpfOpPatchConfirmData::text(int column) const {
  return m_pModel->columnKind(column) == GV::ColumnInteger ? displayText(column) : stringValue(column);
}

const QColor* CHpfOpPatchConfirmData::textColor(int /*column*/) const {
  return GV::CUiResource::getColor(QStringLiteral("clr_text_default"));
}

QString CHpfOpPatchConfirmData::displayText(int column) const {
  return m_pModel->columnKind(column) == GV::ColumnInteger ? QString::number(intValue(column)) : QString();
}

QString CHpfOpPatchConfirmData::stringValue(int column) const {
  switch (column) {
    case PatchColumnAccount:
      return m_param.m_pAccount ? accountDisplayIDQs(*m_param.m_pAccount) : QString();
    case PatchColumnMarket:
      return GV::sToQs(m_param.m_stock.m_strMarket);
    case PatchColumnCode:
      return GV::sToQs(m_param.m_stock.m_strCode);
    case PatchColumnName:
      return GV::sToQs(m_param.m_stock.m_strName);
    case PatchColumnOperation:
      return operationToString(m_param.m_nOperation);
    default:
      return displayText(column);
  }
}

int CHpfOpPatchConfirmData::intValue(int column) const {
  if (column == PatchColumnAvailable) return m_nAvailable;
  return column == PatchColumnQuantity ? m_nPatchNum : ksservice::UNSET_INT;
}

double CHpfOpPatchConfirmData::doubleValue(int /*column*/) const { return std::numeric_limits<double>::max(); }

qint64 CHpfOpPatchConfirmData::int64Value(int /*column*/) const { return std::numeric_limits<qint64>::max(); }

void CHpfOpPatchConfirmData::setPatchNum(int number) {
  m_nPatchNum = number;
  m_param.m_nVolume = number;
}

CHpfOpPatchConfirmTableModel::CHpfOpPatchConfirmTableModel(QObject* parent)
    : CStandardHpfTableModel(tableColumns(), parent) {}

void CHpfOpPatchConfirmTableModel::setData(const std::vector<DataPtr>& data) {
  m_data = data;
  setRows({data.begin(), data.end()});
}

CHpfOpPatchConfirmTableModel::DataPtr CHpfOpPatchConfirmTableModel::find(const QString& key) const {
  for (const DataPtr& row : m_data) {
    if (row->key() == key) return row;
  }
  return nullptr;
}

const QColor* CHpfOpPatchConfirmTableModel::backgroundColor(int position) const {
  return GV::CUiResource::getColor(position % 2 != 0 ? QStringLiteral("clr_table_background2")
                                                     : QStringLiteral("clr_table_background"));
}

}  // namespace TC
