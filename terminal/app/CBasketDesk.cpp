#include "CBasketDesk.h"

#include <QDropEvent>
#include <QMenuBar>
#include <QMimeData>
#include <QUrl>
#include <algorithm>

#include "CNewBasketWindow.h"

namespace app {
namespace {

/// The only file that is dragged; empty: none, or several.
QString draggedFile(const QDropEvent& event) {
  const QList<QUrl> urls = event.mimeData()->urls();
  return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

}  // namespace

CBasketDesk::CBasketDesk(QMainWindow& window, std::unique_ptr<CDraftHost> host, const QString& folder)
    : m_window(window),
      m_pHost(std::move(host)),
      m_store(folder),
      m_pNewBasket(new QAction(QStringLiteral("新建篮子…"), this)),
      m_pMenu(new QMenu(QStringLiteral("篮子(&B)"), &m_window)) {
  m_pNewBasket->setShortcut(QKeySequence::New);
  connect(m_pNewBasket, &QAction::triggered, this, [this] { openWindow(); });
  m_pMenu->addAction(m_pNewBasket);
  m_window.menuBar()->insertMenu(m_window.menuBar()->actions().value(0), m_pMenu);
  m_window.setAcceptDrops(true);
  m_window.installEventFilter(this);
}

CBasketDesk::~CBasketDesk() {
  qDeleteAll(m_window.findChildren<preview::CNewBasketWindow*>());
  delete m_pMenu;
  m_window.setAcceptDrops(false);
}

int CBasketDesk::openDraftCount() const {
  const std::vector<preview::SKeptDraft> kept = m_store.list();
  return static_cast<int>(std::count_if(kept.begin(), kept.end(), [](const auto& each) { return !each.m_bSent; }));
}

preview::CNewBasketWindow* CBasketDesk::openWindow() {
  auto* window = new preview::CNewBasketWindow(*m_pHost, m_store, &m_window);
  window->show();
  return window;
}

void CBasketDesk::openText(const QByteArray& bytes, const QString& name) { openWindow()->takeText(bytes, name); }

bool CBasketDesk::eventFilter(QObject* object, QEvent* event) {
  if (event->type() != QEvent::DragEnter && event->type() != QEvent::Drop) return QObject::eventFilter(object, event);
  auto* drop = static_cast<QDropEvent*>(event);
  const QString file = draggedFile(*drop);
  if (file.isEmpty()) return false;
  drop->acceptProposedAction();
  if (event->type() == QEvent::Drop) openWindow()->openFile(file);
  return true;
}

}  // namespace app
