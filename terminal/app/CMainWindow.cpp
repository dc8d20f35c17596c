#include "CMainWindow.h"

#include <QBuffer>
#include <QDockWidget>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QPixmap>
#include <QScreen>
#include <QStatusBar>
#include <QToolButton>
#include <utility>

#include "docks/CDocks.h"
#include "docks/CLogDock.h"
#include "gv/CUiResource.h"
#include "gv/PlainText.h"
#include "gv/Scaling.h"
#include "tc/ITradeDockableWidget.h"

namespace app {
namespace {

// Pixels at scale 1.
constexpr int WINDOW_WIDTH = 1440;
constexpr int WINDOW_HEIGHT = 820;
constexpr int LOG_HEIGHT = 150;
constexpr int FIELD_MARGIN = 6;
/// Seconds of real time by which the clock may be late without a word.
constexpr double SHOWN_LAG = 2;

using GV::CUiResource;

}  // namespace

CMainWindow::CMainWindow() : m_pLog(new CLogDock(this)) {
  setWindowTitle(QStringLiteral("PanelBasketTasks"));
  QSize size = CUiResource::scaled(QSize(WINDOW_WIDTH, WINDOW_HEIGHT));
  // The screen of a run without a window has a size that means nothing.
  const bool hasScreen = QGuiApplication::platformName() != QLatin1String("offscreen");
  if (hasScreen) size = size.boundedTo(screen()->availableGeometry().size());
  resize(size);
  setDockNestingEnabled(true);
  addDockWidget(Qt::BottomDockWidgetArea, m_pLog);
  m_pDocks = std::make_unique<CDocks>(*this, *m_pLog);
  statusBar()->setSizeGripEnabled(false);
  m_pClock = addField("clock", 200);
  m_pPhase = addField("phase", 110);
  m_pRunning = addField("running", 90);
  m_pFeed = addField("feed", 110);
  m_pOrderUse = addField("orderUse", 0);
  m_pExceptions = addField("exceptions", 0);
  m_pLag = addField("lag", 0);
  m_pLag->setToolTip(QStringLiteral("日志写入或引擎的计算跟不上时钟；撮合与报单按模拟时钟进行，不会遗漏"));
  m_pUnkept = addField("unkept", 0);
  statusBar()->addWidget(new QLabel(this), 1);
  slotRunningTasks(EMTT_Stock, 0);
}

CMainWindow::~CMainWindow() = default;

QLabel* CMainWindow::addField(const char* objectName, int minimumWidth) {
  auto* label = new QLabel(this);
  label->setObjectName(QString::fromLatin1(objectName));
  GV::followScale(*label, [label, minimumWidth] {
    const int margin = CUiResource::scaled(FIELD_MARGIN);
    label->setMinimumWidth(CUiResource::scaled(minimumWidth));
    label->setContentsMargins(margin, 0, margin, 0);
  });
  statusBar()->addWidget(label);
  return label;
}

void CMainWindow::setPanel(TC::ITradeDockableWidget* panel) {
  // A replay may close its panel and open another.
  delete findChild<QDockWidget*>(QStringLiteral("panelDock"));
  auto* dock = new QDockWidget(QStringLiteral("组合任务"), this);
  dock->setObjectName(QStringLiteral("panelDock"));
  dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
  dock->setWidget(panel);
  addDockWidget(Qt::TopDockWidgetArea, dock);
  m_pDocks->setPanel(*dock);
  resizeDocks({dock, m_pLog}, {CUiResource::scaled(WINDOW_HEIGHT - LOG_HEIGHT), CUiResource::scaled(LOG_HEIGHT)},
              Qt::Vertical);
  panel->setFocus();
  connect(panel, SIGNAL(sigRunningTasks(EMavTraderType, int)), this, SLOT(slotRunningTasks(EMavTraderType, int)));
}

void CMainWindow::offerLookBack(std::function<void()> lookBack) {
  auto* button = new QToolButton(this);
  button->setObjectName(QStringLiteral("lookBack"));
  button->setText(QStringLiteral("回看"));
  button->setToolTip(QStringLiteral("在另一个窗口里看当天任一时刻的表格"));
  connect(button, &QToolButton::clicked, this, std::move(lookBack));
  menuBar()->setCornerWidget(button);
  button->show();
}

void CMainWindow::slotRunningTasks(EMavTraderType, int count) {
  m_pRunning->setText(QStringLiteral("执行中 %1").arg(count));
}

void CMainWindow::showClock(const SClockState& state) {
  const auto days = static_cast<int>(state.m_nMsec / DAY_MSEC);
  const QString time = timeOfDayText(state.m_nMsec);
  const QString date = state.m_date.addDays(days).toString(QStringLiteral("yyyy-MM-dd"));
  m_pClock->setText(QStringLiteral("%1  %2  %3").arg(date, time, state.m_strSpeed).trimmed());
  m_pPhase->setText(state.m_strPhase);
  m_pFeed->setText(QStringLiteral("推送 %1 条/秒").arg(state.m_dDetailsPerSecond, 0, 'f', 1));
  m_pOrderUse->setText(state.m_strOrderUse);
  m_pOrderUse->setToolTip(GV::plainTip(state.m_strOrderUseTip));
  const int exceptions = state.m_nExceptions;
  m_pExceptions->setText(exceptions > 0 ? QStringLiteral("异常 %1").arg(exceptions) : QString());
  const bool late = state.m_dLag > SHOWN_LAG;
  m_pLag->setText(late ? QStringLiteral("时钟落后 %1 秒").arg(static_cast<int>(state.m_dLag)) : QString());
  m_pUnkept->setText(state.m_strUnkept.isEmpty() ? QString() : QStringLiteral("日志无法写入"));
  m_pUnkept->setToolTip(GV::plainTip(state.m_strUnkept));
}

std::string CMainWindow::picture() {
  QBuffer png;
  png.open(QIODevice::WriteOnly);
  grab().save(&png, "PNG");
  return png.data().toStdString();
}

}  // namespace app
