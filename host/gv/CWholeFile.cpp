#include "gv/CWholeFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace GV {

CWholeFile::CWholeFile(const QString& fileName) {
  const QFileInfo target(fileName);
  if (target.exists() && !target.isFile() && !target.isDir()) {
    m_pFile = std::make_unique<QFile>(fileName);
  } else {
    m_pFile = std::make_unique<QSaveFile>(fileName);
  }
}

CWholeFile::~CWholeFile() = default;

bool CWholeFile::open() { return m_pFile->open(QIODevice::WriteOnly); }

bool CWholeFile::write(const QByteArray& bytes) { return m_pFile->write(bytes) == bytes.size(); }

bool CWholeFile::commit() {
  if (auto* file = qobject_cast<QSaveFile*>(m_pFile.get())) return file->commit();
  const bool flushed = m_pFile->flush();
  m_pFile->close();
  return flushed && m_pFile->error() == QFileDevice::NoError;
}

}  // namespace GV
