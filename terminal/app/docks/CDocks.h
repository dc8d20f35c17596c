/// The docks around the panel: which there are, who shows them, what they are fed with. GUI thread only.
#pragma once

#include <QDockWidget>
#include <QMap>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Fees.h"
#include "docks/CBlotter.h"
#include "past/WhyFacts.h"

class QMainWindow;
class QMenu;

namespace app {

class CExceptionFinder;

/// Market and code.
using InstrumentNames = std::vector<std::pair<std::string, std::string>>;

/// What the market answers, in the order of the question; taken by who asked.
class CMarketAnswer {
 public:
  /// Any thread.
  void put(std::vector<exchange::SQuote> quotes);
  /// None while there is no new one.
  std::optional<std::vector<exchange::SQuote>> take();

 private:
  std::mutex m_mutex;
  std::optional<std::vector<exchange::SQuote>> m_quotes;
};

/// What docks may ask of a session.
struct SDockSources {
  desk::CDesk* m_pDesk = nullptr;  ///< null: there is no session, and nothing else is there
  CBlotter* m_pBlotter = nullptr;
  /// Has the market answer soon; empty where there is no market.
  std::function<void(const InstrumentNames&, const std::shared_ptr<CMarketAnswer>&)> m_askMarket;
  std::set<std::string> m_suspended;          ///< instruments by their key that do not trade today
  CExceptionFinder* m_pExceptions = nullptr;  ///< null where none are looked for
  exchange::SFeeRates m_fees{};
  /// Shows a row of the panel, see TC::ITradeDockableWidget::showRow.
  std::function<void(int taskId, const QString& rowKey)> m_showRow;
  /// Has a row explained soon, on the GUI thread; empty where nobody can.
  using Explained = std::function<void(const std::vector<SWhyFact>&)>;
  std::function<void(int taskId, const QString& nodeKey, const Explained& answer)> m_explain;
  /// Shows the day as it stood at a moment, milliseconds since midnight; empty where no day is kept.
  std::function<void(std::int64_t msec)> m_showMoment;
};

/// The row that is chosen in the panel; no task: none.
struct SChosenRow {
  int m_nTaskId = -1;
  QString m_strNode;  ///< empty: the root

  bool operator==(const SChosenRow& other) const = default;
};

/// What a dock shows. It is made when its dock is shown first, and asked to refresh only while that shows.
class CDockContent : public QWidget {
 public:
  using QWidget::QWidget;
  /// A session begins, or has ended.
  virtual void attach(const SDockSources& sources) = 0;
  virtual void choose(const SChosenRow& row) = 0;
  /// Once a second, and when it comes into sight; hidden: it goes out of sight.
  virtual void refresh() = 0;
  virtual void hidden() {}
  /// The panel shows another moment of the day than before.
  virtual void moved() {}
  /// Its columns and the like, as one text.
  virtual QString param() const { return {}; }
  virtual void setParam(const QString& /*text*/) {}
};

/// Where a dock stands until the user moves it.
enum class EDockPlace {
  Beside,  ///< at the right of the panel
  Below    ///< behind the log
};

/// The name of the dock that explains rows.
inline constexpr const char* WHY_DOCK = "whyDock";

/// One line for each dock; another dock is another line.
struct SDockKind {
  const char* m_pTitle;
  const char* m_pName;  ///< under which its place and its columns are kept
  CDockContent* (*m_make)(QWidget* parent);
  EDockPlace m_ePlace;
  int m_nSize;  ///< width beside, height below, when it is shown first; pixels at scale 1
};
const std::vector<SDockKind>& dockKinds();

/// The docks of a window, hidden at first, and the menu that shows them.
class CDocks : public QObject {
  Q_OBJECT

 public:
  /// The window must outlive this object. log: a dock at its bottom that is always there; the menu offers it, too.
  CDocks(QMainWindow& window, QDockWidget& log);

  /// The panel's dock, another one each time.
  void setPanel(QDockWidget& panel);
  void attach(const SDockSources& sources);
  void choose(int taskId, const QString& nodeKey);
  /// To the docks that show: the panel stands at another moment of the day.
  void tellMoved();
  /// Brings a dock into sight, by its name.
  void open(const char* name);
  /// Texts of the docks by their names, as they were kept or would be.
  QMap<QString, QString> params() const;
  void setParams(const QMap<QString, QString>& params);

 private:
  struct SDock {
    const SDockKind* m_pKind = nullptr;
    QDockWidget* m_pDock = nullptr;
    CDockContent* m_pContent = nullptr;  ///< null before it is shown first
    bool m_bShown = false;
    SChosenRow m_told{};
  };

  void add(const SDockKind& kind, QDockWidget& log);
  void offer(QDockWidget& dock);
  void showChanged(SDock& dock, bool shown);
  void fit(const SDock& dock);
  void feed(SDock& dock);

  QMainWindow& m_window;
  QMenu* m_pMenu;
  QPointer<QDockWidget> m_pPanel;
  std::vector<std::unique_ptr<SDock>> m_docks;
  SDockSources m_sources;
  SChosenRow m_chosen;
  QMap<QString, QString> m_params;
  bool m_bRestored = false;  ///< the docks stand where the user left them
  QTimer m_timer;
};

}  // namespace app
