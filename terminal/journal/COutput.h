#pragma once

#include <QString>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

#include "DialogObservers.h"
#include "IDeskObserver.h"

namespace GV {
class CCommonDialog;
class CHpfTreeTable;
}  // namespace GV
namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// Puts out, as JSON Lines and in the order in which it happened, what the panel asks of the host and tells it, its log
/// lines, and dumps of its table. Each line is flushed. Any thread, unless said otherwise.
class COutput : public desk::IDeskObserver, public CDialogObserver {
 public:
  /// Takes the log lines of the process from now on. At most one output at a time.
  explicit COutput(std::ostream& out);
  COutput(const COutput&) = delete;
  COutput& operator=(const COutput&) = delete;
  ~COutput() override;

  void put(const nlohmann::ordered_json& line);
  /// Puts out the panel's signals and the windows that it shows from now on; this object must outlive the panel. GUI
  /// thread.
  void watch(TC::ITradeDockableWidget& panel);
  /// The panel's table as it stands. GUI thread, when nothing is queued for it.
  void dump(const TC::ITradeDockableWidget& panel, const std::string& name);
  void messageBox(const QString& title, const QString& text);
  void setClipboard(const QString& text);
  void showSettingPage(const QString& text);
  /// A modal dialog as it stands. GUI thread.
  void dump(const GV::CCommonDialog& dialog, const std::string& name);
  /// A modal dialog has ended.
  void dialogResult(const QString& title, bool accepted);
  /// False once a line could not be written.
  bool isGood() const;

  void dialogEnded(GV::CCommonDialog& dialog, bool accepted) override;

  void onUpdateData(const ksservice::CTaskDetailPtr& detail) override;
  void onShowMsg(const QString& text, int kind) override;
  void onSetHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onStartHedge(int groupId) override;
  void onPauseHedge(int groupId) override;
  void onStopHedge(int groupId) override;
  void onCreateTask(const desk::SCreateRequest& request) override;
  void onOperateServerTask(const std::string& serverTaskKey, const ksservice::CTaskOpRecord& record) override;
  void onQueryOrderProcess(const std::vector<std::string>& serverTaskKeys) override;
  void onOperateLocalTask(int taskId, const desk::AccountPtr& account, const ksservice::CTaskOpRecord& record) override;
  void onPauseLocalTask(int taskId, const desk::AccountPtr& account) override;
  void onResumeLocalTask(int taskId, const desk::AccountPtr& account) override;

 private:
  void watchWindows(GV::CHpfTreeTable& table);

  std::ostream& m_out;
  mutable std::mutex m_mutex;
};

}  // namespace journal
