/// The host between the panel and the market: it delays, reorders and loses what they tell each other, and invents
/// nothing. Each detail's states come in their order, though not every one.
#pragma once

#include <deque>
#include <set>
#include <thread>

#include "CTestHost.h"
#include "SafetyMarket.h"

namespace test {

using Details = std::map<std::string, ksservice::CTaskDetailPtr>;  ///< by key

/// A patch that the panel asked for, and what became of it.
struct SCreation {
  int m_nBasket = 0;
  std::map<LineKey, long long> m_lines;
  std::int64_t m_nAsked = 0;       ///< milliseconds since midnight
  std::set<std::string> m_before;  ///< details that the data centre knew then
  int m_nTask = 0;                 ///< that the server made of it
  bool m_bTold = false;            ///< the panel was told what became of it
  bool m_bFailed = false;          ///< ... and that it came to nothing
  bool m_bTwin = false;            ///< another terminal's patch orders exactly the same
  // What the user did to the basket since.
  std::set<int> m_stops;  ///< the operations by which he gave it up
  bool m_bPaused = false;
  bool m_bWaitEnded = false;  ///< he took the way out

  /// It holds its lines: nothing has come of it yet, as far as the panel can know. Before the answer nobody could tell
  /// its twin from what comes of it.
  bool holds() const { return m_nTask == 0 && !m_bFailed && !m_bTwin; }
};
using CreationPtr = std::shared_ptr<SCreation>;

/// Told of what the panel does.
class IPanelWatcher {
 public:
  virtual ~IPanelWatcher() = default;
  virtual void onAsked(const testkit::CTestHost::SCreation& request, SCreation& creation) = 0;
  /// An operation on a sub-task, in the words of operationText.
  virtual void onSent(const std::string& operation) = 0;
  virtual void note(const std::string& text) = 0;
};

/// "12-1 3" of a server task, "12@A1 3" of the terminal's own; a pause or resume beside the record has a minus.
std::string operationText(const ksservice::CTaskDetail& detail, int operation);

/// Neither a patch nor a hedge.
bool isOwn(const ksservice::CTaskDetail& detail);

/// GUI thread.
class CSafetyHost {
 public:
  CSafetyHost(SDayPlan& plan, Random& random, IPanelWatcher& watcher);

  testkit::CTestHost& front() { return m_front; }
  std::int64_t now() const { return m_nNow; }
  /// Lets the market go on to msec since midnight, and some of what is on its way arrive.
  void step(std::int64_t msec);
  /// Delivers the newest state of every detail that has not been delivered.
  void flush();
  /// Delivers some of what goes on meanwhile, on a thread of its own.
  void feedAside();
  void endFeed();
  /// Every detail of what the panel shows comes once more, all in one refresh.
  void renew();
  /// Until no job and no queued call of the panel is left, with what it asked for on its way.
  void settle();
  /// Takes what the panel asked for.
  void pump();
  /// Everything ends in the market.
  void endDay();
  /// The terminal dies, and is started again: of what it asked for some was kept and is carried out, the rest never
  /// was; nobody waits for answers any more, and its data centre knows what the market made of it all. Without a panel.
  void restart();
  /// All of that is delivered (in the middle of a refresh only to the data centre), the panel hears of a new trading
  /// day, and a basket is started.
  void startNewDay(bool amidst);

  /// Every line; knowable: as far as the panel could know of patches that another terminal made.
  Truth truth(bool knowable) const;
  std::string accountFault() const { return m_market.accountFault(); }
  /// The patches that were asked for on this trading day.
  const std::vector<CreationPtr>& creations() const { return m_creations; }
  /// What the panel has seen since the last call of what the feed told.
  Details takeSeen();
  /// The panel loads what the data centre knows, and returns it.
  const Details& load();
  /// What the data centre knows.
  const Details& stored() const { return m_stored; }
  /// Whether an answer to the basket's newest query is still to come.
  bool isQueried(int basket) const { return m_queried.contains(basket); }
  int basketOf(const LineKey& line) const { return m_baskets[m_plan.basketOf(std::get<1>(line))]; }
  const std::vector<int>& baskets() const { return m_baskets; }

 private:
  enum class EWay { Request, Reply };
  struct SLetter {
    EWay m_eWay;
    std::int64_t m_nTime;
    std::function<void()> m_deliver;
  };
  struct SSource {
    std::deque<desk::SPublication> m_waiting;  ///< the oldest first
    boost::shared_ptr<const TC::CTaskProgress> m_pProgress;
    boost::shared_ptr<const TC::CTaskProgress> m_pDelivered;
    bool m_bOwed = false;  ///< the feed has not told what the data centre knows
  };

  void startBasket();
  void waitForJobs();
  void post(EWay way, int percentLost, bool late, std::function<void()> deliver);
  void ask(const testkit::CTestHost::SCreation& request);
  void query(const testkit::CTestHost::SQuery& query);
  void operate(const testkit::CTestHost::SCall& call);
  void deliverSome();
  bool canCome(const SSource& source) const;
  void deliverProgress(const std::string& key, SSource& source);
  void deliver(const std::string& key, SSource& source, bool newest, bool feed);
  void patchElsewhere();
  void findTwins();

  SDayPlan& m_plan;
  Random& m_random;
  IPanelWatcher& m_watcher;
  testkit::CTestHost m_front;
  CSafetyMarket m_market;
  std::int64_t m_nNow = exchange::DAY_OPENS;
  std::vector<int> m_baskets;  ///< by place in the plan
  std::vector<SLetter> m_letters;
  std::vector<CreationPtr> m_creations;
  std::set<int> m_foreign;  ///< tasks of another terminal
  std::vector<std::map<LineKey, long long>> m_foreignLines;
  int m_nQueries = 0;
  std::map<int, int> m_queried;  ///< by basket: the number of the query
  std::map<std::string, SSource> m_sources;
  Details m_stored;
  Details m_fed;  ///< and not seen
  std::thread m_feed;
  bool m_bAside = false;  ///< what is delivered waits for that thread
  std::vector<desk::SPublication> m_aside;
  Details m_fedAside;
  Details m_seen;
  std::set<int> m_shown;  ///< baskets of which the panel was told something
  long m_nRefreshes = 0;
};

}  // namespace test
