#include "CDayProgress.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <iostream>
#include <utility>

#include "docks/CLogDock.h"
#include "gv/CUiResource.h"

namespace app {
namespace {

constexpr qint64 SHOWN_AFTER_MSEC = 250;
constexpr qint64 SHOWN_EACH_MSEC = 50;
constexpr qint64 TOLD_AFTER_MSEC = 1000;
constexpr int PERCENT = 100;
constexpr int BAR_WIDTH = 320;  ///< pixels at scale 1

}  // namespace

CDayProgress::CDayProgress(std::string file, SSpan span, bool headless)
    : m_strFile(std::move(file)), m_span(span), m_bHeadless(headless) {
  m_timer.start();
}

bool CDayProgress::advance(std::int64_t msec) {
  if (m_bHeadless) {
    tell();
  } else {
    show(msec);
  }
  return !m_bGivenUp;
}

void CDayProgress::tell() {
  if (m_timer.elapsed() < TOLD_AFTER_MSEC || std::exchange(m_bTold, true)) return;
  std::cerr << m_strFile << ": running the day again up to " << timeOfDayText(m_span.m_nEnd).toStdString() << std::endl;
}

/// Whoever makes a session waits for it and has nothing yet that an event could meet half made.
void CDayProgress::show(std::int64_t msec) {
  const qint64 now = m_timer.elapsed();
  if (now - m_nShown < (m_pWindow ? SHOWN_EACH_MSEC : SHOWN_AFTER_MSEC)) return;
  m_nShown = now;
  if (!m_pWindow) makeWindow();
  m_pText->setText(QStringLiteral("正在恢复交易日 %1").arg(timeOfDayText(msec)));
  const std::int64_t whole = std::max<std::int64_t>(m_span.m_nEnd - m_span.m_nBegin, 1);
  m_pBar->setValue(static_cast<int>(PERCENT * (msec - m_span.m_nBegin) / whole));
  QCoreApplication::processEvents();
}

void CDayProgress::makeWindow() {
  m_pWindow = std::make_unique<QDialog>();
  m_pWindow->setWindowTitle(QStringLiteral("交易日"));
  m_pWindow->setAttribute(Qt::WA_QuitOnClose, false);
  m_pText = new QLabel(m_pWindow.get());
  m_pBar = new QProgressBar(m_pWindow.get());
  m_pBar->setRange(0, PERCENT);
  m_pBar->setMinimumWidth(GV::CUiResource::scaled(BAR_WIDTH));
  auto* cancel = new QPushButton(QStringLiteral("取消"), m_pWindow.get());
  // Enter must not throw away what takes long.
  cancel->setAutoDefault(false);
  connect(cancel, &QPushButton::clicked, m_pWindow.get(), &QDialog::reject);
  connect(m_pWindow.get(), &QDialog::rejected, this, &CDayProgress::giveUp);
  auto* layout = new QVBoxLayout(m_pWindow.get());
  layout->addWidget(m_pText);
  layout->addWidget(m_pBar);
  layout->addWidget(cancel, 0, Qt::AlignRight);
  m_pWindow->show();
}

}  // namespace app
