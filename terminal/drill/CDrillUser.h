#pragma once

#include <functional>
#include <map>
#include <string>

#include "CDrillTerminal.h"
#include "DrillPlan.h"

namespace GV {
class CCommonDialog;
}

namespace drill {

/// A user who clicks about: on buttons that show, in the dialogs that open. GUI thread, one at a time.
class CDrillUser {
 public:
  /// passTime: lets time go on while a dialog is open.
  CDrillUser(const SDrillPlan& plan, SReportCard& card, std::function<void()> passTime);
  ~CDrillUser();
  CDrillUser(const CDrillUser&) = delete;
  CDrillUser& operator=(const CDrillUser&) = delete;

  /// Null: there is no terminal.
  void setTerminal(CDrillTerminal* terminal) { m_pTerminal = terminal; }
  void act();
  /// Why a creation is not what the user confirmed; empty: it is.
  std::string faultOf(const desk::SCreateRequest& request);

 private:
  void perform(const journal::SUserLine& line);
  void clickButton();
  void clickToolBar();
  void look();
  void work(GV::CCommonDialog& dialog);
  void editRows(GV::CCommonDialog& dialog);
  void press(GV::CCommonDialog& dialog, const QString& button);

  const SDrillPlan& m_plan;
  SReportCard& m_card;
  CDraw m_draw;
  std::function<void()> m_passTime;
  CDrillTerminal* m_pTerminal = nullptr;
  std::map<std::string, long long> m_confirmed;  ///< shares by instrument, and not asked for yet
};

}  // namespace drill
