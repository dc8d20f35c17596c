#include <string_view>
#include <type_traits>

#include "CBasketTasksPanel.h"
#include "tc/PanelPlugin.h"

#define PBT_TEXT_OF(number) #number
#define PBT_TEXT(number) PBT_TEXT_OF(number)

extern "C" {

/// See TC::CREATE_PANEL_SYMBOL.
__attribute__((visibility("default"))) TC::ITradeDockableWidget* createBasketTasksPanel(int id, QWidget* parent) {
  return new TC::CBasketTasksPanel(id, parent);
}

/// See TC::PANEL_INTERFACE_MARK. Nothing reads it in memory.
__attribute__((visibility("default"))) extern const char basketTasksPanelInterface[];
constexpr char basketTasksPanelInterface[] = "PanelBasketTasks interface " PBT_TEXT(TC_PANEL_INTERFACE);
}

static_assert(std::is_same_v<decltype(&createBasketTasksPanel), TC::CreatePanelFunction>);
static_assert(std::string_view(basketTasksPanelInterface).starts_with(TC::PANEL_INTERFACE_MARK));
