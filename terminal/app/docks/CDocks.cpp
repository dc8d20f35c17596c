#include "docks/CDocks.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include "SideColours.h"
#include "docks/CExceptionsDock.h"
#include "docks/CFundsDock.h"
#include "docks/COrdersDock.h"
#include "docks/COverviewDock.h"
#include "docks/CQuotesDock.h"
#include "docks/CWhyDock.h"
#include "gv/CUiResource.h"

namespace app {
namespace {

constexpr int REFRESH_MSEC = 1000;

template <typename Content>
CDockContent* make(QWidget* parent) {
  return new Content(parent);
}

}  // namespace

const std::vector<SDockKind>& dockKinds() {
  static const std::vector<SDockKind> kinds = {
      {"委托", "ordersDock", make<COrdersDock>, EDockPlace::Below, 240},
      {"行情", "quotesDock", make<CQuotesDock>, EDockPlace::Beside, 460},
      {"资金持仓", "fundsDock", make<CFundsDock>, EDockPlace::Below, 300},
      {"异常", "exceptionsDock", make<CExceptionsDock>, EDockPlace::Below, 240},
      {"概览", "overviewDock", make<COverviewDock>, EDockPlace::Beside, 460},
      {"说明", WHY_DOCK, make<CWhyDock>, EDockPlace::Beside, 460},
  };
  return kinds;
}

void CMarketAnswer::put(std::vector<exchange::SQuote> quotes) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_quotes = std::move(quotes);
}

std::optional<std::vector<exchange::SQuote>> CMarketAnswer::take() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return std::exchange(m_quotes, std::nullopt);
}

CDocks::CDocks(QMainWindow& window, QDockWidget& log)
    : m_window(window), m_pMenu(window.menuBar()->addMenu(QStringLiteral("视图(&V)"))) {
  m_timer.setInterval(REFRESH_MSEC);
  connect(&m_timer, &QTimer::timeout, this, [this] {
    for (const auto& dock : m_docks) feed(*dock);
  });
  for (const SDockKind& kind : dockKinds()) add(kind, log);
  offer(log);
  m_pMenu->addSeparator();
  addSideColours(*m_pMenu);
}

void CDocks::add(const SDockKind& kind, QDockWidget& log) {
  auto* dock = new QDockWidget(QString::fromUtf8(kind.m_pTitle), &m_window);
  dock->setObjectName(QString::fromLatin1(kind.m_pName));
  m_docks.push_back(std::make_unique<SDock>(SDock{&kind, dock}));
  m_window.addDockWidget(kind.m_ePlace == EDockPlace::Below ? Qt::BottomDockWidgetArea : Qt::TopDockWidgetArea, dock);
  if (kind.m_ePlace == EDockPlace::Below) m_window.tabifyDockWidget(&log, dock);
  dock->hide();
  connect(dock, &QDockWidget::visibilityChanged, this,
          [this, each = m_docks.back().get()](bool shown) { showChanged(*each, shown); });
  offer(*dock);
}

/// Who shows a dock wants to see it, not its tab.
void CDocks::offer(QDockWidget& dock) {
  QAction* action = dock.toggleViewAction();
  m_pMenu->addAction(action);
  connect(action, &QAction::triggered, &dock, [&dock](bool shown) {
    if (shown) dock.raise();
  });
}

void CDocks::showChanged(SDock& dock, bool shown) {
  if (dock.m_bShown == shown) return;
  dock.m_bShown = shown;
  if (shown && !dock.m_pContent) {
    dock.m_pContent = dock.m_pKind->m_make(dock.m_pDock);
    dock.m_pDock->setWidget(dock.m_pContent);
    dock.m_pContent->setParam(m_params.value(dock.m_pDock->objectName()));
    dock.m_pContent->attach(m_sources);
    // A size that was kept is better than ours.
    if (!m_bRestored) QTimer::singleShot(0, dock.m_pDock, [this, &dock] { fit(dock); });
  }
  if (shown) {
    m_timer.start();
    feed(dock);
    return;
  }
  dock.m_pContent->hidden();
  bool any = false;
  for (const auto& each : m_docks) any = any || each->m_bShown;
  if (!any) m_timer.stop();
}

void CDocks::setPanel(QDockWidget& panel) {
  m_pPanel = &panel;
  QDockWidget* first = nullptr;
  for (const auto& dock : m_docks) {
    // One that the user has met stays where he put it.
    if (dock->m_pKind->m_ePlace != EDockPlace::Beside || dock->m_pContent) continue;
    if (first) {
      m_window.tabifyDockWidget(first, dock->m_pDock);
    } else {
      m_window.splitDockWidget(&panel, dock->m_pDock, Qt::Horizontal);
      first = dock->m_pDock;
    }
    dock->m_pDock->hide();
  }
}

/// The window has no centre that would take what is left: the panel does.
void CDocks::fit(const SDock& dock) {
  if (!m_pPanel || dock.m_pDock->isFloating()) return;
  const bool beside = dock.m_pKind->m_ePlace == EDockPlace::Beside;
  const int size = GV::CUiResource::scaled(dock.m_pKind->m_nSize);
  const int rest = (beside ? m_window.width() : m_pPanel->height() + dock.m_pDock->height()) - size;
  m_window.resizeDocks({m_pPanel, dock.m_pDock}, {rest, size}, beside ? Qt::Horizontal : Qt::Vertical);
}

void CDocks::feed(SDock& dock) {
  if (!dock.m_bShown || !m_sources.m_pDesk) return;
  if (!(dock.m_told == m_chosen)) {
    dock.m_told = m_chosen;
    dock.m_pContent->choose(m_chosen);
  }
  dock.m_pContent->refresh();
}

void CDocks::setParams(const QMap<QString, QString>& params) {
  m_params = params;
  m_bRestored = !params.isEmpty();
}

void CDocks::attach(const SDockSources& sources) {
  m_sources = sources;
  m_chosen = {};
  for (const auto& dock : m_docks) {
    dock->m_told = {};
    if (!dock->m_pContent) continue;
    dock->m_pContent->choose(m_chosen);
    dock->m_pContent->attach(m_sources);
    feed(*dock);
  }
}

void CDocks::open(const char* name) {
  for (const auto& dock : m_docks) {
    if (dock->m_pDock->objectName() != QLatin1String(name)) continue;
    dock->m_pDock->show();
    dock->m_pDock->raise();
  }
}

void CDocks::choose(int taskId, const QString& nodeKey) {
  m_chosen = {taskId, nodeKey};
  for (const auto& dock : m_docks) feed(*dock);
}

void CDocks::tellMoved() {
  for (const auto& dock : m_docks) {
    if (dock->m_bShown && m_sources.m_pDesk) dock->m_pContent->moved();
  }
}

QMap<QString, QString> CDocks::params() const {
  QMap<QString, QString> params = m_params;
  for (const auto& dock : m_docks) {
    if (dock->m_pContent) params[dock->m_pDock->objectName()] = dock->m_pContent->param();
  }
  return params;
}

}  // namespace app
