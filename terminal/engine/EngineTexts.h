/// What the log calls a task's status and the operations on it, and what it says of accounts. Any thread.
#pragma once

#include <string>

namespace engine {

/// Of an ETaskStatus.
const char* statusText(int status);
/// Of an ETaskOperation.
const char* operationText(int operation);

/// Why an account sends no order any more today.
inline const std::string DAY_OVER = "今日报撤已达上限";
/// Of an account that has come to its limit of orders and cancels of the day.
std::string dayOverText(const std::string& account, int limit);
/// Of an account of which so many cancels went beyond it.
std::string beyondText(const std::string& account, int cancels);

}  // namespace engine
