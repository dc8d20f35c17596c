#include "gv/CTableHeader.h"

#include <QHelpEvent>
#include <QHoverEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <utility>

#include "gv/CUiResource.h"

namespace GV {

namespace {
/// The most of the view that a frozen section takes.
int mostOf(int view) { return view * 2 / 3; }
}  // namespace

/// Lets the header be asked and told, while it stands, as if it were not scrolled: so its first section is found where
/// it shows.
class CTableHeader::CUnscrolled {
 public:
  CUnscrolled(CTableHeader& header, bool on) : m_header(header), m_bOn(on && header.offset() != 0) {
    if (m_bOn) m_header.setOffset(0);
  }
  ~CUnscrolled() {
    if (!m_bOn) return;
    m_header.setOffset(m_header.m_pScrollBar->value());
    m_header.viewport()->update();
  }
  CUnscrolled(const CUnscrolled&) = delete;
  CUnscrolled& operator=(const CUnscrolled&) = delete;

 private:
  CTableHeader& m_header;
  bool m_bOn;
};

CTableHeader::CTableHeader(QAbstractScrollArea* table)
    : QHeaderView(Qt::Horizontal, table), m_pScrollBar(table->horizontalScrollBar()) {}

int CTableHeader::frozenSection() const {
  if (offset() == 0) return -1;
  for (int visual = 0; visual < count(); ++visual) {
    const int section = logicalIndex(visual);
    if (isSectionHidden(section)) continue;
    return sectionSize(section) <= mostOf(viewport()->width()) ? section : -1;
  }
  return -1;
}

int CTableHeader::frozenWidth() const {
  const int section = frozenSection();
  return section < 0 ? 0 : sectionSize(section);
}

int CTableHeader::left(int section) const { return section == frozenSection() ? 0 : sectionViewportPosition(section); }

void CTableHeader::paintEvent(QPaintEvent* event) {
  QHeaderView::paintEvent(event);
  const int section = frozenSection();
  if (section < 0) return;
  QPainter painter(viewport());
  const QRect area(0, 0, sectionSize(section), viewport()->height());
  painter.fillRect(area, *CUiResource::getColor(QStringLiteral("clr_header_background")));
  painter.save();
  paintSection(&painter, area, section);
  painter.restore();
  const int line = CUiResource::scaled(1);
  painter.fillRect(area.right() + 1 - line, 0, line, area.height(),
                   *CUiResource::getColor(QStringLiteral("clr_frozen_edge")));
}

// The mouse

int CTableHeader::grip() const { return style()->pixelMetric(QStyle::PM_HeaderGripMargin, nullptr, this); }

bool CTableHeader::isHandle(int x) const {
  const int section = logicalIndexAt(x);
  if (section < 0) return false;
  const int place = x - sectionViewportPosition(section);
  return place < grip() || place >= sectionSize(section) - grip();
}

/// The edge of the frozen section can be taken from both sides.
void CTableHeader::mousePressEvent(QMouseEvent* event) {
  const int x = event->pos().x();
  const int width = frozenWidth();
  m_nSized = -1;
  m_bSizing = false;
  if (width > 0 && event->button() == Qt::LeftButton && x >= width - grip() && x < width + grip()) {
    m_nSized = frozenSection();
    m_nSizedFrom = x - width;
    return;
  }
  m_bSizing = x >= width && isHandle(x);
  const CUnscrolled unscrolled(*this, x < width);
  QHeaderView::mousePressEvent(event);
}

void CTableHeader::mouseMoveEvent(QMouseEvent* event) {
  const int x = event->pos().x();
  if (m_nSized >= 0) {
    resizeSection(m_nSized, std::clamp(x - m_nSizedFrom, minimumSectionSize(), mostOf(viewport()->width())));
    return;
  }
  const int width = frozenWidth();
  const int reach = event->buttons() == Qt::NoButton && width > 0 ? width + grip() : width;
  const CUnscrolled unscrolled(*this, !m_bSizing && x < reach);
  QHeaderView::mouseMoveEvent(event);
}

void CTableHeader::mouseReleaseEvent(QMouseEvent* event) {
  if (m_nSized >= 0) {
    m_nSized = -1;
    return;
  }
  const CUnscrolled unscrolled(*this, !std::exchange(m_bSizing, false) && event->pos().x() < frozenWidth());
  QHeaderView::mouseReleaseEvent(event);
}

void CTableHeader::mouseDoubleClickEvent(QMouseEvent* event) {
  const CUnscrolled unscrolled(*this, event->pos().x() < frozenWidth());
  QHeaderView::mouseDoubleClickEvent(event);
}

bool CTableHeader::viewportEvent(QEvent* event) {
  const int width = frozenWidth();
  if (width > 0 && (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverMove)) {
    const auto* hover = static_cast<QHoverEvent*>(event);
    const QPointF shift(shiftAt(hover->pos().x(), width), 0);
    QHoverEvent told(hover->type(), hover->posF() - shift, hover->oldPosF(), hover->modifiers());
    viewport()->update();
    return QHeaderView::viewportEvent(&told);
  }
  if (width > 0 && event->type() == QEvent::ToolTip) {
    const auto* help = static_cast<QHelpEvent*>(event);
    QHelpEvent told(QEvent::ToolTip, help->pos() - QPoint(shiftAt(help->pos().x(), width), 0), help->globalPos());
    return QHeaderView::viewportEvent(&told);
  }
  return QHeaderView::viewportEvent(event);
}

}  // namespace GV
