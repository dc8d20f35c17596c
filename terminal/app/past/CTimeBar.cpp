#include "past/CTimeBar.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <algorithm>
#include <utility>

#include "docks/CLogDock.h"
#include "gv/PlainText.h"
#include "gv/Scaling.h"

namespace app {
namespace {

// Pixels at scale 1.
constexpr int TIME_WIDTH = 64;
constexpr int ENTRY_WIDTH = 230;
constexpr int BUTTON_WIDTH = 52;
constexpr int SPACING = 6;
constexpr int PLAY_MSEC = 100;

constexpr int SPEEDS[] = {1, 10, 30, 60, 300, 1800};
constexpr int USUAL_SPEED = 60;

}  // namespace

CTimeBar::CTimeBar(QWidget* parent)
    : QWidget(parent),
      m_pTrack(new CDayTrack(this)),
      m_pSpeed(new QComboBox(this)),
      m_pTime(new QLabel(this)),
      m_pEntry(new QLabel(this)) {
  setObjectName(QStringLiteral("timeBar"));
  auto* row = new QHBoxLayout(this);
  GV::setScaledMargins(*row, QMargins(SPACING, 2, SPACING, 2));
  GV::setScaledSpacing(*row, SPACING);
  m_pBack = addButton(QStringLiteral("上一步"), QStringLiteral("到上一事件"), &CTimeBar::stepBack);
  m_pPlay = addButton(QStringLiteral("播放"), QStringLiteral("按所选速度播放"), &CTimeBar::togglePlay);
  m_pOn = addButton(QStringLiteral("下一步"), QStringLiteral("到下一事件"), &CTimeBar::stepOn);
  for (QToolButton* button : {m_pBack, m_pPlay, m_pOn}) row->addWidget(button);
  for (const int speed : SPEEDS) m_pSpeed->addItem(QStringLiteral("×%1").arg(speed), speed);
  m_pSpeed->setCurrentIndex(m_pSpeed->findData(USUAL_SPEED));
  m_pSpeed->setToolTip(QStringLiteral("播放速度"));
  m_pSpeed->setAccessibleName(QStringLiteral("播放速度"));
  row->addWidget(m_pSpeed);
  m_pTime->setObjectName(QStringLiteral("timeBarTime"));
  GV::setScaledFixedWidth(*m_pTime, TIME_WIDTH);
  m_pTime->setAlignment(Qt::AlignCenter);
  row->addWidget(m_pTime);
  row->addWidget(m_pTrack, 1);
  m_pEntry->setObjectName(QStringLiteral("timeBarEntry"));
  m_pEntry->setTextFormat(Qt::PlainText);
  GV::setScaledFixedWidth(*m_pEntry, ENTRY_WIDTH);
  row->addWidget(m_pEntry);
  m_playTimer.setInterval(PLAY_MSEC);
  connect(&m_playTimer, &QTimer::timeout, this, &CTimeBar::play);
  connect(m_pTrack, &CDayTrack::sigMoved, this, [this](qint64 msec) {
    m_dPlayed = static_cast<double>(msec);
    Q_EMIT sigMoved(msec);
  });
  showTexts();
}

QToolButton* CTimeBar::addButton(const QString& text, const QString& name, void (CTimeBar::*clicked)()) {
  auto* button = new QToolButton(this);
  button->setText(text);
  button->setToolTip(name);
  button->setAccessibleName(name);
  GV::setScaledFixedWidth(*button, BUTTON_WIDTH);
  connect(button, &QToolButton::clicked, this, clicked);
  return button;
}

void CTimeBar::setDay(std::int64_t begin, std::int64_t end, bool living, std::vector<SDayMark> marks,
                      std::vector<std::pair<std::int64_t, QString>> entries) {
  m_bLiving = living;
  m_entries = std::move(entries);
  m_pTrack->setRange(begin, end);
  m_pTrack->setMarks(std::move(marks));
  showTexts();
}

void CTimeBar::setNotice(const QString& text) {
  m_strNotice = text;
  showTexts();
}

void CTimeBar::setNow(std::int64_t msec) {
  m_pTrack->setNow(msec);
  showTexts();
}

void CTimeBar::showTexts() {
  m_pTime->setText(timeOfDayText(m_pTrack->now()));
  const bool playing = isPlaying();
  m_pPlay->setText(playing ? QStringLiteral("暂停") : QStringLiteral("播放"));
  const auto behind = std::upper_bound(m_entries.begin(), m_entries.end(), m_pTrack->now(),
                                       [](std::int64_t now, const auto& entry) { return now < entry.first; });
  m_pBack->setEnabled(!m_entries.empty() && m_entries.front().first < m_pTrack->now());
  m_pOn->setEnabled(behind != m_entries.end());
  QString text = m_strNotice;
  if (text.isEmpty() && behind != m_entries.begin()) {
    const auto& [at, what] = *std::prev(behind);
    text = QStringLiteral("%1 %2").arg(timeOfDayText(at), what);
  }
  m_pEntry->setToolTip(GV::plainTip(text));
  m_pEntry->setText(m_pEntry->fontMetrics().elidedText(text, Qt::ElideRight, m_pEntry->width()));
}

/// Those of one moment are one step.
void CTimeBar::stepBack() {
  const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), m_pTrack->now(),
                                   [](const auto& entry, std::int64_t now) { return entry.first < now; });
  if (at != m_entries.begin()) Q_EMIT sigMoved(std::prev(at)->first);
}

void CTimeBar::stepOn() {
  const auto at = std::upper_bound(m_entries.begin(), m_entries.end(), m_pTrack->now(),
                                   [](std::int64_t now, const auto& entry) { return now < entry.first; });
  if (at != m_entries.end()) Q_EMIT sigMoved(at->first);
}

void CTimeBar::togglePlay() {
  if (isPlaying()) {
    m_playTimer.stop();
  } else {
    m_dPlayed = static_cast<double>(m_pTrack->now());
    m_playClock.start();
    m_playTimer.start();
  }
  showTexts();
}

void CTimeBar::play() {
  m_dPlayed += static_cast<double>(m_playClock.restart()) * m_pSpeed->currentData().toInt();
  const auto moment = static_cast<std::int64_t>(m_dPlayed);
  Q_EMIT sigMoved(std::min(moment, m_pTrack->end()));
  if (moment < m_pTrack->end()) return;
  m_dPlayed = static_cast<double>(m_pTrack->end());
  if (!m_bLiving) togglePlay();
}

}  // namespace app
