/// The base of the terminal's panels.
#pragma once

#include "gv/CEventWidget.h"
#include "gv/CUiResource.h"

namespace GV {

/// GUI thread only.
class CBaseWidget : public CEventWidgetT<QWidget>, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CBaseWidget(QWidget* parent = nullptr) : CEventWidgetT<QWidget>(parent) {}
  void resourceChanged() override { update(); }
};

}  // namespace GV
