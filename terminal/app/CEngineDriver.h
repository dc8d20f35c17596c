#pragma once

#include <functional>

#include "Acts.h"
#include "IDeskDriver.h"

namespace app {

/// Carries out on a simulation what the panel asks of the host. Each request is put aside for the simulation's thread.
/// Any thread.
class CEngineDriver : public desk::IDeskDriver {
 public:
  /// Has an act carried out on the simulation's thread, those that come first first.
  using Post = std::function<void(engine::Act)>;

  explicit CEngineDriver(Post post) : m_post(std::move(post)) {}

  void createTask(const desk::SCreateRequest& request) override;
  void operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) override;
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys) override;
  void operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) override;
  /// The record of the operation has paused the task already; so this changes nothing, or pauses a task that it missed.
  void pauseLocalTask(int taskId, const desk::AccountPtr& account) override;
  void resumeLocalTask(int taskId, const desk::AccountPtr& account) override;
  void cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) override;
  void setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void startHedge(int groupId) override;
  void pauseHedge(int groupId) override;
  void stopHedge(int groupId) override;

 private:
  void operate(int taskId, const desk::AccountPtr& account, int operation);

  Post m_post;
};

}  // namespace app
