/// What a zip file says of itself, looked at before anything is unpacked. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace basket {

struct SZipEntry {
  std::string m_strName;
  std::uint64_t m_nUnpacked = 0;  ///< bytes, as the directory says
};

/// Nothing when the bytes are no zip file or its directory is broken.
std::vector<SZipEntry> readZipDirectory(std::string_view bytes);

}  // namespace basket
