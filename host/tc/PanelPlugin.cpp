#include "tc/PanelPlugin.h"

#include <QByteArrayMatcher>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <cctype>
#include <optional>

namespace TC {
namespace {

/// The number that a plug-in carries; none: it is no panel.
std::optional<int> interfaceOf(const QByteArray& plugin) {
  const QByteArrayMatcher mark(PANEL_INTERFACE_MARK, sizeof PANEL_INTERFACE_MARK - 1);
  for (int at = mark.indexIn(plugin); at >= 0; at = mark.indexIn(plugin, at + 1)) {
    int end = at + static_cast<int>(sizeof PANEL_INTERFACE_MARK) - 1;
    const int begin = end;
    while (end < plugin.size() && std::isdigit(static_cast<unsigned char>(plugin[end]))) ++end;
    bool number = false;
    const int value = plugin.mid(begin, end - begin).toInt(&number);
    if (number) return value;
  }
  return std::nullopt;
}

/// Empty, or why it is not to be loaded.
QString misfit(const QString& path, int hostInterface) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    return QStringLiteral("cannot read the panel %1: %2").arg(path, file.errorString());
  const std::optional<int> panel = interfaceOf(file.readAll());
  if (!panel) return QStringLiteral("%1 is not a panel").arg(path);
  if (*panel != hostInterface) {
    return QStringLiteral("the panel %1 has interface %2, this program was compiled with %3")
        .arg(path)
        .arg(*panel)
        .arg(hostInterface);
  }
  if (*panel == PANEL_INTERFACE) return {};
  return QStringLiteral("the panel %1 has interface %2, the host library has %3")
      .arg(path)
      .arg(*panel)
      .arg(PANEL_INTERFACE);
}

}  // namespace

SPanelPlugin loadPanel(const QString& path, int hostInterface) {
  SPanelPlugin plugin;
  plugin.m_strError = misfit(path, hostInterface);
  if (!plugin.m_strError.isEmpty()) return plugin;
  QLibrary library(QFileInfo(path).absoluteFilePath());
  if (!library.load()) {
    plugin.m_strError = QStringLiteral("cannot load the panel: %1").arg(library.errorString());
    return plugin;
  }
  plugin.m_pCreate = reinterpret_cast<CreatePanelFunction>(library.resolve(CREATE_PANEL_SYMBOL));
  if (!plugin.m_pCreate) plugin.m_strError = QStringLiteral("not a panel: %1").arg(library.errorString());
  return plugin;
}

}  // namespace TC
