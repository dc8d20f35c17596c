/// Whatever happens, and in whatever order it is heard of: no line of a task and its patches ever has more traded and
/// in the market than its target, and the figures are the sums over the orders.
#include <random>

#include "PatchFixture.h"

namespace {

using namespace ksservice;

struct SLine {
  std::string account;
  std::string code;
  int operation;
  int target;
};

const std::vector<SLine> LINES = {{"A1", "600000", EOT_Buy, 2000},
                                  {"A1", "600001", EOT_Buy, 1500},
                                  {"A1", "600000", EOT_Sell, 730},
                                  {"A2", "600000", EOT_Buy, 900},
                                  {"A2", "600002", EOT_Sell, 1111}};

struct SWorkingOrder {
  std::size_t line;
  int volume;
  int traded;
  bool done;
  std::string key;

  int potential() const { return done ? traded : volume; }
};

/// A task, or a patch of it, as its host has it; what the panel has heard of it may be old.
struct SJob {
  int id = 123;
  int number = 1;
  bool patch = false;
  bool server = false;
  bool endsEarly = false;  ///< is cancelled as soon as it sends no more, though orders are still open
  std::string account;
  std::map<std::size_t, int> planned;  ///< by line
  std::map<std::size_t, int> sent;
  std::vector<SWorkingOrder> orders;
  int stoppedBy = 0;  ///< ETaskOperation; 0: it may still send

  bool isOpen() const {
    return std::any_of(orders.begin(), orders.end(), [](const SWorkingOrder& order) { return !order.done; });
  }
  bool isFull() const {
    std::map<std::size_t, int> traded;
    for (const SWorkingOrder& order : orders) traded[order.line] += order.traded;
    return std::all_of(planned.begin(), planned.end(),
                       [&](const auto& line) { return traded[line.first] >= line.second; });
  }
  int status() const {
    if (stoppedBy == ETO_Drop) return ETS_Dropped;
    if (isFull()) return ETS_Finished;
    return stoppedBy != 0 && (endsEarly || !isOpen()) ? ETS_Cancelled : ETS_Running;
  }
};

class CPatchPropertyTest : public CPatchTaskTest, public testing::WithParamInterface<unsigned> {
 protected:
  CPatchPropertyTest() {
    for (const SLine& line : LINES) instrument("SH", line.code, 100);
    for (const char* account : {"A1", "A2"}) {
      SJob& job = m_jobs.emplace_back();
      job.number = static_cast<int>(m_jobs.size());
      job.account = account;
      job.server = pick(3) == 0;
      for (std::size_t i = 0; i < LINES.size(); ++i) {
        if (LINES[i].account == account) job.planned[i] = LINES[i].target;
      }
      publish(job);
    }
    refresh();
    inDialog([this](GV::CCommonDialog& dialog) { confirm(dialog); });
  }

  int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

  // The host

  void trade() {
    SJob& job = m_jobs[static_cast<std::size_t>(pick(static_cast<int>(m_jobs.size())))];
    if (job.stoppedBy == 0) send(job);
    for (SWorkingOrder& order : job.orders) {
      if (order.done || pick(2)) continue;
      order.traded = std::min(order.volume, order.traded + pick(order.volume + 1));
      const bool rejected = pick(10) == 0;
      order.done = order.traded == order.volume || rejected || (job.stoppedBy != 0 && pick(2));
    }
    if (pick(2)) publish(job);
  }

  void send(SJob& job) {
    for (const auto& [line, planned] : job.planned) {
      const int rest = planned - job.sent[line];
      if (rest <= 0 || pick(3)) continue;
      const int volume = std::min(rest, 100 * (1 + pick(8)));
      job.sent[line] += volume;
      job.orders.push_back({line, volume, 0, false, "o" + std::to_string(m_nOrders++)});
    }
  }

  void publish(const SJob& job) {
    DetailPtr made = job.patch ? patchDetail(job.id, job.number) : detail(job.number);
    made->m_nStatus = job.status();
    made->m_bServerTask = job.server;
    for (const auto& [line, planned] : job.planned) {
      made->m_params.push_back(param(accountOf(job), "SH", LINES[line].code, LINES[line].operation, planned, 10));
    }
    TC::CTaskProgress progress;
    for (const SWorkingOrder& order : job.orders) publish(job, order, *made, progress);
    // The progress of a server task comes when it comes.
    if (job.server && pick(2)) host.setProgress(made->getKey(), progress);
    host.store(made);
    m_heard[made->getKey()] = made;
  }

  void publish(const SJob& job, const SWorkingOrder& working, CTaskDetail& made, TC::CTaskProgress& progress) {
    const SLine& line = LINES[working.line];
    if (!job.server) {
      OrderPtr known = order(working.key, "SH", line.code, line.operation, working.volume, working.traded, 0);
      known->m_bCompleted = working.done;
      known->m_dTradedAmount = working.traded * 10;
      made.m_orders.push_back(known);
      return;
    }
    TC::CProgressOrder entry;
    entry.m_strMapKey = accountOf(job)->m_strDisplayId;
    entry.m_nParamIndex = static_cast<int>(std::distance(job.planned.begin(), job.planned.find(working.line)));
    entry.m_detail.m_strMarket = "SH";
    entry.m_detail.m_strCode = line.code;
    entry.m_detail.m_nTradedVolume = working.traded;
    entry.m_detail.m_dTradedAmount = working.traded * 10;
    progress.m_orders.push_back(entry);
  }

  const AccountPtr& accountOf(const SJob& job) const { return job.account == "A1" ? mainAccount : secondAccount; }

  /// What was asked of the host reaches it, some of it later.
  void operate(bool all) {
    for (auto& call : host.takeCalls()) m_calls.push_back(call);
    std::vector<test::CTestHost::SCall> later;
    for (const auto& call : m_calls) {
      if (!all && pick(3) == 0) {
        later.push_back(call);
        continue;
      }
      for (SJob& job : m_jobs) {
        const bool local = call.kind == test::CTestHost::ECall::OperateLocal && !job.server && call.id == job.id &&
                           call.key == job.account;
        const bool server = call.kind == test::CTestHost::ECall::OperateServer && job.server && call.key == keyOf(job);
        if ((local || server) && (job.stoppedBy == 0 || call.record->m_nOperation == ETO_Drop)) {
          job.stoppedBy = call.record->m_nOperation;
        }
      }
    }
    m_calls = later;
  }
  static std::string keyOf(const SJob& job) { return CTaskDetail::genKey(job.id, job.number); }

  /// Answers progress queries: rightly, with numbers from now or from when they were asked, with a task left out, or
  /// not at all.
  void answer(bool all) {
    for (auto& query : host.takeQueries()) m_queries.emplace_back(query, numbers(query.tasks));
    std::vector<std::pair<test::CTestHost::SQuery, Answer>> later;
    for (auto& [query, before] : m_queries) {
      const int how = all ? 0 : pick(8);
      Answer data = how == 1 ? before : numbers(query.tasks);
      if (how == 2) data.erase(data.begin());
      if (how == 3) {
        later.emplace_back(query, before);
      } else {
        query.completion(data, how == 4 ? utils::KSError("refused") : utils::KSError(), bson::BSONObj());
      }
      if (how == 5) query.completion(data, {}, {});
    }
    m_queries = later;
    QCoreApplication::processEvents();
  }
  Answer numbers(const std::vector<std::string>& tasks) const {
    Answer data;
    for (const SJob& job : m_jobs) {
      if (std::find(tasks.begin(), tasks.end(), keyOf(job)) == tasks.end()) continue;
      Numbers& numbers = data[keyOf(job)];
      for (const SWorkingOrder& order : job.orders) numbers["SH." + LINES[order.line].code] += order.potential();
    }
    return data;
  }

  /// Makes the tasks of patches that were asked for, or refuses them; the answer comes before the details, after them
  /// or never.
  void create(bool all) {
    for (auto& created : host.takeCreations()) {
      m_nConfirmed += created.hedgeType == 1;
      m_creations.push_back(std::move(created));
    }
    EXPECT_LE(m_nConfirmed, m_nAccepted) << "nothing is ordered that nobody accepted";
    std::vector<test::CTestHost::SCreation> later;
    for (auto& created : m_creations) {
      const int how = all ? 0 : pick(6);
      const bool bad = created.params.empty() || std::any_of(created.params.begin(), created.params.end(),
                                                             [](const auto& line) { return line.m_nVolume < 1; });
      if (how == 1) {
        later.push_back(created);
      } else if (how == 2 || bad) {
        created.completion(utils::KSError("refused"), 0);
      } else {
        const int id = makePatch(created.params);
        if (how != 3) m_answers.emplace_back(created, id);
      }
    }
    m_creations = later;
    for (std::size_t i = m_answers.size(); i-- > 0;) {
      if (!all && pick(2)) continue;
      m_answers[i].first.completion({}, m_answers[i].second);
      m_answers.erase(m_answers.begin() + static_cast<std::ptrdiff_t>(i));
    }
    QCoreApplication::processEvents();
  }
  int makePatch(const std::vector<CCodeOrderParam>& params) {
    const int id = 200 + m_nPatches++;
    std::map<std::string, SJob> jobs;
    for (const CCodeOrderParam& line : params) {
      SJob& job = jobs[line.m_pAccount->getKey()];
      for (std::size_t i = 0; i < LINES.size(); ++i) {
        const bool same = LINES[i].account == line.m_pAccount->getKey() && LINES[i].code == line.m_stock.m_strCode &&
                          LINES[i].operation == line.m_nOperation;
        if (same) job.planned[i] += line.m_nVolume;
      }
    }
    int number = 1;
    for (auto& [account, job] : jobs) {
      job.id = id;
      job.number = number++;
      job.account = account;
      job.patch = true;
      job.server = pick(3) == 0;
      job.endsEarly = pick(2) == 0;
      m_jobs.push_back(job);
      publish(job);
    }
    return id;
  }

  // The panel and its user

  /// The task hears of some details, or of all.
  void refresh(bool all = true) {
    for (const bool patches : {false, true}) {
      for (auto heard = m_heard.begin(); heard != m_heard.end();) {
        DetailPtr made = heard->second;
        if (made->m_pCommand->m_bPatch != patches || (!all && pick(2))) {
          ++heard;
          continue;
        }
        heard = m_heard.erase(heard);
        patches ? task.updatePatch(made) : task.updateDetail(made);
      }
    }
  }

  void act() {
    switch (pick(24)) {
      case 0:
        return task.cancel("");
      case 1:
        return task.pause("");
      case 2:
        return task.unpatch("");
      case 3:
      case 4:
      case 5:
      case 6:
        task.checkHasAlgoTask(task.getKey(), EMTT_Stock);
        if (pick(4) == 0) task.checkHasAlgoTask(task.getKey(), EMTT_Stock);
        return;
      case 7:
        // A host does not offer it where a server has a part in the task: it asks for no answer.
        if (std::none_of(m_jobs.begin(), m_jobs.end(), [](const SJob& job) { return job.server; })) {
          task.patch(QString(), EPT_Counterpart);
        }
        return;
      default:
        return;
    }
  }

  void confirm(GV::CCommonDialog& dialog) {
    for (const GV::SDialogRow& shown : dialog.state().rows) {
      if (m_bSettling) break;
      if (pick(3) == 0) dialog.edit(shown.key, QString::number(pick(3000) - 100));
      if (pick(4) == 0) dialog.check(shown.key, false);
    }
    // Time passes while the user thinks.
    for (int i = m_bSettling ? 0 : pick(4); i > 0; --i) {
      trade();
      operate(false);
      refresh(false);
    }
    const bool accepted = m_bSettling || pick(4);
    m_nAccepted += accepted;
    EXPECT_EQ(dialog.press(accepted ? "选中补单" : "取消"), "");
  }

  // What must hold

  void expectWithinTargets(const std::string& when) {
    std::vector<int> taken(LINES.size());
    for (const SJob& job : m_jobs) {
      for (const SWorkingOrder& order : job.orders) taken[order.line] += order.potential();
    }
    for (std::size_t i = 0; i < LINES.size(); ++i) {
      ASSERT_LE(taken[i], LINES[i].target) << when << ", line " << i << ", seed " << GetParam();
    }
  }

  void expectFigures() {
    std::vector<int> traded(LINES.size()), orders(LINES.size());
    for (const SJob& job : m_jobs) {
      for (const SWorkingOrder& order : job.orders) {
        traded[order.line] += order.traded;
        ++orders[order.line];
      }
    }
    for (std::size_t i = 0; i < LINES.size(); ++i) {
      const QString key = "SH." + QString::fromStdString(LINES[i].code) + operationText(LINES[i].operation);
      const TC::CBasketTaskItem& item = row(key, QString::fromStdString(LINES[i].account));
      EXPECT_EQ(item.m_nFinishedVolume, traded[i]) << i;
      EXPECT_EQ(item.m_nOrderCount, orders[i]) << i;
      EXPECT_DOUBLE_EQ(item.m_dTradedAmount, traded[i] * 10.0) << i;
    }
  }

  /// Everything that is under way comes to its end, and the panel hears of it.
  void settle() {
    m_bSettling = true;
    for (SJob& job : m_jobs) {
      if (job.stoppedBy == 0) job.stoppedBy = ETO_Cancel;
      for (SWorkingOrder& order : job.orders) order.done = true;
    }
    for (int i = 0; i < 3; ++i) {
      operate(true);
      answer(true);
      create(true);
    }
    for (SJob& job : m_jobs) {
      if (job.stoppedBy == 0) job.stoppedBy = ETO_Cancel;
      publish(job);
      publishProgress(job);
    }
    refresh();
    for (const SJob& job : m_jobs) publish(job);
    refresh();
  }

  /// A user who patches until nothing is left gets there.
  void patchToTheEnd() {
    for (int round = 0; round < 12; ++round) {
      task.checkHasAlgoTask(task.getKey(), EMTT_Stock);
      answer(true);
      create(true);
      for (SJob& job : m_jobs) {
        if (job.stoppedBy != 0) continue;
        send(job);
        for (SWorkingOrder& order : job.orders) order.traded = round < 6 ? pick(order.volume + 1) : order.volume;
        if (round >= 6) {
          for (const auto& [line, planned] : job.planned) {
            const int rest = planned - job.sent[line];
            job.orders.push_back({line, rest, rest, true, "r" + std::to_string(m_nOrders++)});
          }
        }
      }
      settle();
      ASSERT_NO_FATAL_FAILURE(expectWithinTargets("round " + std::to_string(round)));
    }
    for (std::size_t i = 0; i < LINES.size(); ++i) {
      // An answer does not tell a line's purchases from its sales: where an account has both, they count for both.
      if (LINES[i].account == "A1" && LINES[i].code == "600000") continue;
      const QString key = "SH." + QString::fromStdString(LINES[i].code) + operationText(LINES[i].operation);
      const TC::CBasketTaskItem& item = row(key, QString::fromStdString(LINES[i].account));
      EXPECT_LT(LINES[i].target - item.m_nFinishedVolume, LINES[i].operation == EOT_Buy ? 100 : 1) << i;
    }
  }

  void publishProgress(const SJob& job) {
    if (!job.server) return;
    TC::CTaskProgress progress;
    CTaskDetail unused;
    for (const SWorkingOrder& order : job.orders) publish(job, order, unused, progress);
    host.setProgress(keyOf(job), progress);
  }

  std::mt19937 m_random{GetParam()};
  std::vector<SJob> m_jobs;
  std::map<std::string, DetailPtr> m_heard;
  std::vector<test::CTestHost::SCall> m_calls;
  std::vector<std::pair<test::CTestHost::SQuery, Answer>> m_queries;
  std::vector<test::CTestHost::SCreation> m_creations;
  std::vector<std::pair<test::CTestHost::SCreation, int>> m_answers;
  int m_nOrders = 0;
  int m_nPatches = 0;
  int m_nAccepted = 0;
  int m_nConfirmed = 0;
  bool m_bSettling = false;
};

TEST_P(CPatchPropertyTest, NeverAShareTooManyAndEveryFillIsCounted) {
  for (int step = 0; step < 150; ++step) {
    if (step == 20) task.cancel("");
    trade();
    act();
    operate(false);
    answer(false);
    create(false);
    refresh(false);
    ASSERT_NO_FATAL_FAILURE(expectWithinTargets("step " + std::to_string(step)));
  }
  settle();
  expectWithinTargets("settled");
  expectFigures();
  patchToTheEnd();
  expectFigures();
  RecordProperty("patches", m_nPatches);
  RecordProperty("confirmed", m_nConfirmed);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CPatchPropertyTest, testing::Range(0u, 60u));

}  // namespace
