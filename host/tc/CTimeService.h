#pragma once

namespace TC {

/// The host's time. Any thread.
class CTimeService {
 public:
  virtual ~CTimeService() = default;
  /// Seconds since the epoch.
  virtual int currentTime() const = 0;
};

}  // namespace TC
