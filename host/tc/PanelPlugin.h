/// How a terminal gets a panel from its plug-in: it loads the library and resolves one function.
#pragma once

class QWidget;

namespace TC {

class ITradeDockableWidget;

/// Makes a panel with a widget id; the parent owns it. GUI thread, after installServices.
using CreatePanelFunction = ITradeDockableWidget* (*)(int id, QWidget* parent);

/// Name of that function in the plug-in.
constexpr char CREATE_PANEL_SYMBOL[] = "createBasketTasksPanel";

}  // namespace TC
