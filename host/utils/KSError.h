#pragma once

#include <string>
#include <utility>

namespace utils {

/// The outcome of a request to the host. Without a text it is a success.
class KSError {
 public:
  KSError() = default;
  explicit KSError(std::string message) : m_strMessage(std::move(message)), m_bFailed(true) {}

  bool success() const { return !m_bFailed; }
  const std::string& errorMsg() const { return m_strMessage; }

 private:
  std::string m_strMessage;
  bool m_bFailed = false;
};

}  // namespace utils
