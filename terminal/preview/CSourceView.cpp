#include "CSourceView.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "gv/CUiResource.h"
#include "gv/PlainText.h"
#include "gv/Scaling.h"

namespace preview {
namespace {

using basket::ERole;
using GV::CUiResource;

constexpr int ROW_HEIGHT = 22;
constexpr int COLUMN_WIDTH = 110;

struct SRoleText {
  ERole m_role;
  const char* m_pText;
};

constexpr std::array<SRoleText, 9> ROLES{{{ERole::None, "不用"},
                                          {ERole::Market, "市场"},
                                          {ERole::Code, "代码"},
                                          {ERole::Name, "名称"},
                                          {ERole::Side, "方向"},
                                          {ERole::Quantity, "数量"},
                                          {ERole::Amount, "金额"},
                                          {ERole::Weight, "权重"},
                                          {ERole::Price, "限价"}}};

QString unitText(basket::EUnit unit) {
  switch (unit) {
    case basket::EUnit::One:
      return {};
    case basket::EUnit::Lots:
      return QStringLiteral("（手）");
    case basket::EUnit::TenThousand:
      return QStringLiteral("（万）");
    case basket::EUnit::Percent:
      return QStringLiteral("（%）");
  }
  return {};
}

}  // namespace

QString roleText(ERole role) {
  const auto found =
      std::find_if(ROLES.begin(), ROLES.end(), [role](const SRoleText& each) { return each.m_role == role; });
  return found == ROLES.end() ? QString() : QString::fromUtf8(found->m_pText);
}

CSheetModel::CSheetModel(CDraft& draft, QObject* parent) : QAbstractTableModel(parent), m_draft(draft) {
  connect(&draft, &CDraft::sigSourceChanged, this, [this] {
    beginResetModel();
    m_reasons.clear();
    for (const basket::SLeftOut& row : m_draft.leftOut()) {
      m_reasons[row.m_nLine] = QString::fromStdString(row.m_strReason);
    }
    endResetModel();
  });
}

/// Prose has one cell a row and no columns to choose.
int CSheetModel::cellCount() const { return std::max(1, static_cast<int>(columns().size())); }

int CSheetModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() || !m_draft.hasSource() ? 0 : static_cast<int>(m_draft.sheet().m_rows.size());
}

int CSheetModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : cellCount() + 1; }

QVariant CSheetModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const basket::SSheetRow& row = m_draft.sheet().m_rows[static_cast<std::size_t>(index.row())];
  const auto reason = m_reasons.find(row.m_nLine);
  const bool isHeader = index.row() == m_draft.state().m_layout.m_nHeader;
  if (role == Qt::ForegroundRole) {
    const bool quiet = isHeader || reason != m_reasons.end();
    return quiet ? QVariant(*CUiResource::getColor(QStringLiteral("clr_text_title"))) : QVariant();
  }
  if (role == Qt::ToolTipRole) return GV::plainTip(data(index, Qt::DisplayRole).toString());
  if (role != Qt::DisplayRole) return {};
  if (index.column() == cellCount()) {
    if (isHeader) return QStringLiteral("表头");
    return reason == m_reasons.end() ? QString() : reason->second;
  }
  const auto cell = static_cast<std::size_t>(index.column());
  return cell < row.m_cells.size() ? QString::fromStdString(row.m_cells[cell]) : QString();
}

QVariant CSheetModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Vertical) {
    return m_draft.hasSource() ? m_draft.sheet().m_rows[static_cast<std::size_t>(section)].m_nLine : section + 1;
  }
  if (section == cellCount()) return QStringLiteral("未读入的原因");
  if (columns().empty()) return QStringLiteral("文字");
  const basket::SColumn& column = columns()[static_cast<std::size_t>(section)];
  return roleText(column.m_role) + unitText(column.m_unit) + QStringLiteral(" ▾");
}

CSourceView::CSourceView(CDraft& draft, CDraftStore& store, QWidget* parent)
    : QWidget(parent),
      m_draft(draft),
      m_store(store),
      m_pSheets(new QComboBox(this)),
      m_pSaved(new QComboBox(this)),
      m_pNote(new QLabel(this)),
      m_pTable(new QTableView(this)) {
  m_pTable->setModel(new CSheetModel(draft, this));
  m_pTable->setAccessibleName(QStringLiteral("来源"));
  m_pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
  m_pTable->setAlternatingRowColors(true);
  m_pTable->setWordWrap(false);
  m_pTable->horizontalHeader()->setSectionsClickable(true);
  m_pTable->horizontalHeader()->setStretchLastSection(true);
  m_pTable->horizontalHeader()->setHighlightSections(false);
  m_pTable->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  m_pNote->setTextFormat(Qt::PlainText);
  auto* top = new QHBoxLayout;
  top->addWidget(m_pSheets);
  top->addWidget(m_pNote, 1);
  m_pSheets->setAccessibleName(QStringLiteral("工作表"));
  m_pSaved->setAccessibleName(QStringLiteral("已存的列方案"));
  m_pSaved->view()->setAccessibleName(QStringLiteral("已存的列方案"));
  m_pSheets->view()->setAccessibleName(QStringLiteral("工作表"));
  m_pSaved->setPlaceholderText(QStringLiteral("已存的列方案"));
  m_pSaved->addItems(store.layoutNames());
  m_pSaved->setCurrentIndex(-1);
  m_pSaved->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  auto* save = new QPushButton(QStringLiteral("另存"), this);
  save->setAutoDefault(false);
  GV::setScaledFixedWidth(*save, 48);
  top->addWidget(m_pSaved);
  top->addWidget(save);
  auto* layout = new QVBoxLayout(this);
  GV::setScaledMargins(*layout, {0, 6, 0, 0});
  GV::setScaledSpacing(*layout, 6);
  layout->addLayout(top);
  layout->addWidget(m_pTable, 1);
  GV::followScale(*this, [this] {
    m_pTable->verticalHeader()->setDefaultSectionSize(CUiResource::scaled(ROW_HEIGHT));
    m_pTable->horizontalHeader()->setDefaultSectionSize(CUiResource::scaled(COLUMN_WIDTH));
  });
  connect(m_pTable->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int column) { chooseRole(column); });
  connect(m_pSheets, qOverload<int>(&QComboBox::activated), this, [this](int sheet) { m_draft.setSheet(sheet); });
  connect(m_pSaved, qOverload<int>(&QComboBox::activated), this,
          [this] { m_draft.useRolesOf(m_store.layout(m_pSaved->currentText())); });
  connect(save, &QPushButton::clicked, this, [this] { saveLayout(); });
  connect(&draft, &CDraft::sigSourceChanged, this, [this] { showSource(); });
  showSource();
}

void CSourceView::showSource() {
  m_pSheets->clear();
  for (const basket::SSheet& sheet : m_draft.source().m_sheets) {
    m_pSheets->addItem(QString::fromStdString(sheet.m_strName));
  }
  m_pSheets->setCurrentIndex(m_draft.state().m_nSheet);
  m_pSheets->setVisible(m_draft.source().m_sheets.size() > 1);
  const std::size_t leftOut = m_draft.leftOut().size();
  QString note = QStringLiteral("点列头改列的含义，同样表头的文件下次照此读入。");
  if (leftOut > 0) note += QStringLiteral(" 有 %1 行不是篮子的行，没有读入。").arg(leftOut);
  if (!m_draft.hasSource()) note = QStringLiteral("没有来源：打开文件、拖入文件或粘贴文字。");
  m_pNote->setText(note);
}

void CSourceView::setRole(int column, ERole role) {
  m_draft.setRole(column, role);
  m_store.rememberLayout(m_draft.state().m_layout);
}

void CSourceView::saveLayout() {
  bool good = false;
  const QString name = QInputDialog::getText(this, QStringLiteral("另存列方案"), QStringLiteral("名称"),
                                             QLineEdit::Normal, m_pSaved->currentText(), &good)
                           .trimmed();
  if (!good || name.isEmpty() || !m_draft.hasSource()) return;
  m_store.saveLayout(name, m_draft.state().m_layout);
  m_pSaved->clear();
  m_pSaved->addItems(m_store.layoutNames());
  m_pSaved->setCurrentText(name);
}

void CSourceView::chooseRole(int column) {
  const auto& columns = m_draft.state().m_layout.m_columns;
  if (!m_draft.hasSource() || column >= static_cast<int>(columns.size())) return;
  QMenu menu(this);
  for (const SRoleText& each : ROLES) {
    QAction* action = menu.addAction(QString::fromUtf8(each.m_pText));
    action->setCheckable(true);
    action->setChecked(columns[static_cast<std::size_t>(column)].m_role == each.m_role);
    connect(action, &QAction::triggered, this, [this, column, role = each.m_role] { setRole(column, role); });
  }
  const QHeaderView& header = *m_pTable->horizontalHeader();
  menu.exec(header.mapToGlobal(QPoint(header.sectionViewportPosition(column), header.height())));
}

}  // namespace preview
