#include "Outputs.h"

#include <sys/stat.h>

#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>

#include "CStateStore.h"
#include "Inputs.h"

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr int MAX_LINKS = 40;

/// A file that a run reads or writes, by the option that names it.
struct SUse {
  const char* m_pOption;
  std::string m_strFile;
  bool m_bWritten;
};

std::vector<SUse> usesOf(const SOptions& options) {
  std::vector<SUse> uses = {{"--out", options.m_strOut, true},
                            {"--record", options.m_strRecord, true},
                            {"--day", options.m_strDay, true},
                            {"--screenshot", options.m_strScreenshot, true}};
  if (!options.m_strReplay.empty()) {
    uses.push_back({"replay", options.m_strReplay, false});
    return uses;
  }
  if (options.keepsView()) uses.push_back({"--config", CStateStore::fileOf(options.m_strConfig), true});
  uses.push_back({"--instruments", instrumentFileOf(options), false});
  for (const std::string& file : basketFilesOf(options)) uses.push_back({"--basket", file, false});
  uses.push_back({"--positions", options.m_strPositions, false});
  uses.push_back({"--fees", options.m_strFees, false});
  uses.push_back({"--acts", options.m_strActs, false});
  return uses;
}

/// What a regular file is told by, under all its names: its own number, or its folder's and its name there while there
/// is none. None: the file is special, or cannot be.
using Identity = std::optional<std::pair<std::string, std::string>>;

std::string numberOf(const struct stat& state) {
  return std::to_string(state.st_dev) + ":" + std::to_string(state.st_ino);
}

Identity identityOf(const std::string& file) {
  fs::path path = file;
  struct stat state {};
  if (::stat(path.c_str(), &state) == 0) {
    if (!S_ISREG(state.st_mode)) return std::nullopt;
    return {{numberOf(state), std::string()}};
  }
  // A link to nothing: what would be made is what it points to.
  std::error_code error;
  for (int i = 0; i < MAX_LINKS && fs::is_symlink(path, error); ++i) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  if (::stat(folder.c_str(), &state) != 0) return std::nullopt;
  return {{numberOf(state), path.filename().string()}};
}

}  // namespace

std::string outputConflict(const SOptions& options) {
  const std::vector<SUse> uses = usesOf(options);
  for (std::size_t i = 0; i < uses.size(); ++i) {
    const Identity identity = uses[i].m_strFile.empty() ? std::nullopt : identityOf(uses[i].m_strFile);
    for (std::size_t j = 0; identity && j < i; ++j) {
      if (!(uses[i].m_bWritten || uses[j].m_bWritten) || uses[j].m_strFile.empty()) continue;
      if (identity != identityOf(uses[j].m_strFile)) continue;
      return std::string("option ") + uses[j].m_pOption + ": '" + uses[j].m_strFile + "' is the file of " +
             uses[i].m_pOption + " too";
    }
  }
  return {};
}

COutputs::COutputs(const SOptions& options)
    : m_out(options.m_strOut), m_record(options.m_strRecord), m_picture(options.m_strScreenshot) {}

bool COutputs::open() {
  for (COutputFile* file : files()) {
    file->open();
    if (!file->fault().empty()) return false;
  }
  // An old picture stays until there is a new one.
  m_out.begin();
  m_record.begin();
  return true;
}

void COutputs::writePicture(const std::string& png) {
  if (m_picture.isNamed()) m_picture.writeWhole(png);
}

bool COutputs::close() {
  bool good = true;
  for (COutputFile* file : files()) {
    file->close();
    good = good && file->fault().empty();
  }
  return good;
}

void COutputs::complain() const {
  for (const COutputFile* file : {&m_out, &m_record, &m_picture}) {
    if (!file->fault().empty()) std::cerr << file->fault() << std::endl;
  }
}

}  // namespace app
