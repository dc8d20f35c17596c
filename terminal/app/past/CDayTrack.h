#pragma once

#include <QWidget>
#include <vector>

#include "gv/CUiResource.h"
#include "past/DayMarks.h"

namespace app {

/// A day as a line with its marks and a handle at the moment that is shown. Mouse, wheel and keys move it: arrows by a
/// second, page keys by a minute, Home and End. GUI thread.
class CDayTrack : public QWidget, public GV::CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CDayTrack(QWidget* parent);

  /// Milliseconds since midnight. What is out of range is held at its ends.
  void setRange(std::int64_t begin, std::int64_t end);
  void setMarks(std::vector<SDayMark> marks);
  void setNow(std::int64_t msec);
  std::int64_t now() const { return m_nNow; }
  std::int64_t begin() const { return m_nBegin; }
  std::int64_t end() const { return m_nEnd; }

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 Q_SIGNALS:
  /// The user asks for another moment.
  void sigMoved(qint64 msec);

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resourceChanged() override { update(); }
  void scaleChanged() override { updateGeometry(); }

 private:
  QRect groove() const;
  int placeOf(std::int64_t msec) const;
  std::int64_t timeAt(int x) const;
  void ask(std::int64_t msec);
  void askMark(int direction);
  QString textOf(std::int64_t msec, int x) const;
  void paintHours(QPainter& painter) const;

  std::int64_t m_nBegin = 0;
  std::int64_t m_nEnd = 0;
  std::int64_t m_nNow = 0;
  std::vector<SDayMark> m_marks;
};

}  // namespace app
