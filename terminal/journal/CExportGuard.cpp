#include "CExportGuard.h"

#include <filesystem>
#include <system_error>

#include "Archive.h"
#include "JournalReader.h"

namespace journal {

namespace fs = std::filesystem;

namespace {

std::string nameOf(const std::string& file) { return fs::path(file).lexically_normal().string(); }

}  // namespace

void CExportGuard::check(const std::string& file) const {
  if (file.empty()) return;
  const auto refuse = [&file](const char* why) { throw CLineFault("export '" + file + "' " + why); };
  const fs::path path(file);
  if (path.is_absolute() || !path.has_filename()) refuse("is no name within the working directory");
  fs::path whole;
  for (const fs::path& each : path) {
    if (each == "..") refuse("is no name within the working directory");
    whole /= each;
    std::error_code error;
    if (fs::is_symlink(whole, error)) refuse("goes by a link");
  }
  std::error_code error;
  if (fs::exists(whole, error) && !m_made.contains(nameOf(file))) refuse("would overwrite what is there");
}

void CExportGuard::exported(const std::string& file) { m_made.insert(nameOf(file)); }

std::string exportFault(const std::vector<SLine>& lines, const std::string& fileName) {
  for (const SLine& line : lines) {
    const SUserLine* act = std::get_if<SUserLine>(&line.m_body);
    if (!act || act->m_eAct != EUserAct::Export) continue;
    try {
      CExportGuard().check(act->m_strFile);
    } catch (const CLineFault& fault) {
      return faultText(fileName, line.m_nNumber, fault.what());
    }
  }
  return {};
}

}  // namespace journal
