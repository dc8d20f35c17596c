#include "Fuzz.h"

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace fuzz {
namespace {

namespace fs = std::filesystem;

class CFolder {
 public:
  CFolder() {
    std::string name = (fs::temp_directory_path() / "fuzz.XXXXXX").string();
    if (!mkdtemp(name.data())) fail("no folder can be made among the temporary files");
    m_path = name;
  }
  CFolder(const CFolder&) = delete;
  CFolder& operator=(const CFolder&) = delete;
  ~CFolder() {
    std::error_code error;
    fs::remove_all(m_path, error);
  }

  fs::path m_path;
};

}  // namespace

void fail(const std::string& what) {
  std::cerr << "this does not hold: " << what << std::endl;
  std::abort();
}

const fs::path& folder() {
  static const CFolder made;
  return made.m_path;
}

void emptyFolder() {
  for (const fs::directory_entry& each : fs::directory_iterator(folder())) fs::remove_all(each.path());
}

std::string writeFile(const char* name, std::string_view bytes) {
  const fs::path path = folder() / name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return path.string();
}

}  // namespace fuzz
