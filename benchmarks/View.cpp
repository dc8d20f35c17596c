#include "View.h"

#include <QCoreApplication>
#include <QEvent>
#include <QScrollBar>
#include <QThread>

namespace bench {
namespace {

constexpr int VIEW_WIDTH = 1600;
constexpr int ROW_HEIGHT = 21;
constexpr int MAX_ROUNDS = 10000;

}  // namespace

CPaintWatch::CPaintWatch(QAbstractScrollArea& view) : m_view(view) {
  // Header and statistics line take the room of two rows.
  view.resize(VIEW_WIDTH, (PAGE_ROWS + 2) * ROW_HEIGHT);
  view.viewport()->installEventFilter(this);
  view.show();
  settle();
}

void CPaintWatch::settle() const {
  const int before = m_nPaints;
  for (int round = 0; round < MAX_ROUNDS; ++round) {
    QCoreApplication::processEvents();
    if (m_nPaints == before) {
      // What another thread works out first comes a little later.
      QThread::msleep(1);
      continue;
    }
    QCoreApplication::processEvents();  // a layout that was put off
    return;
  }
  qFatal("the view does not paint");
}

void CPaintWatch::repaint() {
  m_view.viewport()->update();
  settle();
}

void CPaintWatch::scrollTo(int page) {
  QScrollBar* bar = m_view.verticalScrollBar();
  bar->setValue(page * bar->pageStep());
  repaint();
}

bool CPaintWatch::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::Paint) ++m_nPaints;
  return false;
}

}  // namespace bench
