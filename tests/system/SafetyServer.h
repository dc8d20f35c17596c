/// Who trades what the panel asks for, and what is true of it.
#pragma once

#include <functional>
#include <memory>

#include "SafetyPlan.h"

namespace test {

using engine::LineKey;

struct SLineTruth {
  long long m_nTarget = 0;    ///< of the basket itself
  long long m_nTraded = 0;    ///< with all patches
  long long m_nMayTrade = 0;  ///< what is traded, open or still to be sent, in the basket and all its patches
  double m_dAmount = 0;
};
/// By line; a line's instrument tells its basket.
using Truth = std::map<LineKey, SLineTruth>;

/// A server that trades, on one thread. Texts are those of a refusal, empty for none; answers come at once or when time
/// passes.
class ISafetyServer {
 public:
  /// Told the newest state of each detail that changed, and of a server task's orders beside it.
  using Tell = std::function<void(const desk::SPublication&, const boost::shared_ptr<const TC::CTaskProgress>&)>;
  using Created = std::function<void(const std::string& refusal, int taskId)>;
  using Operated = std::function<void(const std::string& refusal)>;
  using Answered = std::function<void(const std::string& refusal, const TC::OrderProcessMap&)>;
  using Counts = std::function<bool(const ksservice::CTaskDetail&)>;

  virtual ~ISafetyServer() = default;
  /// Returns the basket's task.
  virtual int start(const engine::SBasketOrder& basket) = 0;
  /// Milliseconds since midnight.
  virtual void advanceTo(std::int64_t msec) = 0;
  virtual void create(const desk::SCreateRequest& request, Created done) = 0;
  virtual void operate(const std::string& serverTaskKey, int operation, Operated done) = 0;
  virtual void operateLocal(int taskId, const std::string& account, int operation) = 0;
  virtual void query(const std::vector<std::string>& serverTaskKeys, Answered done) = 0;
  /// Every line as it stands now; may trade: by the details that count.
  virtual Truth truth(const Counts& counts) const = 0;
  virtual void endDay() = 0;
};

/// A market of the test's own: honest, and able to do in a moment what an exchange needs a day for.
std::unique_ptr<ISafetyServer> makeSafetyMarket(const SDayPlan& plan, Random& random, ISafetyServer::Tell tell);
/// The terminal's own engine and exchange. In its truth every detail counts.
std::unique_ptr<ISafetyServer> makeSafetyEngine(const SDayPlan& plan, ISafetyServer::Tell tell);

}  // namespace test
