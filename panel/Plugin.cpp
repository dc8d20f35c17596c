#include "CBasketTasksPanel.h"
#include "tc/PanelPlugin.h"

/// The one function that the plug-in exports; see TC::CREATE_PANEL_SYMBOL.
extern "C" __attribute__((visibility("default"))) TC::ITradeDockableWidget* createBasketTasksPanel(int id,
                                                                                                   QWidget* parent) {
  return new TC::CBasketTasksPanel(id, parent);
}

static_assert(std::is_same_v<decltype(&createBasketTasksPanel), TC::CreatePanelFunction>);
