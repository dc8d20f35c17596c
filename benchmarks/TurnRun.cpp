#include "TurnRun.h"

#include <QTemporaryDir>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "PanelDriver.h"
#include "TableRun.h"
#include "gv/CFileDialog.h"
#include "gv/CUiResource.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");

class CTurnRun {
 public:
  CTurnRun(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report)
      : m_desk(desk), m_services(services), m_driver(desk, services, load), m_nRuns(runs), m_report(report) {}

  void run() {
    m_driver.open();
    m_driver.load();
    m_driver.publish();
    m_driver.refresh();
    time(
        "first load",
        [&] {
          m_driver.close();
          m_driver.open();
        },
        [&] { m_driver.load(); });
    firstRow();
    time(
        "refresh", [&] { m_driver.publish(); }, [&] { m_driver.fireTimer(); });
    time(
        "refresh, every status another", [&] { changeStatus(); }, [&] { m_driver.fireTimer(); });
    sorts();
    filters();
    selections();
    theRest();
    time(
        "new trading day", [&] { loadAgain(); }, [&] { startDay(); });
  }

 private:
  TC::CHpfBasketStatusTable& table() { return m_driver.table(); }

  void firstRow() {
    std::vector<double> waits;
    for (int i = 0; i < m_nRuns; ++i) {
      m_driver.close();
      m_driver.open();
      waits.push_back(m_driver.loadFirstRow());
      m_driver.longestTurn([] {});  // the rest of it
    }
    m_report.addValue(work::FIRST_ROW, PANEL, median(waits), QStringLiteral("ms, wall"));
  }

  void changeStatus() {
    m_bPaused = !m_bPaused;
    m_driver.publish(m_bPaused ? ksservice::ETS_Paused : ksservice::ETS_Running);
  }

  void sorts() {
    const auto sort = [&](int column) { table().sortByColumn(column, Qt::DescendingOrder); };
    const auto unsort = [&] { table().sortByColumn(-1, Qt::AscendingOrder); };
    time("sort by amount", unsort, [=] { sort(TC::EBC_Amount); });
    time(
        "refresh, sorted by amount", [&] { m_driver.publish(); }, [&] { m_driver.fireTimer(); });
    time("sort by name", unsort, [=] { sort(TC::EBC_Tree); });
    time(
        "refresh, sorted by name", [&] { m_driver.publish(); }, [&] { m_driver.fireTimer(); });
    unsort();
  }

  void filters() {
    time(
        "filter a column", [&] { table().clearColumnFilters(); },
        [&] { table().setColumnFilter(TC::EBC_Tree, work::SOME_CODES); });
    time(
        "refresh, a column filtered", [&] { m_driver.publish(); }, [&] { m_driver.fireTimer(); });
    time(
        "all rows again", [&] { table().setColumnFilter(TC::EBC_Tree, work::SOME_CODES); },
        [&] { table().clearColumnFilters(); });
    time(
        "collapse all", [&] { table().expandAll(true); }, [&] { table().expandAll(false); });
    time(
        "expand all", [&] { table().expandAll(false); }, [&] { table().expandAll(true); });
  }

  void selections() {
    time(
        "select all", [&] { table().clearSelection(); }, [&] { table().selectAll(); });
    time(
        "copy", [] {}, [&] { table().copyData(); });
    table().clearSelection();
  }

  void theRest() {
    const QTemporaryDir folder;
    GV::CFileDialog::setPresenter(
        [&](QWidget*, const QString&) { return folder.filePath(QStringLiteral("rows.csv")); });
    time(
        "export", [] {}, [&] { table().exportData(); });
    GV::CFileDialog::setPresenter({});
    boost::shared_ptr<TC::CBasketTask> task;
    QString node;
    table().getBasketTaskItemByKey(table().rowByPath(QStringLiteral("1"))->key(), task, node);
    const auto show = [&] { table().slotShowOrders(task.get(), node, TC::CHpfBasketStatusTable::SHOW_ORDERS); };
    time(
        "orders of a task", [] {}, show);
    time(
        "theme", [] { GV::CUiResource::setTheme(QStringLiteral("dark")); },
        [] { GV::CUiResource::setTheme(QStringLiteral("light")); });
    GV::CUiResource::setTheme(QStringLiteral("dark"));
    time(
        "account reload", [] {},
        [&] {
          const ksservice::CAccountInfo account = *m_desk.accounts().front().m_pInfo;
          m_driver.panel().requestAccount(account);
        });
    time(
        "scale", [] { GV::CUiResource::setScale(1); }, [] { GV::CUiResource::setScale(1.25); });
    GV::CUiResource::setScale(1);
  }

  void loadAgain() {
    m_driver.publish();
    m_driver.refresh();
    m_desk.forgetTasks();
  }
  void startDay() { m_services.announceTradingDay("20261124"); }

  void time(const char* name, const std::function<void()>& prepare, const std::function<void()>& act) {
    std::vector<double> turns;
    for (int i = 0; i < m_nRuns; ++i) {
      prepare();
      m_driver.longestTurn([] {});  // what that leaves behind is not the act's
      turns.push_back(m_driver.longestTurn(act));
    }
    m_report.add(work::TURN + QString::fromUtf8(name), PANEL, {median(turns), median(turns), m_nRuns, false});
  }

  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  CPanelDriver m_driver;
  const int m_nRuns;
  CReport& m_report;
  bool m_bPaused = false;
};

}  // namespace

void runTurns(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report) {
  CTurnRun(desk, services, load, runs, report).run();
}

}  // namespace bench
