#include "CStateStore.h"

#include <QFileInfo>
#include <QMainWindow>
#include <QStandardPaths>
#include <iostream>

namespace app {
namespace {

const char PARAM_KEY[] = "panel/param";
const char GEOMETRY_KEY[] = "window/geometry";
const char DOCKS_KEY[] = "window/docks";

QString fileOf(const std::string& given) {
  if (!given.empty()) return QString::fromStdString(given);
  return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + QStringLiteral("/terminal.ini");
}

}  // namespace

CStateStore::CStateStore(const std::string& given) {
  const QFileInfo file(fileOf(given));
  const std::string name = file.filePath().toStdString();
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

QString CStateStore::panelParam() const { return m_pSettings->value(QLatin1String(PARAM_KEY)).toString(); }

void CStateStore::restoreLayout(QMainWindow& window) const {
  window.restoreGeometry(m_pSettings->value(QLatin1String(GEOMETRY_KEY)).toByteArray());
  window.restoreState(m_pSettings->value(QLatin1String(DOCKS_KEY)).toByteArray());
}

bool CStateStore::save(const QString& panelParam, const QMainWindow& window) {
  m_pSettings->setValue(QLatin1String(PARAM_KEY), panelParam);
  m_pSettings->setValue(QLatin1String(GEOMETRY_KEY), window.saveGeometry());
  m_pSettings->setValue(QLatin1String(DOCKS_KEY), window.saveState());
  m_pSettings->sync();
  if (m_pSettings->status() == QSettings::NoError) return true;
  std::cerr << "cannot write " << m_pSettings->fileName().toStdString() << std::endl;
  return false;
}

}  // namespace app
