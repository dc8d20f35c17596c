#pragma once

#include <map>
#include <memory>

#include "CAlgoSchedule.h"
#include "CSubTask.h"

namespace engine {

/// A sub-task that an algorithm carries out on the server: child orders over time. Its orders stay with the server; the
/// panel sees the progress of each of them. What its lines have traded and have in the market together never exceeds
/// their targets. A child order is what the market takes as one order, and leaves of a buy nothing that it would not
/// take any more.
class CAlgoTask : public CSubTask {
 public:
  struct SSettings {
    TC::SAlgoParams m_params;
    std::int64_t m_nNow = 0;           ///< milliseconds since midnight
    std::int64_t m_nProgressMsec = 0;  ///< progress without a change of status is published at most so often
  };

  CAlgoTask(SIdentity identity, std::vector<SOrderLine> lines, const SSettings& settings);

  bool isServerTask() const override { return true; }
  bool canSend() const override { return !m_due.empty() && isOpen(); }
  bool hasUnsent() const override;
  int claimed(std::size_t line) const override;
  SOrderDue nextOrder() const override { return m_due.back(); }
  double boundPrice(int line, double price) const override;
  void advanceTo(std::int64_t now, const VolumeOf& volumeOf) override;
  bool isOver(std::int64_t now) const override { return m_schedule.hasEnded(now); }
  /// What a pause leaves in the market is not replaced meanwhile.
  bool hasStale() const override { return !m_stale.empty() && isOpen(); }
  std::uint64_t takeStale() override;
  bool isDue(std::int64_t now) const override;
  desk::SPublication publish() override;
  std::unique_ptr<TC::CTaskProgress> progress() const override;
  /// What is finished or may still fill of each security, by its key; held at 2147483647.
  std::map<std::string, int> orderProcess() const;

  void onRejected(int order, const SRefusal& refusal, int seconds) override;
  void onFilled(int order, int quantity, double amount, int seconds) override;
  void onCancelled(int order, const std::string& message, int seconds) override;
  void onCancelRejected(int order, const std::string& message) override;

 protected:
  void onGivenUp(int order) override;
  void onSent(int order, const SOrderDue& due) override;
  bool isAllSent() const override;
  bool isAllFilled() const override;

 private:
  struct SLineState {
    int m_nTraded = 0;
    int m_nWorking = 0;                 ///< may still fill
    int m_nGivenUp = 0;                 ///< left open by orders that the user cancelled
    int m_nRefusedSlice = -1;           ///< in which a child order was refused: none follows in it
    std::int64_t m_nRestUntil = 0;      ///< nor before this time, milliseconds since midnight
    bool m_bClosed = false;             ///< no child order follows: it would be refused
    std::int64_t m_nVolumeBefore = -1;  ///< of the market, when the schedule began; -1: it has not
  };
  struct SChild {
    int m_nLine = 0;
    int m_nSlice = 0;
    bool m_bCancelling = false;
    bool m_bGivenUp = false;  ///< the user cancels it
  };

  SLineState& stateOf(int order) { return m_states[static_cast<std::size_t>(child(order).m_nLine)]; }
  SChild& child(int order) { return m_children[static_cast<std::size_t>(order)]; }
  void examine(std::size_t line);
  void noteLost(std::size_t line);
  bool isBuy(std::size_t line) const;
  int left(std::size_t line) const;
  bool mayOrder(std::size_t line) const;
  int lost(std::size_t line, int quantity) const;
  int childOf(std::size_t line, int due) const;
  bool isStale(std::size_t order) const;
  void plan(std::int64_t now, const VolumeOf& volumeOf);
  int dueOf(std::size_t line, std::int64_t now, const VolumeOf& volumeOf);
  void findStale();

  CAlgoSchedule m_schedule;
  std::int64_t m_nProgressMsec;
  std::int64_t m_nNow;
  std::int64_t m_nNextPlan = 0;
  std::int64_t m_nNextPublish = 0;
  int m_nSlice = 0;
  std::vector<SLineState> m_states;  ///< by line
  std::vector<SChild> m_children;    ///< by order
  std::vector<SOrderDue> m_due;      ///< the next one last
  std::vector<std::size_t> m_stale;  ///< orders that are to be replaced, the next one last
};

}  // namespace engine
