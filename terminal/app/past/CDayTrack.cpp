#include "past/CDayTrack.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <QWheelEvent>
#include <algorithm>
#include <utility>

#include "docks/CLogDock.h"
#include "gv/PlainText.h"

namespace app {
namespace {

using GV::CUiResource;

// Pixels at scale 1.
constexpr int HEIGHT = 40;
constexpr int LEAST_WIDTH = 240;
constexpr int MARGIN = 10;
constexpr int GROOVE_TOP = 9;
constexpr int GROOVE_HEIGHT = 6;
constexpr int MARK_WIDTH = 3;
constexpr int MARK_HEIGHT = 14;
constexpr int HANDLE_WIDTH = 7;
constexpr int HANDLE_HEIGHT = 20;
constexpr int LABEL_WIDTH = 40;
constexpr int NEAR = 4;  ///< from a mark its tip is shown

constexpr std::int64_t SECOND_MSEC = 1000;
constexpr std::int64_t MINUTE_MSEC = 60000;
constexpr std::int64_t HOUR_QUARTER_MSEC = 15 * MINUTE_MSEC;
constexpr std::size_t MOST_TIPS = 8;

}  // namespace

CDayTrack::CDayTrack(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("dayTrack"));
  setAccessibleName(QStringLiteral("交易日时间"));
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void CDayTrack::setRange(std::int64_t begin, std::int64_t end) {
  m_nBegin = begin;
  m_nEnd = std::max(begin, end);
  setNow(m_nNow);
  update();
}

void CDayTrack::setMarks(std::vector<SDayMark> marks) {
  m_marks = std::move(marks);
  update();
}

void CDayTrack::setNow(std::int64_t msec) {
  m_nNow = std::clamp(msec, m_nBegin, m_nEnd);
  setAccessibleDescription(textOf(m_nNow, placeOf(m_nNow)));
  update();
}

QSize CDayTrack::sizeHint() const { return CUiResource::scaled(QSize(LEAST_WIDTH, HEIGHT)); }

QRect CDayTrack::groove() const {
  const int margin = CUiResource::scaled(MARGIN);
  return {margin, CUiResource::scaled(GROOVE_TOP), std::max(1, width() - 2 * margin),
          CUiResource::scaled(GROOVE_HEIGHT)};
}

int CDayTrack::placeOf(std::int64_t msec) const {
  const QRect line = groove();
  if (m_nEnd == m_nBegin) return line.left();
  const double part = static_cast<double>(msec - m_nBegin) / static_cast<double>(m_nEnd - m_nBegin);
  return line.left() + static_cast<int>(std::clamp(part, 0.0, 1.0) * (line.width() - 1));
}

std::int64_t CDayTrack::timeAt(int x) const {
  const QRect line = groove();
  const double part = static_cast<double>(x - line.left()) / std::max(1, line.width() - 1);
  return m_nBegin + static_cast<std::int64_t>(std::clamp(part, 0.0, 1.0) * static_cast<double>(m_nEnd - m_nBegin));
}

void CDayTrack::ask(std::int64_t msec) { Q_EMIT sigMoved(std::clamp(msec, m_nBegin, m_nEnd)); }

/// The next mark behind the moment (1) or before it (-1).
void CDayTrack::askMark(int direction) {
  const SDayMark* found = nullptr;
  for (const SDayMark& mark : m_marks) {
    if (direction > 0 && mark.m_nMsec > m_nNow && !found) found = &mark;
    if (direction < 0 && mark.m_nMsec < m_nNow) found = &mark;
  }
  if (found) ask(found->m_nMsec);
}

/// A moment, of which a pixel holds many, and the marks near its place.
QString CDayTrack::textOf(std::int64_t msec, int x) const {
  QStringList lines{timeOfDayText(msec)};
  std::size_t more = 0;
  for (const SDayMark& mark : m_marks) {
    if (std::abs(placeOf(mark.m_nMsec) - x) > CUiResource::scaled(NEAR)) continue;
    if (lines.size() > static_cast<int>(MOST_TIPS)) {
      ++more;
      continue;
    }
    lines << QStringLiteral("%1  %2").arg(timeOfDayText(mark.m_nMsec), mark.m_strText);
  }
  if (more > 0) lines << QStringLiteral("还有 %1 项").arg(more);
  return lines.join(QLatin1Char('\n'));
}

bool CDayTrack::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  QToolTip::showText(help->globalPos(), GV::plainTip(textOf(timeAt(help->x()), help->x())), this);
  return true;
}

void CDayTrack::paintHours(QPainter& painter) const {
  painter.setFont(CUiResource::getFont(QStringLiteral("fnt_default_small")));
  painter.setPen(*CUiResource::getColor(QStringLiteral("clr_text_title")));
  const int width = CUiResource::scaled(LABEL_WIDTH);
  const int top = groove().bottom() + CUiResource::scaled((HANDLE_HEIGHT - GROOVE_HEIGHT) / 2);
  // As many as there is room for.
  std::int64_t spacing = HOUR_QUARTER_MSEC;
  while (m_nEnd > m_nBegin && (m_nEnd - m_nBegin) / spacing * width * 2 > groove().width()) spacing *= 2;
  for (std::int64_t at = (m_nBegin + spacing - 1) / spacing * spacing; at <= m_nEnd; at += spacing) {
    QRect place(placeOf(at) - width / 2, top, width, height() - top);
    // At an end it stands inside.
    place.moveLeft(std::clamp(place.left(), 0, std::max(0, this->width() - width)));
    painter.drawText(place, Qt::AlignHCenter | Qt::AlignTop, timeOfDayText(at).left(5));
  }
}

void CDayTrack::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect line = groove();
  const int centre = line.center().y();
  painter.fillRect(line, *CUiResource::getColor(QStringLiteral("clr_line")));
  const int now = placeOf(m_nNow);
  painter.fillRect(QRect(line.topLeft(), QPoint(now, line.bottom())),
                   *CUiResource::getColor(QStringLiteral("clr_task_progress_background")));
  paintHours(painter);
  const QSize mark = CUiResource::scaled(QSize(MARK_WIDTH, MARK_HEIGHT));
  for (const SDayMark& each : m_marks) {
    const QPoint at(placeOf(each.m_nMsec) - mark.width() / 2, centre - mark.height() / 2);
    painter.fillRect(QRect(at, mark), *CUiResource::getColor(QString::fromLatin1(colourOf(each.m_eKind))));
  }
  const QSize handle = CUiResource::scaled(QSize(HANDLE_WIDTH, HANDLE_HEIGHT));
  const QRect knob(QPoint(now - handle.width() / 2, centre - handle.height() / 2), handle);
  painter.fillRect(knob, *CUiResource::getColor(QStringLiteral("clr_text_default")));
  painter.setPen(*CUiResource::getColor(hasFocus() ? QStringLiteral("clr_focus") : QStringLiteral("clr_line")));
  painter.drawRect(knob.adjusted(0, 0, -1, -1));
}

void CDayTrack::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) ask(timeAt(event->x()));
}

void CDayTrack::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) ask(timeAt(event->x()));
}

void CDayTrack::wheelEvent(QWheelEvent* event) {
  ask(m_nNow + (event->angleDelta().y() < 0 ? MINUTE_MSEC : -MINUTE_MSEC));
  event->accept();
}

void CDayTrack::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
      return ask(m_nNow - SECOND_MSEC);
    case Qt::Key_Right:
      return ask(m_nNow + SECOND_MSEC);
    case Qt::Key_PageDown:
      return ask(m_nNow + MINUTE_MSEC);
    case Qt::Key_PageUp:
      return ask(m_nNow - MINUTE_MSEC);
    case Qt::Key_Down:
      return askMark(1);
    case Qt::Key_Up:
      return askMark(-1);
    case Qt::Key_Home:
      return ask(m_nBegin);
    case Qt::Key_End:
      return ask(m_nEnd);
    default:
      QWidget::keyPressEvent(event);
  }
}

}  // namespace app
