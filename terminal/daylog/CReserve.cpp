#include "CReserve.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Database.h"

namespace daylog {
namespace {

/// What a commit writes beside its bodies, and a mark beside its outputs: generously, as pages are.
constexpr std::int64_t COMMIT_BYTES = 65536;
constexpr std::int64_t MARK_BYTES = 256;
/// Some cancels, each of a few pages.
constexpr std::int64_t RESERVE_BYTES = 1 << 20;

/// False when there is no space. The file stays as long as it is. SQLite has no lock on a write-ahead log that closing
/// it would undo.
bool setAside(const std::string& path, std::int64_t bytes) {
  const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (file < 0) return true;
  const bool full = fallocate(file, FALLOC_FL_KEEP_SIZE, 0, bytes) != 0 && (errno == ENOSPC || errno == EDQUOT);
  close(file);
  return !full;
}

}  // namespace

void CReserve::leaveBehind(const std::vector<SEntry>& entries, const std::vector<SMark>& marks) {
  std::int64_t bytes = COMMIT_BYTES;
  for (const SEntry& entry : entries) bytes += 2 * static_cast<std::int64_t>(entry.m_strBody.size());
  for (const SMark& mark : marks) bytes += MARK_BYTES + 2 * static_cast<std::int64_t>(mark.m_strOutputs.size());
  std::error_code none;
  const std::uintmax_t size = std::filesystem::file_size(m_strLog, none);
  if (none) return;
  const std::int64_t wanted = static_cast<std::int64_t>(size) + bytes + RESERVE_BYTES;
  if (wanted <= m_nBytes) return;
  // More than is wanted now, so that few commits ask.
  m_nBytes = wanted + RESERVE_BYTES;
  if (setAside(m_strLog, m_nBytes)) return;
  m_nBytes = 0;
  if (!setAside(m_strLog, wanted)) throw CFault("the disk is full but for what cancels need");
}

}  // namespace daylog
