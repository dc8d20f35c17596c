#include "PanelLoader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace app {

TC::SPanelPlugin loadPanelPlugin() {
  const QDir folder(QCoreApplication::applicationDirPath());
  const QString beside = folder.filePath(QStringLiteral("libPanelBasketTasks.so"));
  const QString installed = folder.filePath(QStringLiteral(PBT_PLUGIN_FROM_PROGRAM));
  return TC::loadPanel(QFileInfo::exists(beside) ? beside : installed);
}

}  // namespace app
