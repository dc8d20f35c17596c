#pragma once

#include <boost/weak_ptr.hpp>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CDrillEngine.h"
#include "CDrillTerminal.h"

namespace drill {

/// The way between the server's desk and the terminal's: what the engine puts out and what the panel asks for comes
/// late, is left out, comes twice or never. Each detail's states come in their order. GUI thread, while nothing runs.
class CDrillWire : public desk::IDeskObserver {
 public:
  /// asked: told of each creation that the panel asks for, before it goes out.
  using Asked = std::function<void(const desk::SCreateRequest&)>;
  CDrillWire(const SDrillPlan& plan, SReportCard& card, Asked asked);

  void connect(CDrillEngine& engine);
  /// A terminal that was started just now: it gets all that the server knows. What is under way to one before is gone.
  void connect(CDrillTerminal& terminal);
  /// Something happens at msec since midnight: what the panel asked for goes out, and what is due arrives.
  void advanceTo(std::int64_t msec);
  /// What the panel asked for goes out.
  void takeRequests();
  /// Nothing is delivered until msec.
  void stall(std::int64_t msec) { m_nStalledUntil = msec; }
  /// Delivers the newest state of every detail.
  void flush();
  /// Delivers what is due, on the thread that calls: a host thread may.
  void deliverDue(bool amidst);
  /// Delivers so many details at once, from two threads, each as the terminal knows it.
  void tellAgain(long count);
  /// Another terminal, which knows nothing of this one's patches, asks for a part of some line.
  void patchElsewhere();
  /// Nothing goes wrong any more.
  void calm() { m_bCalm = true; }
  /// That the panel asked for more than is left, though nobody else patches; empty: it did not.
  const std::string& excessFault() const { return m_strExcess; }
  /// Every detail that was delivered on this day.
  const std::vector<boost::weak_ptr<const ksservice::CTaskDetail>>& delivered() const { return m_delivered; }

  void onTask(const desk::SPublication& publication) override;
  void onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) override;
  void onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) override;
  void onCommand(const ksservice::COrderCommand& command) override;
  void onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onHedgeState(int groupId, int status) override;

 private:
  struct SState {
    std::int64_t m_nDue = 0;
    desk::SPublication m_publication;
  };
  struct SSource {
    std::deque<SState> m_waiting;  ///< the oldest first
    std::optional<TC::CTaskProgress> m_progress;
  };
  struct SLetter {
    std::int64_t m_nDue = 0;
    long m_nSent = 0;
    std::function<void()> m_deliver;
  };

  bool happens(EFault fault, int percent);
  void post(std::int64_t delay, std::function<void()> deliver);
  void reply(const std::function<void()>& answer);
  void ask(const testkit::CTestHost::SCreation& request);
  void operate(const testkit::CTestHost::SCall& call);
  void query(const testkit::CTestHost::SQuery& query);
  bool canCome(const SSource& source) const;
  void deliver(const std::string& key, SSource& source, bool amidst);
  void publish(const desk::SPublication& publication);
  void fillDesk();
  void note(journal::SLine::Body body);

  const SDrillPlan& m_plan;
  SReportCard& m_card;
  Asked m_asked;
  CDraw m_draw;
  CDrillEngine* m_pEngine = nullptr;
  CDrillTerminal* m_pTerminal = nullptr;
  bool m_bCalm = false;
  std::string m_strExcess;
  std::int64_t m_nNow = 0;
  std::int64_t m_nStalledUntil = 0;
  long m_nSent = 0;
  std::vector<SLetter> m_letters;
  std::map<std::string, SSource> m_sources;  ///< by detail key
  std::set<int> m_shown;                     ///< tasks of which the terminal knows an own detail
  std::vector<boost::weak_ptr<const ksservice::CTaskDetail>> m_delivered;
};

}  // namespace drill
