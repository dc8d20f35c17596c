#include "CLineModel.h"

#include <algorithm>
#include <array>

#include "LineTexts.h"
#include "gv/CUiResource.h"
#include "gv/PlainText.h"
#include "gv/SColumn.h"

namespace preview {
namespace {

using GV::CUiResource;

struct SLineColumn {
  const char* m_pTitle;
  int m_nWidth;  ///< pixels at scale 1
  int m_nAlignment;
  bool m_bEditable;
};

constexpr std::array<SLineColumn, LineColumnCount> COLUMNS{{{"", 26, GV::AlignCentre, false},
                                                            {"行号", 42, GV::AlignRight, false},
                                                            {"市场", 40, GV::AlignLeft, false},
                                                            {"代码", 62, GV::AlignLeft, true},
                                                            {"名称", 78, GV::AlignLeft, false},
                                                            {"方向", 42, GV::AlignLeft, true},
                                                            {"数量", 80, GV::AlignRight, true},
                                                            {"单位", 40, GV::AlignLeft, false},
                                                            {"委托数量", 76, GV::AlignRight, false},
                                                            {"限价", 58, GV::AlignRight, true},
                                                            {"现价", 58, GV::AlignRight, false},
                                                            {"金额", 84, GV::AlignRight, false},
                                                            {"说明", 200, GV::AlignLeft, false}}};

const SLineColumn& columnAt(int column) { return COLUMNS[static_cast<std::size_t>(column)]; }

QString priceText(double price, const draft::SMarketFacts& facts) {
  return price > 0 ? QString::number(price, 'f', facts.m_rules.m_nTicksPerUnit >= 100 ? 2 : 1) : QString();
}

bool hasLevel(const std::vector<draft::SFinding>& findings, draft::ELevel level) {
  return !findings.empty() && findings.front().m_level == level;
}

}  // namespace

CLineModel::CLineModel(CDraft& draft, QObject* parent) : QAbstractTableModel(parent), m_draft(draft) {
  connect(&draft, &CDraft::sigLinesReset, this, [this] {
    beginResetModel();
    endResetModel();
  });
  connect(&draft, &CDraft::sigJudged, this, [this] {
    if (rowCount() > 0) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, LineColumnCount - 1));
  });
}

int CLineModel::widthOf(int column) { return columnAt(column).m_nWidth; }

/// Of lines that were added a moment ago nothing is known yet.
const std::vector<draft::SFinding>& CLineModel::findings(int row) const {
  static const std::vector<draft::SFinding> none;
  const auto& all = m_draft.judgement().m_findings;
  return static_cast<std::size_t>(row) < all.size() ? all[static_cast<std::size_t>(row)] : none;
}

bool CLineModel::isShown(int row, ELineFilter filter) const {
  switch (filter) {
    case ELineFilter::All:
      return true;
    case ELineFilter::Errors:
      return line(row).m_line.m_bChecked && hasLevel(findings(row), draft::ELevel::Error);
    case ELineFilter::Warnings:
      return line(row).m_line.m_bChecked && hasLevel(findings(row), draft::ELevel::Warning);
    case ELineFilter::Changed:
      return !line(row).m_strChange.isEmpty();
    case ELineFilter::Unchecked:
      return !line(row).m_line.m_bChecked;
  }
  return true;
}

int CLineModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_draft.deal().m_lines.size());
}

int CLineModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : int(LineColumnCount); }

QString CLineModel::text(int row, int column) const {
  const draft::SLine& own = line(row).m_line;
  const draft::SMarketFacts& facts = m_draft.facts(row);
  switch (column) {
    case LineSource:
      return own.m_nSourceLine > 0 ? QString::number(own.m_nSourceLine) : QString();
    case LineMarket:
      return QString::fromStdString(own.m_strMarket);
    case LineCode:
      return QString::fromStdString(own.m_strCode);
    case LineName:
      return QString::fromStdString(facts.m_bListed ? facts.m_strName : own.m_strName);
    case LineSide:
      return sideText(own.m_side);
    case LineQuantity:
      return numberText(own.m_dQuantity);
    case LineMeasure:
      return measureText(own.m_measure);
    case LineShares: {
      const int shares = m_draft.deal().m_lines[static_cast<std::size_t>(row)].m_nQuantity;
      return shares > 0 ? sharesText(shares) : QString();
    }
    case LinePrice:
      return own.m_dPrice < 0 ? QStringLiteral("?") : numberText(own.m_dPrice);
    case LineLast:
      return priceText(facts.price(), facts);
    case LineAmount:
      return m_draft.amountOf(row) > 0 ? amountText(m_draft.amountOf(row)) : QString();
    case LineVerdict:
      return verdict(row);
    default:
      return {};
  }
}

QString CLineModel::verdict(int row) const {
  QStringList texts;
  for (const draft::SFinding& finding : findings(row)) texts << QString::fromStdString(finding.m_strText);
  if (!m_draft.candidates(row).empty()) {
    texts << QStringLiteral("可能是 %1（双击选择）").arg(m_draft.securityText(m_draft.candidates(row).front()));
  }
  if (!line(row).m_strChange.isEmpty()) texts << line(row).m_strChange;
  return texts.join(QStringLiteral("；"));
}

QVariant CLineModel::sortValue(int row, int column) const {
  const draft::SLine& own = line(row).m_line;
  switch (column) {
    case LineCheck:
      return own.m_bChecked;
    case LineSource:
      return own.m_nSourceLine;
    case LineQuantity:
      return own.m_dQuantity;
    case LineShares:
      return m_draft.deal().m_lines[static_cast<std::size_t>(row)].m_nQuantity;
    case LinePrice:
      return own.m_dPrice;
    case LineLast:
      return m_draft.facts(row).price();
    case LineAmount:
      return m_draft.amountOf(row);
    default:
      return text(row, column);
  }
}

QString CLineModel::toolTip(int row, int column) const {
  if (column == LineVerdict) return verdict(row);
  if (column == LineSource) return QString::fromStdString(line(row).m_strRead);
  if (column != LineShares) return {};
  QStringList parts;
  for (const draft::SDealPart& part : m_draft.deal().m_lines[static_cast<std::size_t>(row)].m_parts) {
    const draft::SAccountFacts& account = m_draft.accounts()[static_cast<std::size_t>(part.m_nAccount)];
    parts << QStringLiteral("%1  %2").arg(QString::fromStdString(account.m_strText), sharesText(part.m_nQuantity));
  }
  return parts.join(QLatin1Char('\n'));
}

QColor CLineModel::textColour(int row, int column) const {
  const bool checked = line(row).m_line.m_bChecked;
  if (!checked) return *CUiResource::getColor(QStringLiteral("clr_text_title"));
  if (column == LineVerdict && hasLevel(findings(row), draft::ELevel::Error)) {
    return *CUiResource::getColor(QStringLiteral("clr_text_warning"));
  }
  if (column == LineVerdict && hasLevel(findings(row), draft::ELevel::Warning)) {
    return *CUiResource::getColor(QStringLiteral("clr_text_caution"));
  }
  return {};
}

QVariant CLineModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const int row = index.row();
  const int column = index.column();
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return text(row, column);
    case SortRole:
      return sortValue(row, column);
    case Qt::TextAlignmentRole:
      return columnAt(column).m_nAlignment;
    case Qt::ToolTipRole:
      return GV::plainTip(toolTip(row, column));
    case Qt::ForegroundRole: {
      const QColor colour = textColour(row, column);
      return colour.isValid() ? QVariant(colour) : QVariant();
    }
    case Qt::CheckStateRole:
      return column == LineCheck ? QVariant(line(row).m_line.m_bChecked ? Qt::Checked : Qt::Unchecked) : QVariant();
    default:
      return {};
  }
}

QVariant CLineModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::DisplayRole) return QString::fromUtf8(columnAt(section).m_pTitle);
  return role == Qt::TextAlignmentRole ? QVariant(columnAt(section).m_nAlignment) : QVariant();
}

Qt::ItemFlags CLineModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (index.column() == LineCheck) flags |= Qt::ItemIsUserCheckable;
  if (columnAt(index.column()).m_bEditable) flags |= Qt::ItemIsEditable;
  return flags;
}

bool CLineModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid()) return false;
  if (role == Qt::CheckStateRole && index.column() == LineCheck) {
    m_draft.setChecked({index.row()}, value.toInt() == Qt::Checked);
    return true;
  }
  return role == Qt::EditRole && edit(index.row(), index.column(), value.toString());
}

/// What cannot be read as a number leaves no quantity, or an unread limit, which the verdict tells.
bool CLineModel::edit(int row, int column, const QString& text) {
  if (text == this->text(row, column)) return false;
  draft::SLine changed = line(row).m_line;
  switch (column) {
    case LineCode:
      m_draft.setCode(row, text);
      return true;
    case LineSide:
      changed.m_side = sideOf(text);
      break;
    case LineQuantity:
      changed.m_dQuantity = std::max(0.0, numberOf(text));
      if (changed.m_measure == basket::EMeasure::None) changed.m_measure = basket::EMeasure::Shares;
      break;
    case LinePrice:
      changed.m_dPrice = numberOf(text);
      if (changed.m_dPrice < 0) changed.m_dPrice = draft::UNREAD_PRICE;
      break;
    default:
      return false;
  }
  m_draft.setLine(row, changed);
  return true;
}

}  // namespace preview
