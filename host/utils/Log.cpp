#include "utils/Log.h"

#include <log4cxx/logger.h>

#include <QString>
#include <algorithm>
#include <atomic>
#include <boost/format.hpp>
#include <cstdio>
#include <iterator>
#include <locale>
#include <memory>
#include <mutex>

namespace utils {
namespace {

std::atomic<bool> g_debugEnabled{false};
std::atomic<bool> g_observed{false};
std::mutex g_observerMutex;
std::shared_ptr<const LogObserver> g_observer;

const log4cxx::LoggerPtr& stdLogger() {
  static const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("KSStdFile");
  return logger;
}

const log4cxx::LoggerPtr& debugLogger() {
  static const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("KSDbgFile");
  return logger;
}

std::shared_ptr<const LogObserver> currentObserver() {
  const std::lock_guard<std::mutex> lock(g_observerMutex);
  return g_observer;
}

}  // namespace

CLogCenter& CLogCenter::instance() {
  static CLogCenter center;
  return center;
}

bool CLogCenter::isDebugEnabled() const { return g_debugEnabled.load(std::memory_order_relaxed); }

void CLogCenter::setDebugEnabled(bool on) { g_debugEnabled.store(on, std::memory_order_relaxed); }

bool CLogCenter::isInfoEnabled() const {
  return g_observed.load(std::memory_order_relaxed) || stdLogger()->isInfoEnabled();
}

void CLogCenter::info(const void* object, const char* function, const std::string& message) {
  if (const auto observer = currentObserver()) (*observer)(message);
  if (!stdLogger()->isInfoEnabled()) return;
  const std::string address = std::to_string(reinterpret_cast<std::uintptr_t>(object));
  LOG4CXX_INFO(stdLogger(), "[" + address + "] [" + function + "] " + message);
}

void CLogCenter::debug(const std::string& message) const {
  if (isDebugEnabled()) LOG4CXX_DEBUG(debugLogger(), oneLine(message));
}

void CLogCenter::setObserver(LogObserver observer) {
  auto next = observer ? std::make_shared<const LogObserver>(std::move(observer)) : nullptr;
  const std::lock_guard<std::mutex> lock(g_observerMutex);
  g_observed.store(next != nullptr, std::memory_order_relaxed);
  g_observer.swap(next);
}

std::string oneLine(const std::string& text) {
  const auto steers = [](unsigned char each) { return each < ' ' || each == 0x7f; };
  if (std::none_of(text.begin(), text.end(), steers)) return text;
  std::string line;
  for (const char each : text) {
    if (!steers(static_cast<unsigned char>(each))) {
      line += each;
    } else if (each == '\n') {
      line += "\\n";
    } else {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(each)));
      line += escape;
    }
  }
  return line;
}

namespace detail {

std::string toText(const std::string& value) { return oneLine(value); }
std::string toText(const char* value) { return oneLine(value); }
std::string toText(const QString& value) { return oneLine(value.toStdString()); }
std::string toText(int value) { return std::to_string(value); }
std::string toText(long value) { return std::to_string(value); }
std::string toText(long long value) { return std::to_string(value); }
std::string toText(unsigned long value) { return std::to_string(value); }
std::string toText(double value) { return QString::number(value).toStdString(); }

/// The pattern's characters are asked of the locale, whose tables libstdc++ fills at the first call, without a lock:
/// they are filled here, once.
const std::locale& filledLocale() {
  static const std::locale locale = [] {
    std::locale made;
    const auto& characters = std::use_facet<std::ctype<char>>(made);
    const char from[] = {'0', '9'};
    char to[sizeof from];
    characters.narrow(std::begin(from), std::end(from), '\0', to);
    characters.widen(std::begin(from), std::end(from), to);
    return made;
  }();
  return locale;
}

std::string format(const char* pattern, std::initializer_list<std::string> values) {
  boost::format message(pattern, filledLocale());
  // A log line with a wrong number of values must never end the program.
  message.exceptions(boost::io::no_error_bits);
  for (const std::string& value : values) message % value;
  return message.str();
}

}  // namespace detail
}  // namespace utils
