#pragma once

#include <memory>
#include <ostream>
#include <string>

namespace app {

/// A file that the user named for writing: a regular one is written from its beginning, a device or a pipe as it is.
/// What was flushed is with the system. Not thread-safe, as a stream is not.
class COutputFile {
 public:
  /// An empty name: there is no such output, and everything succeeds.
  explicit COutputFile(std::string file);
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;
  /// A file that was made by open() and never begun is removed.
  ~COutputFile();

  /// Waits for the reader of a pipe. The file keeps what it holds.
  void open();
  /// Empties a regular file; from now on it may be written.
  void begin();
  /// Instead of begin() and the stream: a regular file is written whole, or keeps what it holds.
  void writeWhole(const std::string& bytes);
  /// The stream's state is bad once something could not be written.
  std::ostream& stream();
  void close();

  bool isNamed() const { return !m_strFile.empty(); }
  /// "cannot write FILE: reason" once something has failed, else empty.
  std::string fault() const;

 private:
  class CBuffer;
  bool isRegular() const;

  std::string m_strFile;
  std::unique_ptr<CBuffer> m_pBuffer;
  std::ostream m_stream;
  std::string m_strFault;  ///< why the file could not be written whole; empty: it was
  bool m_bMade = false;    ///< open() made the file
  bool m_bBegun = false;   ///< begin() was called
};

}  // namespace app
