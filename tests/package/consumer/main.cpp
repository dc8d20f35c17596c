// A host of the kit makes a panel of the plug-in and sees a task in its table.
#include <QApplication>
#include <iostream>
#include <memory>

#include "CBasketTask.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "CheckHost.h"
#include "TaskDetails.h"
#include "gv/CHpfTreeTable.h"
#include "tc/ITradeDockableWidget.h"
#include "tc/PanelPlugin.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (testkit::hostRules().empty()) return 1;
  const TC::SPanelPlugin plugin = TC::loadPanel(PLUGIN);
  if (!plugin.m_pCreate) {
    std::cerr << plugin.m_strError.toStdString() << std::endl;
    return 1;
  }
  testkit::CTestHost host;
  const auto detail = testkit::makeFilled(1, 3, 500);
  host.setAccount(*testkit::makeAccount("A1", "1001"));
  host.setCommand(*detail->m_pCommand);
  const std::unique_ptr<TC::ITradeDockableWidget> panel(plugin.m_pCreate(1, nullptr));
  panel->setTradeType(EMTT_Stock);
  host.waitForJobs();
  host.deliver(detail);
  host.fireTimers();
  host.waitForJobs();
  QCoreApplication::processEvents();
  auto* table = panel->findChild<GV::CHpfTreeTable*>();
  int rows = 0;
  if (table) table->forEachRow([&rows](const GV::CHpfTreeTableData&, int, bool, bool) { ++rows; });
  std::cout << rows << " rows" << std::endl;
  return rows >= 4 ? 0 : 1;
}
