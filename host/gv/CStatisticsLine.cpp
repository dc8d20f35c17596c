#include "gv/CStatisticsLine.h"

#include <QPainter>
#include <QtMath>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CTableHeader.h"
#include "gv/CTextRuns.h"
#include "gv/Helpers.h"

namespace GV {

namespace {
constexpr int kMinInterval = 40;  // milliseconds between two paints
constexpr int MARGIN = 4;         // pixels at scale 1, as the next
constexpr int LABEL_MARGIN = 6;
}  // namespace

CStatisticsLine::CStatisticsLine(CBaseHighPerformanceTable* table) : QWidget(table), m_pTable(table) {
  // It fills its ground itself: what lies below it is not painted first.
  setAttribute(Qt::WA_OpaquePaintEvent);
  m_timer.setSingleShot(true);
  connect(&m_timer, &QTimer::timeout, this, [this] { update(); });
}

void CStatisticsLine::scheduleUpdate() {
  if (m_timer.isActive()) return;
  const qint64 age = m_sincePaint.isValid() ? m_sincePaint.elapsed() : kMinInterval;
  if (age >= kMinInterval) {
    update();
  } else {
    m_timer.start(static_cast<int>(kMinInterval - age));
  }
}

QString CStatisticsLine::text(int column) const {
  const IBaseHpfTableModel* model = m_pTable->baseModel();
  if (model == nullptr || !model->hasColumn(column) || !model->column(column).stat) return {};
  return formatDoubleNumber(model->statistic(column), 2, 0, false, QString());
}

// A sum has more digits than the cells above it: a cut total would be a wrong one, so it reaches beyond its column.
QRect CStatisticsLine::sumRect(int column, int alignment, double textWidth) const {
  QRect cell(m_pTable->m_pHeader->left(column), 0, m_pTable->columnWidth(column), height());
  const int missing = qCeil(textWidth) + 1 + 2 * CUiResource::scaled(MARGIN) - cell.width();
  if (missing <= 0) return cell;
  if ((alignment & Qt::AlignRight) != 0) {
    cell.setLeft(cell.left() - missing);
  } else {
    cell.setRight(cell.right() + missing);
  }
  return cell;
}

void CStatisticsLine::paintEvent(QPaintEvent* /*event*/) {
  m_sincePaint.start();
  QPainter painter(this);
  painter.fillRect(rect(), *CUiResource::getColor(QStringLiteral("clr_header_background")));
  painter.fillRect(0, 0, width(), 1, *CUiResource::getColor(QStringLiteral("clr_line")));
  const int frozen = m_pTable->frozenWidth();
  const int still = m_pTable->m_pHeader->frozenSection();
  CGlyphFont& font = m_pTable->glyphFont(QStringLiteral("fnt_default_normal"));
  CTextRuns label;
  label.add(rect().adjusted(CUiResource::scaled(LABEL_MARGIN), 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
            QStringLiteral("合计"), font, *CUiResource::getColor(QStringLiteral("clr_text_title")));
  label.draw(painter);
  // Where a sum stands, the label gives way, but not to one that is scrolled below the frozen column.
  painter.setClipRect(rect().adjusted(frozen, 0, 0, 0));
  CTextRuns sums;
  for (int column = 0; column < m_pTable->m_pHeader->count(); ++column) {
    if (column != still && m_pTable->isColumnVisible(column)) addSum(painter, sums, font, column);
  }
  sums.draw(painter);
  painter.setClipping(false);
  CTextRuns stillSum;
  if (still >= 0) addSum(painter, stillSum, font, still);
  stillSum.draw(painter);
}

void CStatisticsLine::addSum(QPainter& painter, CTextRuns& sums, CGlyphFont& font, int column) const {
  const QString sum = text(column);
  if (sum.isEmpty()) return;
  const int alignment = m_pTable->baseModel()->column(column).alignment;
  const QRect cell = sumRect(column, alignment, font.width(sum));
  painter.fillRect(cell.adjusted(0, 1, 0, 0), *CUiResource::getColor(QStringLiteral("clr_header_background")));
  const int margin = CUiResource::scaled(MARGIN);
  sums.add(cell.adjusted(margin, 0, -margin, 0), alignment, sum, font,
           *CUiResource::getColor(QStringLiteral("clr_text_default")));
}

}  // namespace GV
