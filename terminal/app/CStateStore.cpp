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

CStateStore::CStateStore(const std::string& file)
    : m_pSettings(std::make_unique<QSettings>(fileOf(file), QSettings::IniFormat)) {
  m_pSettings->setIniCodec("UTF-8");
}

std::string CStateStore::fault() const {
  const QFileInfo file(m_pSettings->fileName());
  const std::string name = file.filePath().toStdString();
  if (file.exists() && (file.isDir() || !file.isReadable())) return "cannot read " + name;
  switch (m_pSettings->status()) {
    case QSettings::NoError:
      return {};
    case QSettings::AccessError:
      return "cannot read " + name;
    case QSettings::FormatError:
      return name + " is no file of settings";
  }
  return {};
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
