#include "PanelLoader.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

namespace app {

SPanelPlugin loadPanelPlugin() {
  QLibrary library(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("libPanelBasketTasks.so")));
  SPanelPlugin plugin;
  if (!library.load()) {
    plugin.m_strError = QStringLiteral("cannot load the panel: %1").arg(library.errorString());
    return plugin;
  }
  plugin.m_pCreate = reinterpret_cast<TC::CreatePanelFunction>(library.resolve(TC::CREATE_PANEL_SYMBOL));
  if (!plugin.m_pCreate) plugin.m_strError = QStringLiteral("not a panel: %1").arg(library.errorString());
  return plugin;
}

}  // namespace app
