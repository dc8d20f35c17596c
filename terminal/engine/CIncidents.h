#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace engine {

/// What did not become of the lines and orders of a sub-task as it was meant to, and why: in words for its message, and
/// line by line for the log. Engine's thread.
class CIncidents {
 public:
  enum class EKind {
    Refused,        ///< an order that the market refused
    NotOrdered,     ///< a line of which nothing can be ordered
    PartlyOrdered,  ///< a line of which a part cannot be ordered
    Cancelled,      ///< an order that the market cancelled, though nobody asked for it
    LateCancel,     ///< a cancel that came too late, or that was refused; for the log alone
    Hint            ///< something else about a line that is worth knowing; for the log alone
  };

  /// security: as it is named in the log.
  void add(EKind kind, const std::string& reason, const std::string& security);

  /// Each reason and how many of what it hit, the reason first, since cells are narrow; empty when there is nothing to
  /// tell. For the user.
  std::string text() const;
  /// What came since the last call, a line for each reason, with each security that it concerns.
  std::vector<std::string> takeLog();

 private:
  struct SReason {
    int m_nCount = 0;
    std::map<std::string, int> m_fresh;  ///< how often, by security, since the last takeLog()
  };

  std::map<std::pair<EKind, std::string>, SReason> m_reasons;
};

}  // namespace engine
