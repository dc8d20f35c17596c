#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

class QFileDevice;

namespace GV {

/// A file that is written whole or not at all: a regular one is written beside the old one and takes its place at the
/// end. A device or a pipe is written as it is, never replaced. Any thread.
class CWholeFile {
 public:
  explicit CWholeFile(const QString& fileName);
  CWholeFile(const CWholeFile&) = delete;
  CWholeFile& operator=(const CWholeFile&) = delete;
  /// Without a commit() before it the old file stays.
  ~CWholeFile();

  /// Each is false when it failed. open() may wait for the reader of a pipe.
  bool open();
  bool write(const QByteArray& bytes);
  bool commit();
  /// The system's reason once one of them has failed, else empty.
  const QString& fault() const { return m_strFault; }

 private:
  bool note(bool good);

  std::unique_ptr<QFileDevice> m_pFile;
  QString m_strFault;
};

}  // namespace GV
