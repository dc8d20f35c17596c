/// The host's log centre. Information goes to the logger "KSStdFile" (level 20000), debug to "KSDbgFile" while file
/// logging is on. Any thread.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>

class QString;

namespace utils {

/// Called with each information message, without its address and function prefix. Any thread; must not log.
using LogObserver = std::function<void(const std::string& message)>;

class CLogCenter {
 public:
  static CLogCenter& instance();

  /// Whether debug lines are written at all; ask before forming an expensive one.
  bool isDebugEnabled() const;
  void setDebugEnabled(bool on);

  /// Whether an information message reaches anybody; ask before forming one.
  bool isInfoEnabled() const;
  /// Writes "[address] [function] message" at information level.
  void info(const void* object, const char* function, const std::string& message);
  void debug(const std::string& message) const;

  /// At most one observer at a time (a recording or a replay); an empty one ends it.
  void setObserver(LogObserver observer);
};

/// The text as one line of a log: what would end the line, or steer a terminal that shows it, is written as an escape.
std::string oneLine(const std::string& text);

namespace detail {
std::string toText(const std::string& value);
std::string toText(const char* value);
std::string toText(const QString& value);
std::string toText(bool value) = delete;  // flags are written out by the caller as "true" or "false"
std::string toText(int value);
std::string toText(long value);
std::string toText(long long value);
std::string toText(unsigned long value);
std::string toText(double value);
std::string format(const char* pattern, std::initializer_list<std::string> values);
}  // namespace detail

/// Logs at information level; pattern has the positional placeholders %1%, %2%, ... Costs next to nothing while nobody
/// listens.
template <typename... Values>
void logInfo(const void* object, const char* function, const char* pattern, const Values&... values) {
  CLogCenter& center = CLogCenter::instance();
  if (center.isInfoEnabled()) center.info(object, function, detail::format(pattern, {detail::toText(values)...}));
}

}  // namespace utils
