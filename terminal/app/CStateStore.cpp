#include "CStateStore.h"

#include <unistd.h>

#include <QFileInfo>
#include <QStandardPaths>
#include <cerrno>
#include <iostream>
#include <system_error>

#include "gv/CUiResource.h"

#include "CMainWindow.h"
#include "docks/CDocks.h"

namespace app {
namespace {

const char PARAM_KEY[] = "panel/param";
const char GEOMETRY_KEY[] = "window/geometry";
const char PALETTE_KEY[] = "window/palette";
const char DOCKS_KEY[] = "window/docks";
const char DOCK_PARAMS[] = "docks";  ///< a group: a text for each dock, by its name

}  // namespace

std::string CStateStore::fileOf(const std::string& given) {
  if (!given.empty()) return given;
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
  return folder.toStdString() + "/terminal.ini";
}

std::string CStateStore::draftFolderOf(const std::string& given) { return fileOf(given) + ".drafts"; }

CStateStore::CStateStore(const std::string& given) : m_strFile(fileOf(given)) {
  const std::string& name = m_strFile;
  const QFileInfo file(QString::fromStdString(name));
  // Looked at before it is opened: settings are read at once, and a device has no end.
  if (file.exists() && (file.isDir() || !file.isReadable())) {
    m_strFault = "cannot read " + name;
    return;
  }
  const std::string foreign = name + " is no file of this terminal's settings";
  if (file.exists() && !file.isFile()) {
    m_strFault = foreign;
    return;
  }
  m_pSettings = std::make_unique<QSettings>(file.filePath(), QSettings::IniFormat);
  m_pSettings->setIniCodec("UTF-8");
  if (m_pSettings->status() == QSettings::AccessError) m_strFault = "cannot read " + name;
  // Almost any text reads as settings; ours have what we wrote, and saving would replace all else.
  const bool ours = m_pSettings->status() == QSettings::NoError && m_pSettings->contains(QLatin1String(PARAM_KEY));
  if (m_strFault.empty() && file.size() > 0 && !ours) m_strFault = foreign;
}

std::string CStateStore::writeFault() const {
  const QFileInfo file(QString::fromStdString(m_strFile));
  // A new file takes the old one's place, so the folder is written too.
  for (const QString& each : {file.filePath(), file.absolutePath()}) {
    const std::string name = each.toStdString();
    const bool missing = each == file.filePath() && !file.exists();
    if (missing || ::access(name.c_str(), W_OK) == 0) continue;
    return "cannot write " + m_strFile + ": " + std::generic_category().message(errno);
  }
  return {};
}

QString CStateStore::panelParam() const { return m_pSettings->value(QLatin1String(PARAM_KEY)).toString(); }

QString CStateStore::sidePalette() const { return m_pSettings->value(QLatin1String(PALETTE_KEY)).toString(); }

void CStateStore::restoreLayout(CMainWindow& window) const {
  QMap<QString, QString> params;
  m_pSettings->beginGroup(QLatin1String(DOCK_PARAMS));
  for (const QString& name : m_pSettings->childKeys()) params[name] = m_pSettings->value(name).toString();
  m_pSettings->endGroup();
  window.docks().setParams(params);
  window.restoreGeometry(m_pSettings->value(QLatin1String(GEOMETRY_KEY)).toByteArray());
  window.restoreState(m_pSettings->value(QLatin1String(DOCKS_KEY)).toByteArray());
}

bool CStateStore::save(const QString& panelParam, const CMainWindow& window) {
  m_pSettings->setValue(QLatin1String(PARAM_KEY), panelParam);
  m_pSettings->setValue(QLatin1String(PALETTE_KEY), GV::CUiResource::sidePalette());
  m_pSettings->setValue(QLatin1String(GEOMETRY_KEY), window.saveGeometry());
  m_pSettings->setValue(QLatin1String(DOCKS_KEY), window.saveState());
  const QMap<QString, QString> params = window.docks().params();
  for (auto each = params.begin(); each != params.end(); ++each) {
    m_pSettings->setValue(QLatin1String(DOCK_PARAMS) + QLatin1Char('/') + each.key(), each.value());
  }
  m_pSettings->sync();
  if (m_pSettings->status() == QSettings::NoError) return true;
  std::cerr << "cannot write " << m_strFile << std::endl;
  return false;
}

}  // namespace app
