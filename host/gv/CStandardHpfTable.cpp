#include "gv/CStandardHpfTable.h"

#include <QAccessible>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>

namespace GV {

CStandardHpfTable::CStandardHpfTable(QWidget* parent)
    : CBaseHighPerformanceTable(parent), m_pEditor(new QLineEdit(viewport())) {
  m_pEditor->hide();
  m_pEditor->setProperty("cell", true);
  m_pEditor->installEventFilter(this);
  connect(header(), &QHeaderView::sectionPressed, this, [this] { commitEdits(); });
  connect(header(), &QHeaderView::sectionResized, this, [this] { placeEditor(); });
  connect(header(), &QHeaderView::sectionMoved, this, [this] { placeEditor(); });
}

void CStandardHpfTable::setDataModel(CStandardHpfTableModel* model) {
  closeEditor(false);
  delete m_pFlatModel;
  m_pFlatModel = model;
  model->setParent(this);
  setBaseModel(model);
  // The row of an open editor may be gone, or stand elsewhere.
  connect(model, &QAbstractItemModel::modelAboutToBeReset, this, [this] { closeEditor(false); });
}

void CStandardHpfTable::setCheckBoxColumn(int column, CBaseTableColumnCheckBoxDelegate* delegate) {
  m_pCheckBoxes = delegate;
  setColumnDelegate(column, delegate);
  connect(delegate, &CBaseTableColumnCheckBoxDelegate::sigItemToggled, this,
          [this, column](const QString& key, bool checked) {
            if (QAccessible::isActive()) {
              QAccessible::State changed;
              changed.checked = true;
              QAccessibleStateChangeEvent event(this, changed);
              event.setChild(m_pFlatModel->positionOf(key) * m_pFlatModel->columnCount() + column);
              QAccessible::updateAccessibility(&event);
            }
            CEventDeliverer::deliverEvent(this, EventDialogCheckBox, column, checked ? 1 : 0, key, nullptr);
          });
}

void CStandardHpfTable::setLineEditColumn(int column, CBaseTableColumnLineEditDelegate* delegate) {
  m_pLineEdits = delegate;
  setColumnDelegate(column, delegate);
  m_pEditor->setAccessibleName(columnHeader(column));
  connect(delegate, &CBaseTableColumnLineEditDelegate::sigEditRequested, this, &CStandardHpfTable::openEditor);
}

// The editor

bool CStandardHpfTable::openEditor(const QString& key) {
  commitEdits();
  const int row = m_pFlatModel == nullptr ? -1 : m_pFlatModel->positionOf(key);
  if (row < 0 || isUiLocked() || m_pLineEdits == nullptr || !m_pLineEdits->isItemVisible(key)) return false;
  setCurrentKey(key);
  m_strEditedKey = key;
  const SColumn& column = m_pFlatModel->column(m_pLineEdits->column());
  m_pEditor->setFont(CUiResource::getFont(column.fontKey));
  m_pEditor->setAlignment(Qt::Alignment(column.alignment));
  m_pEditor->setText(m_pLineEdits->itemText(key));
  m_pEditor->selectAll();
  placeEditor();
  m_pEditor->show();
  m_pEditor->setFocus();
  return true;
}

void CStandardHpfTable::placeEditor() {
  if (m_strEditedKey.isEmpty()) return;
  const QRect cell = cellRect(m_pFlatModel->positionOf(m_strEditedKey), m_pLineEdits->column());
  m_pEditor->setGeometry(CBaseTableColumnLineEditDelegate::editorRect(cell));
}

void CStandardHpfTable::closeEditor(bool commit) {
  if (m_strEditedKey.isEmpty()) return;
  // Closed first: hiding takes the focus away, which would commit once more.
  const QString key = std::exchange(m_strEditedKey, QString());
  const QString text = m_pEditor->text();
  const bool changed = m_pLineEdits != nullptr && text != m_pLineEdits->itemText(key);
  const bool focused = m_pEditor->hasFocus();
  m_pEditor->hide();
  if (focused) setFocus();
  if (commit && changed) deliverEdit(key, text);
}

void CStandardHpfTable::deliverEdit(const QString& key, QString text) {
  CEventDeliverer::deliverEvent(this, EventDialogLineEdit, m_pLineEdits->column(), 0, key, &text);
}

bool CStandardHpfTable::eventFilter(QObject* watched, QEvent* event) {
  if (watched != m_pEditor) return CBaseHighPerformanceTable::eventFilter(watched, event);
  if (event->type() == QEvent::FocusOut) {
    const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
    if (reason != Qt::PopupFocusReason) commitEdits();  // the editor's own menu leaves it open
  }
  // A dialog would take the key for its default button or for its own end.
  if (event->type() == QEvent::KeyPress && editorKey(*static_cast<QKeyEvent*>(event))) return true;
  return CBaseHighPerformanceTable::eventFilter(watched, event);
}

bool CStandardHpfTable::editorKey(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      // One that is held down has just opened it.
      if (!event.isAutoRepeat()) closeEditor(true);
      return true;
    case Qt::Key_Escape:
      closeEditor(false);
      return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
      leaveEditor(event.key() == Qt::Key_Up ? -1 : 1, false);
      return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
      // The focus stays in the table, where an Enter that follows presses no button.
      leaveEditor(event.key() == Qt::Key_Backtab ? -1 : 1, true);
      return true;
    default:
      return false;
  }
}

void CStandardHpfTable::leaveEditor(int by, bool openNext) {
  const int target = m_pFlatModel->positionOf(m_strEditedKey) + by;
  closeEditor(true);
  if (target < 0 || target >= rowCount()) return;
  moveCurrent(target, Qt::NoModifier);
  if (openNext) openEditor(currentKey());
}

// Keyboard and geometry

void CStandardHpfTable::keyPressEvent(QKeyEvent* event) {
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  const bool command = (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
  const QString typed = event->text();
  if (event->key() == Qt::Key_Space && !command) {
    if (m_pCheckBoxes != nullptr && !isUiLocked()) m_pCheckBoxes->toggle(currentKey());
    return;
  }
  if (enter || event->key() == Qt::Key_F2) {
    // Never handed on: a dialog's default button is not meant by an Enter in its table.
    if (!event->isAutoRepeat()) openEditor(currentKey());
    return;
  }
  if (!command && !typed.isEmpty() && typed.at(0).isPrint() && openEditor(currentKey())) {
    m_pEditor->setText(typed);
    return;
  }
  CBaseHighPerformanceTable::keyPressEvent(event);
}

void CStandardHpfTable::scrollContentsBy(int dx, int dy) {
  CBaseHighPerformanceTable::scrollContentsBy(dx, dy);
  placeEditor();
}

void CStandardHpfTable::resizeEvent(QResizeEvent* event) {
  CBaseHighPerformanceTable::resizeEvent(event);
  placeEditor();
}

// For scripts

std::vector<SDialogRow> CStandardHpfTable::dialogRows() const {
  std::vector<SDialogRow> rows;
  for (int position = 0; position < rowCount(); ++position) {
    SDialogRow row;
    row.key = m_pFlatModel->rowAt(position).key();
    if (m_pCheckBoxes != nullptr) {
      row.checkable = m_pCheckBoxes->isItemVisible(row.key) && m_pCheckBoxes->isItemEnabled(row.key);
      row.checked = m_pCheckBoxes->isItemChecked(row.key);
    }
    row.editable = m_pLineEdits != nullptr && m_pLineEdits->isItemVisible(row.key);
    if (row.editable) row.editor = m_pLineEdits->itemText(row.key);
    for (int column = 0; column < m_pFlatModel->columnCount(); ++column) row.cells.append(itemText(position, column));
    rows.push_back(std::move(row));
  }
  return rows;
}

bool CStandardHpfTable::checkRow(const QString& key, bool on) {
  if (isUiLocked() || m_pCheckBoxes == nullptr) return false;
  if (!m_pCheckBoxes->isItemVisible(key) || !m_pCheckBoxes->isItemEnabled(key)) return false;
  return m_pCheckBoxes->isItemChecked(key) == on || m_pCheckBoxes->toggle(key);
}

/// Committed even when the text is the one that stands there: a script's edit is meant.
bool CStandardHpfTable::editRow(const QString& key, const QString& text) {
  if (!openEditor(key)) return false;
  closeEditor(false);
  deliverEdit(key, text);
  return true;
}

}  // namespace GV
