#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ksservice/CTaskDetail.h"
#include "ksservice/CTaskOpRecord.h"
#include "utils/Subscription.h"

namespace ksservice {

/// Called with each record of a data type, on a thread of the host.
using DataCallback = std::function<void(const boost::shared_ptr<IData>&)>;

/// What has changed of what the data centre knows of orders.
struct SOrderChanges {
  bool all = true;                ///< anything may have changed
  std::uint64_t version = 0;      ///< of the answer: what to ask with next
  std::vector<std::size_t> tags;  ///< CMavOrderTag::hash of each order of which something else is known now
};

/// The host's store of records. Any thread; a record that it hands out is never changed afterwards.
class IDataCenter {
 public:
  virtual ~IDataCenter() = default;

  /// From now on callback gets every new record of the data type, until the handle goes.
  virtual utils::CSubscriptionHandle subscribe(int dataType, DataCallback callback) = 0;
  /// The newest record with a key; null for an unknown one.
  virtual CTaskDetailPtr taskDetail(const std::string& key) const = 0;
  /// The newest detail of every task, in key order.
  virtual std::vector<CTaskDetailPtr> taskDetails() const = 0;
  /// Identity text of the current login.
  virtual std::string loginIdentity() const = 0;
  /// A value beside the command identifier in the key of a task's command.
  virtual int commandNumber(int commandId) const = 0;
  /// Null when no detail is known for the tag.
  virtual COrderDetailPtr orderDetail(const CMavOrderTag& tag) const = 0;
  /// Of which orders orderDetail may answer otherwise than when a version was the newest; 0 is older than every
  /// version. A host that keeps no such list is asked for every order each time.
  virtual SOrderChanges orderChanges(std::uint64_t /*since*/) const { return {}; }
  /// A number that is not 0 and the same for two details of one key only if their parameters are equal; 0: unknown.
  virtual std::uint64_t paramsVersion(const CTaskDetail& /*detail*/) const { return 0; }
  /// Takes a detail back that the panel has corrected: the store's copy is replaced by it.
  virtual void updateData(const CTaskDetailPtr& detail) = 0;
};

/// The tasks that run in this terminal, not on a server. They are known by their identifier and the account. Any
/// thread; nothing is reported back: what became of an operation comes with the next details.
class ITaskCenter {
 public:
  virtual ~ITaskCenter() = default;
  virtual void operateTask(const boost::shared_ptr<const CTaskOpRecord>& record, int taskId,
                           const boost::shared_ptr<const CAccountInfo>& account) = 0;
  virtual void pauseTask(int taskId, const boost::shared_ptr<const CAccountInfo>& account) = 0;
  virtual void resumeTask(int taskId, const boost::shared_ptr<const CAccountInfo>& account) = 0;
};

/// The entry to the host's trading data.
class TraderCenter {
 public:
  static TraderCenter& instance();
  IDataCenter& getDataCenter() const;
  ITaskCenter& getTaskCenter() const;
};

}  // namespace ksservice
