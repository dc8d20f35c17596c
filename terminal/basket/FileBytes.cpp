#include "FileBytes.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace basket {
namespace {

ERefusal refusalOf(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status) || std::filesystem::is_directory(status)) return ERefusal::Unreadable;
  if (!std::filesystem::is_regular_file(status)) return ERefusal::NoFile;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  return !error && size > MOST_BYTES ? ERefusal::TooLarge : ERefusal::None;
}

}  // namespace

SFileBytes readFileBytes(const std::string& path) {
  if (const ERefusal refusal = refusalOf(path); refusal != ERefusal::None) return {{}, refusal};
  std::ifstream file(path, std::ios::binary);
  std::string bytes;
  std::vector<char> block(1 << 16);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
    bytes.append(block.data(), static_cast<std::size_t>(file.gcount()));
    // It may have grown since it was looked at.
    if (bytes.size() > MOST_BYTES) return {{}, ERefusal::TooLarge};
  }
  if (!file.is_open() || file.bad()) return {{}, ERefusal::Unreadable};
  return {std::move(bytes), ERefusal::None};
}

const char* refusalText(ERefusal refusal) {
  switch (refusal) {
    case ERefusal::Unreadable:
      return "cannot be read";
    case ERefusal::NoFile:
      return "is no regular file";
    case ERefusal::TooLarge:
      return "is larger than 50 MB";
    case ERefusal::None:
      break;
  }
  return "";
}

}  // namespace basket
