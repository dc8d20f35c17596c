#pragma once

#include <QObject>
#include <functional>

#include "CDesk.h"
#include "IDeskDriver.h"

namespace app {

/// Whoever wants something done in a day that is over is refused, in words. What the panel asks by itself it asked on
/// that day, too, and what came of it is in the day: this is taken and comes to nothing. Any thread.
class CPastDriver : public QObject, public desk::IDeskDriver {
  Q_OBJECT

 public:
  /// The desk must outlive the driver. tell: on the GUI thread, of each request; with a text where nobody else tells
  /// it. Lives on the GUI thread.
  CPastDriver(desk::CDesk& desk, std::function<void(const QString&)> tell) : m_desk(desk), m_tell(std::move(tell)) {}

  /// While the panel is told how a hedge stands, it is the panel that asks on the GUI thread, and not its user. On that
  /// thread.
  void setAnnouncing(bool announcing) { m_bAnnouncing = announcing; }

  void createTask(const desk::SCreateRequest&) override;
  void operateServerTask(const std::string&, const desk::OpRecordPtr&) override;
  void queryOrderProcess(const std::vector<std::string>&) override;
  void operateLocalTask(int, const desk::AccountPtr&, const desk::OpRecordPtr&) override { refuseUser(); }
  void cancelOrders(const std::string&, const std::vector<std::string>&) override { refuse({}); }
  void pauseHedge(int) override { refuseUser(); }
  void stopHedge(int) override { refuseUser(); }

 private:
  /// On its worker, or because of what it is told.
  bool asksByItself() const;
  void refuse(std::function<void()> answer);
  void refuseUser();

  desk::CDesk& m_desk;
  std::function<void(const QString&)> m_tell;
  bool m_bAnnouncing = false;  ///< GUI thread
};

}  // namespace app
