#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "past/CDayTrack.h"

class QComboBox;
class QLabel;
class QToolButton;

namespace app {

/// The bar over a kept day: where it stands, its marks, play at any speed, a step to the entry before and behind. It
/// only asks for moments; who shows them says so by setNow(). GUI thread.
class CTimeBar : public QWidget {
  Q_OBJECT

 public:
  explicit CTimeBar(QWidget* parent);

  /// begin, end: milliseconds since midnight. entries: those that can be stepped to, with their texts. living: more
  /// will come, so that playing goes on at the end.
  void setDay(std::int64_t begin, std::int64_t end, bool living, std::vector<SDayMark> marks,
              std::vector<std::pair<std::int64_t, QString>> entries);
  /// Something that is said instead of the entry, while the day is read; empty ends it.
  void setNotice(const QString& text);
  void setNow(std::int64_t msec);
  bool isPlaying() const { return m_playTimer.isActive(); }

 Q_SIGNALS:
  void sigMoved(qint64 msec);

 private:
  QToolButton* addButton(const QString& text, const QString& name, void (CTimeBar::*clicked)());
  void togglePlay();
  void stepBack();
  void stepOn();
  void play();
  void showTexts();

  CDayTrack* m_pTrack;
  QToolButton* m_pBack = nullptr;
  QToolButton* m_pPlay = nullptr;
  QToolButton* m_pOn = nullptr;
  QComboBox* m_pSpeed;
  QLabel* m_pTime;
  QLabel* m_pEntry;
  std::vector<std::pair<std::int64_t, QString>> m_entries;
  bool m_bLiving = false;
  QString m_strNotice;
  QTimer m_playTimer;
  QElapsedTimer m_playClock;
  double m_dPlayed = 0;  ///< milliseconds of the day, asked for or not yet
};

}  // namespace app
