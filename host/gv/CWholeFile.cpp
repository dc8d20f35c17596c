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

bool CWholeFile::open() { return note(m_pFile->open(QIODevice::WriteOnly)); }

bool CWholeFile::write(const QByteArray& bytes) { return note(m_pFile->write(bytes) == bytes.size()); }

bool CWholeFile::commit() {
  // Before the old file goes: QSaveFile does not look at whether the last of its buffer could be written.
  if (!note(m_pFile->flush())) return false;
  if (auto* file = qobject_cast<QSaveFile*>(m_pFile.get())) return note(file->commit());
  m_pFile->close();
  return note(m_pFile->error() == QFileDevice::NoError);
}

/// Keeps the first reason, which the file forgets.
bool CWholeFile::note(bool good) {
  if (!good && m_strFault.isEmpty()) m_strFault = m_pFile->errorString();
  return good;
}

}  // namespace GV
