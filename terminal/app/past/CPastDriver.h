#pragma once

#include <QObject>
#include <functional>

#include "CDesk.h"
#include "IDeskDriver.h"

namespace app {

/// Whoever wants something done in a day that is over is refused, in words. Any thread.
class CPastDriver : public QObject, public desk::IDeskDriver {
  Q_OBJECT

 public:
  /// The desk must outlive the driver. tell: on the GUI thread, of each request; with a text where nobody else tells
  /// it.
  CPastDriver(desk::CDesk& desk, std::function<void(const QString&)> tell) : m_desk(desk), m_tell(std::move(tell)) {}

  void createTask(const desk::SCreateRequest&) override;
  void operateServerTask(const std::string&, const desk::OpRecordPtr&) override;
  void queryOrderProcess(const std::vector<std::string>&) override;
  void operateLocalTask(int, const desk::AccountPtr&, const desk::OpRecordPtr&) override { refuse({}); }
  void cancelOrders(const std::string&, const std::vector<std::string>&) override { refuse({}); }
  void pauseHedge(int) override { refuse({}); }
  void stopHedge(int) override { refuse({}); }

 private:
  void refuse(std::function<void()> answer);

  desk::CDesk& m_desk;
  std::function<void(const QString&)> m_tell;
};

}  // namespace app
