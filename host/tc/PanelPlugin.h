/// How a terminal gets a panel from its plug-in.
#pragma once

#include <QString>

class QWidget;

/// The number of what a panel and its host share in memory: records, services, widgets. It grows with each change after
/// which one of them must be compiled anew with the headers of the other.
#define TC_PANEL_INTERFACE 1

namespace TC {

class ITradeDockableWidget;

constexpr int PANEL_INTERFACE = TC_PANEL_INTERFACE;

/// Makes a panel with a widget id; the parent owns it. GUI thread, after installServices.
using CreatePanelFunction = ITradeDockableWidget* (*)(int id, QWidget* parent);

/// Name of that function in the plug-in.
constexpr char CREATE_PANEL_SYMBOL[] = "createBasketTasksPanel";
/// A text in the plug-in, behind which its PANEL_INTERFACE stands: read from the file, since a library that fits not
/// may do anything once it is loaded.
constexpr char PANEL_INTERFACE_MARK[] = "PanelBasketTasks interface ";

struct SPanelPlugin {
  CreatePanelFunction m_pCreate = nullptr;  ///< null: the error says why
  QString m_strError;
};

/// Loads a plug-in, which stays loaded until the program ends. A file that is no panel, or one of another interface
/// than its host or the host's library was compiled with, is not loaded. hostInterface: leave it as it is. GUI thread.
SPanelPlugin loadPanel(const QString& path, int hostInterface = PANEL_INTERFACE);

}  // namespace TC
