/// A panel on a desk of its own, worked by the lines of journals.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "CBasketTasksPanel.h"
#include "CDesk.h"
#include "CHostServices.h"
#include "COutput.h"
#include "CPlayer.h"

namespace fuzz {

struct SPanelRun {
  /// shown: its window is painted.
  explicit SPanelRun(bool shown);

  /// Plays lines behind those that came before. What a journal is refused for is no finding; then the rest of these
  /// lines is left out.
  void play(const std::string& lines);
  /// Paths of the rows of the table, in its order.
  std::vector<std::string> rows() const;
  /// The table as a dump has it; empty without a panel.
  std::string table() const;
  TC::CBasketTasksPanel* panel() const { return dynamic_cast<TC::CBasketTasksPanel*>(m_player.panel()); }

  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Manual};
  std::ostringstream m_out;
  std::ostringstream m_errors;
  journal::COutput m_output{m_out};
  journal::CPlayer m_player;
};

}  // namespace fuzz
