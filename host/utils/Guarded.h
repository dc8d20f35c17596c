/// Work that may fail for reasons that lie with the host. Any thread.
#pragma once

#include <functional>
#include <string>

namespace utils {

/// Does the work; whatever is thrown is logged with what the work was for, and goes no further. True when nothing was.
bool guarded(const char* function, const std::string& what, const std::function<void()>& work) noexcept;

}  // namespace utils
