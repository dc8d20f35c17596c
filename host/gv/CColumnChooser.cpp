#include "gv/CColumnChooser.h"

#include <QHeaderView>
#include <algorithm>
#include <boost/make_shared.hpp>

#include "gv/CDialogButtonRow.h"
#include "gv/CStandardHpfTable.h"
#include "gv/CVerticalWidgetList.h"
#include "gv/Controls.h"
#include "gv/Scaling.h"

namespace GV {
namespace {

enum EButton : int { ID_UP = 0, ID_DOWN = 1, ID_ACCEPT = 2, ID_CANCEL = 3 };

constexpr int SHOWN_COLUMN = 0;
constexpr int TITLE_COLUMN = 1;
constexpr QSize BUTTON_SIZE(56, 26);

std::vector<SColumn> listColumns() {
  std::vector<SColumn> columns(2);
  columns[SHOWN_COLUMN].title = QStringLiteral("显示");
  columns[SHOWN_COLUMN].kind = ColumnDelegate;
  columns[SHOWN_COLUMN].alignment = Qt::AlignCenter;
  columns[SHOWN_COLUMN].width = 48;
  columns[TITLE_COLUMN].title = QStringLiteral("列");
  columns[TITLE_COLUMN].width = 240;
  return columns;
}

}  // namespace

struct CColumnChooser::SRow : IBaseHpfTableData {
  SRow(int index, const QString& name) : m_nColumn(index), m_strTitle(name) {}
  QString key() const override { return m_strTitle; }
  QString text(int column) const override { return column == TITLE_COLUMN ? m_strTitle : QString(); }

  int m_nColumn;
  QString m_strTitle;
};

CColumnChooser::CColumnChooser(CBaseHighPerformanceTable& table, QWidget* parent)
    : CCommonDialog(parent),
      m_table(table),
      m_pList(new CStandardHpfTable(this)),
      m_pModel(new CStandardHpfTableModel(listColumns(), m_pList)),
      m_pShown(new CBaseTableColumnCheckBoxDelegate(this)) {
  setWindowTitle(QStringLiteral("显示列设置"));
  setScaledWindowSize(*this, {300, 460});
  m_pList->setDataModel(m_pModel);
  m_pList->setCheckBoxColumn(SHOWN_COLUMN, m_pShown);
  m_pList->setOptions(m_pList->options() & ~CBaseHighPerformanceTable::OptionColumnMenu);
  m_pList->header()->setSectionsClickable(false);  // the order of the rows is what is chosen here
  auto* list = CVerticalWidgetList::fill(this);
  list->addWidget(m_pList, true);
  list->addWidget(createButtons());
  createRows();
}

bool CColumnChooser::choose(CBaseHighPerformanceTable& table, QWidget* parent) {
  CColumnChooser chooser(table, parent);
  return chooser.exec() == Accepted;
}

/// In the order in which the columns stand in the table.
void CColumnChooser::createRows() {
  std::vector<CStandardHpfTableModel::RowPtr> rows;
  for (int visual = 0; visual < m_table.header()->count(); ++visual) {
    const int column = m_table.header()->logicalIndex(visual);
    const QString title = m_table.columnHeader(column).trimmed();
    rows.emplace_back(boost::make_shared<SRow>(column, title));
    m_pShown->setItemVisible(title, true);
    m_pShown->setItemEnabled(title, m_table.baseModel()->columnKind(column) != ColumnTree);
    m_pShown->setItemChecked(title, m_table.isColumnVisible(column));
  }
  m_pModel->setRows(std::move(rows));
  if (m_pModel->rowCount() > 0) m_pList->setCurrentKey(m_pModel->rowAt(0).key());
  checkAccept();
}

QWidget* CColumnChooser::createButtons() {
  auto* bottom = new CDialogButtonRow(this);
  bottom->addButton(ID_UP, QStringLiteral("上移"), BUTTON_SIZE);
  bottom->addButton(ID_DOWN, QStringLiteral("下移"), BUTTON_SIZE);
  bottom->addStretch();
  m_pAccept = bottom->addButton(ID_ACCEPT, QStringLiteral("确定"), BUTTON_SIZE);
  m_pAccept->setDefault(true);
  bottom->addButton(ID_CANCEL, QStringLiteral("取消"), BUTTON_SIZE);
  return bottom;
}

bool CColumnChooser::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  if (eventId == EventDialogCheckBox) checkAccept();
  if (eventId != EventButtonClicked) return CCommonDialog::handleEvent(eventId, id, value, key, payload);
  if (id == ID_UP || id == ID_DOWN) moveCurrent(id == ID_UP ? -1 : 1);
  if (id == ID_ACCEPT) {
    apply();
    accept();
  }
  if (id == ID_CANCEL) reject();
  return true;
}

void CColumnChooser::moveCurrent(int by) {
  const QString key = m_pList->currentKey();
  const int from = m_pModel->positionOf(key);
  const int to = from + by;
  if (from < 0 || to < 0 || to >= m_pModel->rowCount()) return;
  std::vector<CStandardHpfTableModel::RowPtr> rows = m_pModel->rows();
  std::swap(rows[static_cast<std::size_t>(from)], rows[static_cast<std::size_t>(to)]);
  m_pModel->setRows(std::move(rows));
  m_pList->setCurrentKey(key);
}

void CColumnChooser::apply() {
  QHeaderView* header = m_table.header();
  int visual = 0;
  for (const CStandardHpfTableModel::RowPtr& row : m_pModel->rows()) {
    const int column = static_cast<const SRow&>(*row).m_nColumn;
    header->moveSection(header->visualIndex(column), visual++);
    m_table.setColumnVisible(column, m_pShown->isItemChecked(row->key()));
  }
}

/// A table without columns could not be read.
void CColumnChooser::checkAccept() {
  const auto& rows = m_pModel->rows();
  m_pAccept->setEnabled(std::any_of(rows.begin(), rows.end(), [this](const CStandardHpfTableModel::RowPtr& row) {
    return m_pShown->isItemChecked(row->key());
  }));
}

}  // namespace GV
