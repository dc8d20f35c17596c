#pragma once

#include <QString>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace app {

enum class EExceptionKind { Refused, Suspended, LimitLocked, Waiting, Hedge, Rate, DayOver, Feed };

/// In words.
QString exceptionKindText(EExceptionKind kind);

/// Something that a trader should look at.
struct SException {
  EExceptionKind m_eKind = EExceptionKind::Refused;
  int m_nTaskId = -1;  ///< -1: of no task
  QString m_strRow;    ///< of the panel; empty: the task's, if there is one
  QString m_strWhom;   ///< account or security
  QString m_strText;
  std::string m_strState{};  ///< what makes it another one than it was; m_strText may move more often
  std::int64_t m_nSize = 0;  ///< more of it makes it another one, too, less does not
  int m_nTime = 0;           ///< since when it is as it is, seconds since the epoch; 0: not known
  bool m_bPutAway = false;   ///< until it changes
};

/// The exceptions there are, by their keys. Between begin() and end() all are told that are there; of the others none
/// is left. Not thread-safe.
class CExceptions {
 public:
  /// now: seconds since the epoch; 0: not known.
  void begin(int now);
  void report(const std::string& key, SException exception);
  void end();
  /// Nothing is left of any.
  void clear();

  void putAway(const std::string& key);
  /// Those that are not put away.
  int count() const { return m_nCount; }
  /// Grows with each change of what all() gives.
  int version() const { return m_nVersion; }
  /// Those that are not put away, the newest first.
  std::vector<std::pair<std::string, SException>> all() const;

 private:
  struct SKept {
    SException m_exception;
    int m_nRound = 0;
  };

  std::map<std::string, SKept> m_kept;
  int m_nNow = 0;
  int m_nRound = 0;
  int m_nCount = 0;
  int m_nVersion = 0;
};

}  // namespace app
