#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace TC {

class CBasketTask;

/// What a task has announced, as much of it as makes a difference.
struct STaskAnnouncements {
  struct SStatus {
    QString name;
    bool ended;  ///< an operation on the node came to nothing; without status and type
    int status;
    int type;

    bool operator==(const SStatus& other) const = default;
  };
  struct SOrders {
    QString name;
    int count;
    int knownCount;
  };

  std::vector<SStatus> statuses;  ///< in the order in which they were announced: each changes what the next one meets
  std::vector<SOrders> orders;    ///< the newest of each name
};

/// Collects what tasks announce on any thread until the GUI thread takes it, so that a refresh of thousands of tasks
/// costs the GUI thread one queued call.
///
/// A task announces with its mutex held: nothing is called under the one in here. Shared with the tasks that are
/// listened to, which may outlive the panel.
class CTaskAnnouncements : public QObject, public std::enable_shared_from_this<CTaskAnnouncements> {
  Q_OBJECT

 public:
  /// Collects from now on what the task announces; it is a task of that day. Before others know the task.
  void listen(const CBasketTask& task, unsigned day);
  /// Drops what was collected, and from now on what tasks of another day announce.
  void startDay(unsigned day);
  /// Everything collected since the last call, task by task. GUI thread.
  std::vector<STaskAnnouncements> take();
  /// The task's rows were staged and will be applied after what was announced before them. What of that changes nothing
  /// any more is dropped: order counts, and a status that the root's row has already. Most refreshes bring no other.
  void onStaged(const CBasketTask& task);

  /// While it stands, what is announced on its thread waits for its end: the announcements of a job come in one go.
  /// Those of other threads do not wait. One at a time.
  class CHold {
   public:
    explicit CHold(CTaskAnnouncements& announcements);
    CHold(const CHold&) = delete;
    CHold& operator=(const CHold&) = delete;
    ~CHold();

   private:
    CTaskAnnouncements& m_announcements;
  };

 Q_SIGNALS:
  /// Something waits to be taken; once until then. Any thread, perhaps with a task's mutex held: to be connected
  /// queued.
  void sigWaiting();

 private:
  struct STask {
    QString root;  ///< as the task names it
    STaskAnnouncements announced;
    STaskAnnouncements::SStatus last{};  ///< of those that were taken
    bool waits = false;
  };

  void addStatus(std::size_t place, unsigned day, const STaskAnnouncements::SStatus& status);
  void addOrders(std::size_t place, unsigned day, const STaskAnnouncements::SOrders& orders);
  STaskAnnouncements* of(std::size_t place, unsigned day);
  bool mustTell();

  std::mutex m_mutex;  ///< guards the rest; nothing else is locked or called under it
  unsigned m_nDay = 0;
  std::vector<STask> m_tasks;            ///< of the day
  QHash<QString, std::size_t> m_places;  ///< of the tasks among them, by key
  std::vector<std::size_t> m_waiting;    ///< those that have announced something, in the order in which they did first
  std::thread::id m_holder;
  bool m_bTold = false;
};

}  // namespace TC
