#pragma once

#include <optional>
#include <set>
#include <string>

#include "ELetGo.h"
#include "tc/CTradeClient.h"

namespace TC {

/// How far a patch has come that the user started.
///
///   Idle        -- begin -->    Begun        the click; refused while another patch is under way
///   Begun       -- ask -->      Asking       of a task with server details
///   Asking      -- goOn -->     Begun        by the answer to the newest query
///   Begun       -- confirm -->  Confirming
///   Confirming  -- end -->      Idle         given up, refused, or sent
///   Idle        (sent)          Awaited      kept by the CPatchStore, until the first detail of it has come
///
/// A step that does not fit is refused, so that no click, no answer that comes twice or late, and no dialog leads to a
/// second patch beside the first. A drop and the end of the day stop Asking; what is being confirmed then is judged
/// when the dialog has ended.
enum class EPatchStep {
  Idle,
  Begun,       ///< what may be ordered is looked for
  Asking,      ///< the server is asked what its tasks have finished
  Confirming,  ///< the user is asked
  Awaited      ///< it was sent, and nothing of it has come
};

/// The state of one task's patch.
class CPatchState {
 public:
  /// An Asking that has no answer after this time keeps nobody from beginning again.
  static constexpr double ANSWER_MSEC = 10000;

  /// awaited: something that was sent is.
  EPatchStep step(bool awaited) const { return awaited ? EPatchStep::Awaited : m_step; }

  /// False while a patch is under way, or when nobody shows the task. now: of the host's clock, milliseconds.
  bool begin(bool awaited, double now);
  /// The server is asked; running: the keys of those of its tasks that had not ended. The number of the query.
  int ask(std::set<std::string> running, double now);
  bool isNewest(int query) const { return query == m_nQuery; }
  /// What the newest query was answered.
  void answer(const OrderProcessMap& finished);
  /// The answer is taken up: a second one, or one that came too late, finds nothing to take up.
  std::optional<OrderProcessMap> goOn();
  /// Whether a server task was running when it was asked for: an answer does not tell what it sends afterwards.
  bool ranWhenAsked(const std::string& serverKey) const { return m_running.contains(serverKey); }
  /// The user is asked: of a patch that has begun, or of one that begins with it.
  bool confirm(bool awaited, double now);
  void end() { m_step = EPatchStep::Idle; }

  /// The user has given the task's patches up: what is answered from now on starts none.
  void giveUp();
  /// The user has dropped the task.
  void drop();
  void letGo(ELetGo why);

  /// Whether what the user was asked is still to be done; whatever the details say, it is not once the task was dropped
  /// or its day is over.
  bool holds() const { return m_letGo == ELetGo::Held && !m_bDropped; }
  ELetGo whyLetGo() const { return m_letGo; }

 private:
  EPatchStep m_step = EPatchStep::Idle;
  OrderProcessMap m_finished;  ///< the last answer
  std::set<std::string> m_running;
  int m_nQuery = 0;     ///< number of the newest query
  int m_nAnswered = 0;  ///< number of the one that was answered last
  double m_dAskedMSec = 0;
  ELetGo m_letGo = ELetGo::Held;
  bool m_bDropped = false;  ///< since the user was asked
};

}  // namespace TC
