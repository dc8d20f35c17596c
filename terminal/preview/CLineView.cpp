#include "CLineView.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>

#include "LineTexts.h"
#include "gv/CUiResource.h"
#include "gv/Scaling.h"

namespace preview {
namespace {

constexpr int ROW_HEIGHT = 22;

/// Gives each text to the line while it is typed. Esc gives back the text that stood there.
class CTypingDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override {
    auto* editor = new QLineEdit(parent);
    editor->setProperty("cell", true);
    auto* self = const_cast<CTypingDelegate*>(this);
    connect(editor, &QLineEdit::textEdited, self, [self, editor] { Q_EMIT self->commitData(editor); });
    return editor;
  }

  void setEditorData(QWidget* editor, const QModelIndex& index) const override {
    // Asked again with every change of the model; what is being typed stays.
    if (editor->property(ORIGINAL).isValid()) return;
    const QString text = index.data(Qt::EditRole).toString();
    editor->setProperty(ORIGINAL, text);
    static_cast<QLineEdit*>(editor)->setText(text);
    static_cast<QLineEdit*>(editor)->selectAll();
  }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    auto* editor = qobject_cast<QLineEdit*>(object);
    const bool key = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (editor && key && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
      editor->setText(editor->property(ORIGINAL).toString());
      Q_EMIT commitData(editor);
    }
    return QStyledItemDelegate::eventFilter(object, event);
  }

 private:
  static constexpr const char* ORIGINAL = "original";
};

}  // namespace

CLineFilter::CLineFilter(CLineModel& lines, QObject* parent) : QSortFilterProxyModel(parent), m_lines(lines) {
  setSortRole(CLineModel::SortRole);
  setDynamicSortFilter(false);
  setSourceModel(&lines);
}

void CLineFilter::setFilter(ELineFilter filter) {
  m_eFilter = filter;
  invalidateFilter();
}

bool CLineFilter::filterAcceptsRow(int row, const QModelIndex&) const { return m_lines.isShown(row, m_eFilter); }

CLineView::CLineView(CDraft& draft, QWidget* parent)
    : QTableView(parent),
      m_draft(draft),
      m_pModel(new CLineModel(draft, this)),
      m_pFilter(new CLineFilter(*m_pModel, this)) {
  setModel(m_pFilter);
  setItemDelegate(new CTypingDelegate(this));
  setAccessibleName(QStringLiteral("篮子明细"));
  setAlternatingRowColors(true);
  setSelectionBehavior(SelectRows);
  setSortingEnabled(true);
  sortByColumn(-1, Qt::AscendingOrder);
  setWordWrap(false);
  setHorizontalScrollMode(ScrollPerPixel);
  setEditTriggers(DoubleClicked | EditKeyPressed | AnyKeyPressed);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  horizontalHeader()->setStretchLastSection(true);
  horizontalHeader()->setHighlightSections(false);
  GV::followScale(*this, [this] { placeColumns(); });
  connect(this, &QTableView::doubleClicked, this, [this](const QModelIndex& at) {
    if (at.column() == LineVerdict) openMenu(at, viewport()->mapToGlobal(visualRect(at).bottomLeft()));
  });
}

void CLineView::placeColumns() {
  verticalHeader()->setDefaultSectionSize(GV::CUiResource::scaled(ROW_HEIGHT));
  for (int column = 0; column < LineColumnCount; ++column) {
    setColumnWidth(column, GV::CUiResource::scaled(CLineModel::widthOf(column)));
  }
}

void CLineView::editLine(int line) {
  const QModelIndex cell = m_pFilter->mapFromSource(m_pModel->index(line, LineCode));
  if (!cell.isValid()) return;
  setCurrentIndex(cell);
  scrollTo(cell);
  edit(cell);
}

std::vector<int> CLineView::selectedLines() const {
  std::vector<int> lines;
  for (const QModelIndex& row : selectionModel()->selectedRows()) lines.push_back(m_pFilter->mapToSource(row).row());
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// All as the first one is not.
void CLineView::toggleSelected() {
  const std::vector<int> lines = selectedLines();
  if (lines.empty()) return;
  const bool checked = m_draft.state().m_lines[static_cast<std::size_t>(lines.front())].m_line.m_bChecked;
  m_draft.setChecked(lines, !checked);
}

void CLineView::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space) return toggleSelected();
  if (event->key() == Qt::Key_Delete) return m_draft.removeLines(selectedLines());
  // Opens nothing and sends nothing by itself.
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    if (state() != EditingState) edit(currentIndex());
    return;
  }
  QTableView::keyPressEvent(event);
}

void CLineView::paintEvent(QPaintEvent* event) {
  QTableView::paintEvent(event);
  if (model()->rowCount() > 0) return;
  QPainter painter(viewport());
  painter.setPen(*GV::CUiResource::getColor(QStringLiteral("clr_text_title")));
  const QString hint = m_pModel->rowCount() > 0
                           ? QStringLiteral("没有这样的行")
                           : QStringLiteral("打开或拖入文件，或粘贴文字（Ctrl+V）；也可以添加一行");
  painter.drawText(viewport()->rect(), Qt::AlignCenter, hint);
}

void CLineView::contextMenuEvent(QContextMenuEvent* event) {
  const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
  const QModelIndex at = byKey ? currentIndex() : indexAt(event->pos());
  if (at.isValid()) openMenu(at, byKey ? viewport()->mapToGlobal(visualRect(at).bottomLeft()) : event->globalPos());
}

void CLineView::openMenu(const QModelIndex& at, const QPoint& point) {
  if (!selectionModel()->isRowSelected(at.row(), {})) selectRow(at.row());
  const int line = m_pFilter->mapToSource(at).row();
  QMenu menu(this);
  for (const int security : m_draft.candidates(line)) {
    const QString text = QStringLiteral("改为 ") + m_draft.securityText(security);
    menu.addAction(text, this, [this, line, security] { m_draft.chooseSecurity(line, security); });
  }
  menu.addSeparator();
  menu.addAction(QStringLiteral("勾选/取消勾选"), this, [this] { toggleSelected(); });
  menu.addAction(QStringLiteral("删除"), this, [this] { m_draft.removeLines(selectedLines()); });
  menu.exec(point);
}

}  // namespace preview
