#pragma once

#include <QString>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

#include "IDeskObserver.h"

namespace GV {
class CHpfTreeTable;
}
namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// Puts out, as JSON Lines and in the order in which it happened, what the panel asks of the host and tells it, its log
/// lines, and dumps of its table. Each line is flushed. Any thread, unless said otherwise.
class COutput : public desk::IDeskObserver {
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
  /// A dialog that opened while the journal had no answer for it.
  void dialogDismissed(const QString& title);
  /// False once a line could not be written.
  bool isGood() const;

  void onUpdateData(const ksservice::CTaskDetailPtr& detail) override;
  void onShowMsg(const QString& text, int kind) override;
  void onSetHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onStartHedge(int groupId) override;

 private:
  void watchWindows(GV::CHpfTreeTable& table);

  std::ostream& m_out;
  mutable std::mutex m_mutex;
};

}  // namespace journal
