#include "ZipDirectory.h"

#include <algorithm>

namespace basket {
namespace {

constexpr std::string_view END_MARK = "PK\x05\x06";
constexpr std::string_view ENTRY_MARK = "PK\x01\x02";
constexpr std::size_t END_SIZE = 22;
constexpr std::size_t ENTRY_SIZE = 46;
constexpr std::size_t MOST_COMMENT = 65535;

std::uint64_t numberAt(std::string_view bytes, std::size_t at, int size) {
  std::uint64_t number = 0;
  for (int i = size; i-- > 0;)
    number = number << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
  return number;
}

/// A size that needs 64 bits stands as all ones and is beyond what is unpacked anyway.
bool readEntry(std::string_view bytes, std::size_t& at, std::vector<SZipEntry>& entries) {
  if (at + ENTRY_SIZE > bytes.size() || bytes.substr(at, ENTRY_MARK.size()) != ENTRY_MARK) return false;
  const auto name = static_cast<std::size_t>(numberAt(bytes, at + 28, 2));
  const auto more = static_cast<std::size_t>(numberAt(bytes, at + 30, 2) + numberAt(bytes, at + 32, 2));
  if (at + ENTRY_SIZE + name + more > bytes.size()) return false;
  // As much memory is taken for the packed bytes as is said here, whether they are there or not.
  if (numberAt(bytes, at + 20, 4) > bytes.size()) return false;
  entries.push_back({std::string(bytes.substr(at + ENTRY_SIZE, name)), numberAt(bytes, at + 24, 4)});
  at += ENTRY_SIZE + name + more;
  return true;
}

}  // namespace

std::vector<SZipEntry> readZipDirectory(std::string_view bytes) {
  if (bytes.size() < END_SIZE) return {};
  const std::size_t end = bytes.rfind(END_MARK, bytes.size() - END_SIZE);
  if (end == std::string_view::npos || bytes.size() - end > END_SIZE + MOST_COMMENT) return {};
  const auto count = static_cast<std::size_t>(numberAt(bytes, end + 10, 2));
  auto at = static_cast<std::size_t>(numberAt(bytes, end + 16, 4));
  std::vector<SZipEntry> entries;
  while (entries.size() < count) {
    if (!readEntry(bytes, at, entries)) return {};
  }
  return entries;
}

}  // namespace basket
