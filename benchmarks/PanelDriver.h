/// A whole panel over a desk, driven as a terminal drives it.
#pragma once

#include <functional>
#include <memory>

#include "CBasketTasksPanel.h"
#include "CHostServices.h"
#include "CHpfBasketStatusTable.h"
#include "Load.h"

namespace bench {

/// GUI thread. The services' clock is a manual one.
class CPanelDriver {
 public:
  CPanelDriver(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load)
      : m_desk(desk), m_services(services), m_load(load) {}

  /// Opens a panel, shown and empty.
  void open();
  /// Has it load what the desk knows.
  void load() { m_pPanel->setTradeType(EMTT_Stock); }
  /// The same until a row is on screen. Gives its wall time in milliseconds.
  double loadFirstRow();
  void close() { m_pPanel.reset(); }
  TC::CBasketTasksPanel& panel() { return *m_pPanel; }
  TC::CHpfBasketStatusTable& table() { return *m_pTable; }

  /// Publishes the next second of every task, in a status of ETaskStatus; not part of a refresh.
  void publish(int status = ksservice::ETS_Running);
  void fireTimer();
  /// One refresh, from the timer to the repaint. Gives its wall time in milliseconds.
  double refresh();
  /// Runs the event loop for so many milliseconds.
  static void idle(double msec);

  /// The longest turn of the event loop, in milliseconds of the GUI thread's CPU time, from an act, which is a turn or
  /// some, until the worker has nothing left and nothing more happens.
  double longestTurn(const std::function<void()>& act);

 private:
  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  const CLoad& m_load;
  std::unique_ptr<TC::CBasketTasksPanel> m_pPanel;
  TC::CHpfBasketStatusTable* m_pTable = nullptr;
  int m_nSecond = 0;
  int m_nRefreshes = 0;
};

}  // namespace bench
