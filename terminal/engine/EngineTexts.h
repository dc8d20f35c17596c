/// What the log calls a task's status and the operations on it. Any thread.
#pragma once

namespace engine {

/// Of an ETaskStatus.
const char* statusText(int status);
/// Of an ETaskOperation.
const char* operationText(int operation);

}  // namespace engine
