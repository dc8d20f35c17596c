#include "CMendedCopy.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "CDayFile.h"
#include "Versions.h"

namespace daylog {
namespace {

namespace fs = std::filesystem;

// Of an SQLite file; numbers have 4 bytes, the most significant first.
constexpr std::size_t PAGE_SIZE = 4096;
constexpr std::size_t HEADER_SIZE = 100;
constexpr std::size_t PAGE_COUNT_AT = 28;
constexpr std::size_t FREE_PAGES_AT = 32;
constexpr std::size_t FREE_PAGES_SIZE = 8;
constexpr std::size_t VERSION_AT = 60;
constexpr std::size_t APPLICATION_AT = 68;

std::uint32_t numberAt(const std::string& page, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(page[at + i]);
  return number;
}

void setNumber(std::string& page, std::size_t at, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) page[at + i] = static_cast<char>(number >> (24 - 8 * i) & 0xff);
}

std::string firstPage(const std::string& path) {
  std::string page(PAGE_SIZE, '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file.read(page.data(), static_cast<std::streamsize>(page.size()))) throw CFault("cannot be read");
  return page;
}

std::string pageOfNewDay(const std::string& path) {
  { const CDayFile day(path, "new"); }
  return firstPage(path);
}

/// Not one of which only the number is damaged: then its tables are those of a day.
bool isNewer(const std::string& page, const std::string& usual) {
  return numberAt(page, APPLICATION_AT) == APPLICATION_ID && numberAt(page, VERSION_AT) > newestVersion() &&
         page.compare(HEADER_SIZE, PAGE_SIZE, usual, HEADER_SIZE, PAGE_SIZE) != 0;
}

}  // namespace

CMendedCopy::CMendedCopy(const std::string& path, const std::string& beside) : m_strFolder(beside + ".XXXXXX") {
  if (!mkdtemp(m_strFolder.data())) throw CFault("no folder can be made beside " + beside);
  try {
    mend(path);
  } catch (...) {
    std::error_code none;
    fs::remove_all(m_strFolder, none);
    throw;
  }
}

CMendedCopy::~CMendedCopy() {
  std::error_code none;
  fs::remove_all(m_strFolder, none);
}

void CMendedCopy::mend(const std::string& path) const {
  std::string page = pageOfNewDay(m_strFolder + "/new.db");
  if (isNewer(firstPage(path), page)) throw CFault("was written by a newer terminal");
  fs::copy_file(path, this->path());
  if (fs::exists(path + "-wal")) fs::copy_file(path + "-wal", this->path() + "-wal");
  setNumber(page, PAGE_COUNT_AT, static_cast<std::uint32_t>(fs::file_size(path) / PAGE_SIZE));
  page.replace(FREE_PAGES_AT, FREE_PAGES_SIZE, FREE_PAGES_SIZE, '\0');
  std::fstream file(this->path(), std::ios::binary | std::ios::in | std::ios::out);
  if (!file.write(page.data(), static_cast<std::streamsize>(page.size())).flush()) throw CFault("cannot be copied");
}

}  // namespace daylog
