#pragma once

#include <QFrame>
#include <functional>
#include <vector>

#include "ksservice/CTaskDetail.h"

class QVBoxLayout;

namespace TC {

/// The host's popup with the trade parameters of a task. It closes by itself when the user clicks elsewhere. GUI
/// thread.
class CBaseTaskParamWidget : public QFrame {
  Q_OBJECT

 public:
  /// Told of each popup that is shown, with the row's key.
  using ShowObserver = std::function<void(const QString& rowKey)>;

  explicit CBaseTaskParamWidget(QWidget* parent = nullptr);

  /// Fills the popup, which deletes itself when it closes.
  void setParams(const std::vector<ksservice::CCodeOrderParam>& params);
  /// Shows the popup at a point of the screen, moved so that it lies inside.
  void popUp(const QString& rowKey, const QPoint& point);

  static void setShowObserver(ShowObserver observer);

 protected:
  void addLine(const QString& title, const QString& text);

 private:
  QVBoxLayout* m_pLayout;
};

/// The popup of an algorithm task: also says how it is executed.
class CHpfBasketTaskParamWidget : public CBaseTaskParamWidget {
  Q_OBJECT

 public:
  using CBaseTaskParamWidget::CBaseTaskParamWidget;
  void setAlgoParams(const QString& text);
};

}  // namespace TC
