#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <array>
#include <cerrno>
#include <streambuf>
#include <system_error>
#include <utility>

#include "gv/CWholeFile.h"

namespace app {
namespace {

constexpr mode_t NEW_FILE_MODE = 0666;
constexpr std::size_t BLOCK_BYTES = 1 << 16;

}  // namespace

/// Keeps the first error, which a file stream forgets.
class COutputFile::CBuffer : public std::streambuf {
 public:
  CBuffer() { setp(m_block.data(), m_block.data() + m_block.size()); }

  int m_nDescriptor = -1;
  int m_nError = 0;  ///< errno of what failed first

  void close() {
    if (m_nDescriptor < 0) return;
    writeBlock();
    // What a file system puts off may fail only here.
    note(::close(std::exchange(m_nDescriptor, -1)));
  }

  /// The result of a call of the system.
  bool note(int result) {
    if (result < 0 && m_nError == 0) m_nError = errno;
    return result >= 0;
  }

 protected:
  int overflow(int each) override {
    if (!writeBlock()) return traits_type::eof();
    if (each != traits_type::eof()) sputc(traits_type::to_char_type(each));
    return traits_type::not_eof(each);
  }
  int sync() override { return writeBlock() ? 0 : -1; }

 private:
  bool writeBlock() {
    const char* from = pbase();
    while (m_nError == 0 && from < pptr()) {
      const ssize_t count = ::write(m_nDescriptor, from, static_cast<std::size_t>(pptr() - from));
      if (count >= 0) {
        from += count;
      } else if (errno != EINTR) {
        note(-1);
      }
    }
    setp(m_block.data(), m_block.data() + m_block.size());
    return m_nError == 0;
  }

  std::array<char, BLOCK_BYTES> m_block{};
};

COutputFile::COutputFile(std::string file)
    : m_strFile(std::move(file)), m_pBuffer(std::make_unique<CBuffer>()), m_stream(m_pBuffer.get()) {}

COutputFile::~COutputFile() {
  close();
  if (m_bMade && !m_bBegun) ::unlink(m_strFile.c_str());
}

void COutputFile::open() {
  if (!isNamed()) return;
  constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
  int& descriptor = m_pBuffer->m_nDescriptor;
  descriptor = ::open(m_strFile.c_str(), flags | O_EXCL, NEW_FILE_MODE);
  m_bMade = descriptor >= 0;
  if (!m_bMade && errno == EEXIST) descriptor = ::open(m_strFile.c_str(), flags, NEW_FILE_MODE);
  m_pBuffer->note(descriptor);
}

bool COutputFile::isRegular() const {
  struct stat state {};
  return ::fstat(m_pBuffer->m_nDescriptor, &state) == 0 && S_ISREG(state.st_mode);
}

void COutputFile::begin() {
  m_bBegun = true;
  if (isRegular()) m_pBuffer->note(::ftruncate(m_pBuffer->m_nDescriptor, 0));
}

void COutputFile::writeWhole(const std::string& bytes) {
  if (!isRegular()) {
    begin();
    m_stream << bytes << std::flush;
    return;
  }
  m_pBuffer->close();
  GV::CWholeFile file(QFile::decodeName(m_strFile.c_str()));
  m_bBegun = file.open() && file.write(QByteArray::fromStdString(bytes)) && file.commit();
  m_strFault = file.fault().toStdString();
}

std::ostream& COutputFile::stream() { return m_stream; }

void COutputFile::close() { m_pBuffer->close(); }

std::string COutputFile::fault() const {
  const int error = m_pBuffer->m_nError;
  const std::string reason = error == 0 ? m_strFault : std::generic_category().message(error);
  return reason.empty() ? std::string() : "cannot write " + m_strFile + ": " + reason;
}

}  // namespace app
