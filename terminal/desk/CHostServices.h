#pragma once

#include <functional>
#include <memory>
#include <string>

#include "CHostClock.h"
#include "tc/Services.h"

namespace desk {

class CDesk;

/// Every host service as a thin face of one desk. GUI thread, except what the services themselves allow.
class CHostServices {
 public:
  /// A manual clock is that of a replay.
  enum class EClock { Live, Manual };

  CHostServices(CDesk& desk, EClock clock);
  CHostServices(const CHostServices&) = delete;
  CHostServices& operator=(const CHostServices&) = delete;
  /// Takes the services away if they are installed. No panel may exist then.
  ~CHostServices();

  /// Those of this desk, which live as long as this object.
  TC::SServices services() const;
  void install();
  void uninstall();

  /// Null for a live clock.
  CManualClock* manualClock();
  /// Null for a manual clock.
  CLiveClock* liveClock();

  /// Emit the signals of the hedge manager, the calendar and the unit configuration. Any thread: the signals come on
  /// the GUI thread, while a recording is made after the jobs that are posted.
  void announceHedgeVolume(int taskId, int volume);
  void announceHedgeStatus(int taskId, int status);
  void announceTradingDay(const std::string& date);
  void announceStockUnitChange();

 private:
  struct SFaces;

  void announce(std::function<void()> action);

  CDesk& m_desk;
  std::unique_ptr<SFaces> m_pFaces;
  bool m_bInstalled = false;
};

}  // namespace desk
