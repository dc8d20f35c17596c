#include "utils/Guarded.h"

#include <exception>

#include "utils/Log.h"

namespace utils {
namespace {

void logFault(const char* function, const std::string& what, const char* fault) noexcept {
  try {
    logInfo(static_cast<const void*>(nullptr), function, "%1% failed: %2%", what, fault);
  } catch (...) {
    // The log is the host's too: where it fails as well, nobody is left to tell.
    return;
  }
}

}  // namespace

bool guarded(const char* function, const std::string& what, const std::function<void()>& work) noexcept {
  try {
    work();
    return true;
  } catch (const std::exception& fault) {
    logFault(function, what, fault.what());
  } catch (...) {
    logFault(function, what, "unknown");
  }
  return false;
}

}  // namespace utils
