#include "gv/TableAccessibility.h"

#include <QAccessibleWidget>
#include <QHeaderView>
#include <QPointer>
#include <algorithm>

#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CStandardHpfTable.h"

namespace GV {

namespace {

constexpr int kNoButton = -1;
/// Interfaces that a reader asked for are kept up to this number; then it must ask again.
constexpr int kMaxInterfaces = 20000;

class CTableAccessible;

/// A cell, or with an id a button of it. Named by its row's key, so that it stays right when rows come and go.
class CPartAccessible : public QAccessibleInterface,
                        public QAccessibleTableCellInterface,
                        public QAccessibleActionInterface {
 public:
  CPartAccessible(CTableAccessible& owner, CBaseHighPerformanceTable* table, const QString& key, int column, int button)
      : m_owner(owner), m_pTable(table), m_strKey(key), m_nColumn(column), m_nButton(button) {}

  bool isValid() const override { return m_pTable != nullptr && row() >= 0; }
  QObject* object() const override { return nullptr; }
  QAccessibleInterface* parent() const override;
  QAccessibleInterface* child(int index) const override;
  int childCount() const override { return static_cast<int>(shownButtons().size()); }
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  QString text(QAccessible::Text kind) const override;
  void setText(QAccessible::Text kind, const QString& text) override;
  QRect rect() const override;
  QAccessible::Role role() const override;
  QAccessible::State state() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  bool isSelected() const override { return m_pTable->isSelected(m_strKey); }
  QList<QAccessibleInterface*> columnHeaderCells() const override { return {}; }
  QList<QAccessibleInterface*> rowHeaderCells() const override { return {}; }
  int columnIndex() const override { return m_nColumn; }
  int rowIndex() const override { return row(); }
  int columnExtent() const override { return 1; }
  int rowExtent() const override { return 1; }
  QAccessibleInterface* table() const override;

  QStringList actionNames() const override;
  void doAction(const QString& name) override;
  QStringList keyBindingsForAction(const QString& /*name*/) const override { return {}; }

 private:
  bool isButton() const { return m_nButton != kNoButton; }
  int row() const { return m_pTable->baseModel()->positionOf(m_strKey); }
  CBaseTableColumnMultiButtonsDelegate* buttons() const {
    return qobject_cast<CBaseTableColumnMultiButtonsDelegate*>(m_pTable->columnDelegate(m_nColumn));
  }
  std::vector<STableButton> shownButtons() const;
  bool hasFocus() const;
  CHpfTreeTable* foldable() const;
  CBaseTableColumnCheckBoxDelegate* checkBox() const;
  CStandardHpfTable* editable() const;

  CTableAccessible& m_owner;
  QPointer<CBaseHighPerformanceTable> m_pTable;
  QString m_strKey;
  int m_nColumn;
  int m_nButton;
};

class CTableAccessible : public QAccessibleWidget, public QAccessibleTableInterface {
 public:
  explicit CTableAccessible(CBaseHighPerformanceTable* table) : QAccessibleWidget(table, QAccessible::Tree) {}
  ~CTableAccessible() override { forget(); }
  CTableAccessible(const CTableAccessible&) = delete;
  CTableAccessible& operator=(const CTableAccessible&) = delete;

  CBaseHighPerformanceTable& gvTable() const { return *static_cast<CBaseHighPerformanceTable*>(widget()); }
  QAccessibleInterface* part(const QString& key, int column, int button) const;

  int childCount() const override { return rowCount() * columnCount(); }
  QAccessibleInterface* child(int index) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  QAccessibleInterface* focusChild() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  QAccessibleInterface* caption() const override { return nullptr; }
  QAccessibleInterface* summary() const override { return nullptr; }
  QAccessibleInterface* cellAt(int row, int column) const override;
  int selectedCellCount() const override { return selectedRowCount() * columnCount(); }
  QList<QAccessibleInterface*> selectedCells() const override;
  QString columnDescription(int column) const override { return gvTable().columnHeader(column).trimmed(); }
  QString rowDescription(int row) const override { return gvTable().itemText(row, 0); }
  int selectedColumnCount() const override { return 0; }
  int selectedRowCount() const override { return static_cast<int>(gvTable().baseModel()->selectedPositions().size()); }
  int columnCount() const override;
  int rowCount() const override { return gvTable().rowCount(); }
  QList<int> selectedColumns() const override { return {}; }
  QList<int> selectedRows() const override;
  bool isColumnSelected(int /*column*/) const override { return false; }
  bool isRowSelected(int row) const override { return hasRow(row) && gvTable().baseModel()->isSelectedAt(row); }
  bool selectRow(int row) override;
  bool selectColumn(int /*column*/) override { return false; }
  bool unselectRow(int row) override;
  bool unselectColumn(int /*column*/) override { return false; }
  void modelChange(QAccessibleTableModelChangeEvent* /*event*/) override {}

 private:
  bool hasRow(int row) const { return row >= 0 && row < rowCount(); }
  QString keyOf(int row) const { return gvTable().baseModel()->rowAt(row).key(); }
  void forget() const;

  mutable QHash<QString, QAccessible::Id> m_parts;
};

// A cell or button

std::vector<STableButton> CPartAccessible::shownButtons() const {
  const CBaseTableColumnMultiButtonsDelegate* delegate = isButton() ? nullptr : buttons();
  return delegate == nullptr ? std::vector<STableButton>() : delegate->shownButtons(m_strKey);
}

/// While the row stands for itself, its first cell has the focus.
bool CPartAccessible::hasFocus() const {
  return m_pTable->hasFocus() && m_pTable->currentKey() == m_strKey &&
         std::max(m_pTable->currentColumn(), 0) == m_nColumn && m_pTable->currentButton() == m_nButton;
}

/// The table when this is the tree cell of a row that has rows below it.
CHpfTreeTable* CPartAccessible::foldable() const {
  auto* tree = qobject_cast<CHpfTreeTable*>(m_pTable.data());
  if (tree == nullptr || tree->baseModel()->columnKind(m_nColumn) != ColumnTree) return nullptr;
  const STreeRow row = tree->dataModel()->find(m_strKey);
  return row.isValid() && tree->dataModel()->tree().hasChildren(row) ? tree : nullptr;
}

/// The column's boxes when this is a cell with one.
CBaseTableColumnCheckBoxDelegate* CPartAccessible::checkBox() const {
  auto* boxes = qobject_cast<CBaseTableColumnCheckBoxDelegate*>(m_pTable->columnDelegate(m_nColumn));
  return boxes != nullptr && boxes->isItemVisible(m_strKey) ? boxes : nullptr;
}

/// The table when this is a cell that the user can edit.
CStandardHpfTable* CPartAccessible::editable() const {
  const auto* edits = qobject_cast<CBaseTableColumnLineEditDelegate*>(m_pTable->columnDelegate(m_nColumn));
  return edits != nullptr && edits->isItemVisible(m_strKey) ? qobject_cast<CStandardHpfTable*>(m_pTable.data())
                                                            : nullptr;
}

QAccessibleInterface* CPartAccessible::parent() const {
  return isButton() ? m_owner.part(m_strKey, m_nColumn, kNoButton) : &m_owner;
}

QAccessibleInterface* CPartAccessible::table() const { return &m_owner; }

QAccessibleInterface* CPartAccessible::child(int index) const {
  const std::vector<STableButton> shown = shownButtons();
  if (index < 0 || index >= static_cast<int>(shown.size())) return nullptr;
  return m_owner.part(m_strKey, m_nColumn, shown[static_cast<std::size_t>(index)].id);
}

int CPartAccessible::indexOfChild(const QAccessibleInterface* child) const {
  for (int index = 0; index < childCount(); ++index) {
    if (this->child(index) == child) return index;
  }
  return -1;
}

QAccessibleInterface* CPartAccessible::childAt(int x, int y) const {
  for (int index = 0; index < childCount(); ++index) {
    if (child(index)->rect().contains(x, y)) return child(index);
  }
  return nullptr;
}

QString CPartAccessible::text(QAccessible::Text kind) const {
  if (!isValid()) return {};
  if (kind == QAccessible::Description) return m_pTable->columnHeader(m_nColumn).trimmed();
  if (kind == QAccessible::Value && editable() != nullptr) return m_pTable->itemText(row(), m_nColumn);
  if (kind != QAccessible::Name) return {};
  if (checkBox() != nullptr) return m_pTable->columnHeader(m_nColumn).trimmed();
  if (!isButton()) return m_pTable->itemText(row(), m_nColumn);
  for (const STableButton& button : buttons()->itemButtons(m_strKey)) {
    if (button.id == m_nButton) return button.text;
  }
  return {};
}

/// As if the user had typed the text into the cell's editor.
void CPartAccessible::setText(QAccessible::Text kind, const QString& text) {
  if (!isValid() || m_pTable->isUiLocked() || (kind != QAccessible::Value && kind != QAccessible::Name)) return;
  if (CStandardHpfTable* table = editable()) table->editRow(m_strKey, text);
}

QRect CPartAccessible::rect() const {
  if (!isValid()) return {};
  const QRect cell = m_pTable->cellRect(row(), m_nColumn);
  const QRect place = isButton() ? buttons()->buttonRect(m_strKey, m_nButton, cell) : cell;
  return {m_pTable->viewport()->mapToGlobal(place.topLeft()), place.size()};
}

QAccessible::Role CPartAccessible::role() const {
  if (isButton()) return QAccessible::PushButton;
  if (!isValid()) return QAccessible::Cell;
  if (checkBox() != nullptr) return QAccessible::CheckBox;
  if (editable() != nullptr) return QAccessible::EditableText;
  return m_pTable->baseModel()->columnKind(m_nColumn) == ColumnTree ? QAccessible::TreeItem : QAccessible::Cell;
}

QAccessible::State CPartAccessible::state() const {
  QAccessible::State state;
  if (!isValid()) {
    state.invalid = true;
    return state;
  }
  const QRect cell = m_pTable->cellRect(row(), m_nColumn);
  state.invisible = !m_pTable->isColumnVisible(m_nColumn);
  state.offscreen = !cell.intersects(m_pTable->viewport()->rect());
  if (isButton()) {
    state.disabled = m_pTable->isUiLocked() || !buttons()->getIsItemButtonEnabled(m_strKey, m_nButton);
    state.focusable = true;
    state.focused = hasFocus();
    return state;
  }
  state.selectable = true;
  state.selected = isSelected();
  state.focusable = true;
  state.focused = hasFocus();
  state.editable = editable() != nullptr;
  state.readOnly = !state.editable;
  if (const CBaseTableColumnCheckBoxDelegate* boxes = checkBox()) {
    state.checkable = true;
    state.checked = boxes->isItemChecked(m_strKey);
    state.disabled = m_pTable->isUiLocked() || !boxes->isItemEnabled(m_strKey);
  }
  if (CHpfTreeTable* tree = foldable()) {
    state.expandable = true;
    state.expanded = tree->isExpanded(m_strKey);
    state.collapsed = !state.expanded;
  }
  return state;
}

void* CPartAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TableCellInterface && !isButton()) return static_cast<QAccessibleTableCellInterface*>(this);
  if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
  return nullptr;
}

QStringList CPartAccessible::actionNames() const {
  if (isButton()) return {pressAction()};
  if (editable() != nullptr) return {pressAction(), setFocusAction()};
  return foldable() != nullptr || checkBox() != nullptr ? QStringList{toggleAction(), setFocusAction()}
                                                        : QStringList{setFocusAction()};
}

void CPartAccessible::doAction(const QString& name) {
  if (!isValid() || m_pTable->isUiLocked()) return;
  CHpfTreeTable* tree = foldable();
  if (isButton() && name == pressAction()) {
    buttons()->clickButton(m_strKey, m_nButton);
  } else if (name == pressAction() && editable() != nullptr) {
    editable()->openEditor(m_strKey);
  } else if (name == toggleAction() && checkBox() != nullptr) {
    checkBox()->toggle(m_strKey);
  } else if (name == toggleAction() && tree != nullptr) {
    tree->expandItem(m_strKey, !tree->isExpanded(m_strKey));
  } else if (name == setFocusAction()) {
    m_pTable->setCurrentKey(m_strKey);
  }
}

// The table

int CTableAccessible::columnCount() const {
  const IBaseHpfTableModel* model = gvTable().baseModel();
  return model == nullptr ? 0 : model->columnCount();
}

QAccessibleInterface* CTableAccessible::child(int index) const {
  const int columns = columnCount();
  return columns > 0 ? cellAt(index / columns, index % columns) : nullptr;
}

void CTableAccessible::forget() const {
  const QHash<QString, QAccessible::Id> parts = std::exchange(m_parts, {});
  for (const QAccessible::Id id : parts) QAccessible::deleteAccessibleInterface(id);
}

QAccessibleInterface* CTableAccessible::part(const QString& key, int column, int button) const {
  const QString name = QStringLiteral("%1/%2/").arg(column).arg(button) + key;
  const auto found = m_parts.constFind(name);
  if (found != m_parts.constEnd()) return QAccessible::accessibleInterface(*found);
  if (m_parts.size() >= kMaxInterfaces) forget();
  auto* made = new CPartAccessible(const_cast<CTableAccessible&>(*this), &gvTable(), key, column, button);
  m_parts.insert(name, QAccessible::registerAccessibleInterface(made));
  return made;
}

QAccessibleInterface* CTableAccessible::cellAt(int row, int column) const {
  const bool known = hasRow(row) && column >= 0 && column < columnCount();
  return known ? part(keyOf(row), column, kNoButton) : nullptr;
}

int CTableAccessible::indexOfChild(const QAccessibleInterface* child) const {
  const auto* cell = dynamic_cast<const CPartAccessible*>(child);
  return cell != nullptr && cell->isValid() ? cell->rowIndex() * columnCount() + cell->columnIndex() : -1;
}

QAccessibleInterface* CTableAccessible::childAt(int x, int y) const {
  const QPoint point = gvTable().viewport()->mapFromGlobal(QPoint(x, y));
  if (!gvTable().viewport()->rect().contains(point)) return nullptr;
  return cellAt(gvTable().rowAtY(point.y()), gvTable().columnAtX(point.x()));
}

QAccessibleInterface* CTableAccessible::focusChild() const {
  const int row = gvTable().baseModel() == nullptr ? -1 : gvTable().baseModel()->positionOf(gvTable().currentKey());
  QAccessibleInterface* cell = cellAt(row, std::max(gvTable().currentColumn(), 0));
  for (int index = 0; cell != nullptr && index < cell->childCount(); ++index) {
    if (cell->child(index)->state().focused) return cell->child(index);
  }
  return cell;
}

void* CTableAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TableInterface) return static_cast<QAccessibleTableInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

QList<QAccessibleInterface*> CTableAccessible::selectedCells() const {
  QList<QAccessibleInterface*> cells;
  for (const QString& key : gvTable().selectedKeys()) {
    for (int column = 0; column < columnCount(); ++column) cells.append(part(key, column, kNoButton));
  }
  return cells;
}

QList<int> CTableAccessible::selectedRows() const {
  QList<int> rows;
  for (const int row : gvTable().baseModel()->selectedPositions()) rows.append(row);
  return rows;
}

bool CTableAccessible::selectRow(int row) {
  if (!hasRow(row)) return false;
  gvTable().setCurrentKey(keyOf(row));
  return true;
}

bool CTableAccessible::unselectRow(int row) {
  if (!isRowSelected(row)) return false;
  QStringList keys = gvTable().selectedKeys();
  keys.removeAll(keyOf(row));
  gvTable().setSelectedKeys(keys);
  return true;
}

QAccessibleInterface* makeAccessible(const QString& className, QObject* object) {
  auto* table = className == QLatin1String("GV::CBaseHighPerformanceTable")
                    ? qobject_cast<CBaseHighPerformanceTable*>(object)
                    : nullptr;
  return table == nullptr ? nullptr : new CTableAccessible(table);
}

}  // namespace

void installTableAccessibility() {
  static const bool installed = [] {
    QAccessible::installFactory(makeAccessible);
    return true;
  }();
  Q_UNUSED(installed)
}

}  // namespace GV
