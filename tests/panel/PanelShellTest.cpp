// The panel towards its host: what no journal can ask for.
#include <gtest/gtest.h>

#include <QApplication>
#include <cmath>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "Sizes.h"
#include "TestHost.h"
#include "gv/Controls.h"
#include "tc/TaskEvents.h"

namespace TC {
namespace {

struct SSelector : IAccountGroupSelector {
  void selectGroup(int group) override { groups.push_back(group); }
  std::vector<int> groups;
};

class PanelShell : public ::testing::Test {
 protected:
  PanelShell() : m_panel(std::make_unique<CBasketTasksPanel>(1, nullptr)) {}

  CHpfBasketStatusTable& table() { return *m_panel->findChild<CHpfBasketStatusTable*>(); }

  test::CTestHost m_host;
  std::unique_ptr<CBasketTasksPanel> m_panel;
};

TEST_F(PanelShell, ItsAccountGroupsComeFromTwoSettingsAndStandOnZeroWhereOneIsMissing) {
  m_panel->loadAccountGroupSettings();  // a host that shows no selectors
  SSelector first;
  SSelector second;
  m_host.change([](auto& session) { session.m_settings.m_tradeSettings[7] = 4; });
  m_panel->setAccountGroupSelectors(&first, &second);
  m_panel->loadAccountGroupSettings();
  m_host.change([](auto& session) { session.m_settings.m_tradeSettings[8] = 2; });
  m_panel->setAccountGroupSelectors(&first, nullptr);
  m_panel->loadAccountGroupSettings();
  EXPECT_EQ(first.groups, (std::vector<int>{4, 4}));
  EXPECT_EQ(second.groups, (std::vector<int>{0}));
}

TEST_F(PanelShell, ActivationTellsTheRunningTasksUnlessTheUserWantsItQuiet) {
  std::vector<int> told;
  QObject::connect(m_panel.get(), &CBasketTasksPanel::sigRunningTasks,
                   [&told](EMavTraderType type, int count) { told.push_back(int(type) * 100 + count); });
  m_panel->prepareActive();
  m_host.change([](auto& session) { session.m_settings.m_bQuietActivation = true; });
  m_panel->prepareActive();
  EXPECT_EQ(told, std::vector<int>{100});
}

TEST_F(PanelShell, ShowRunningIsSeenInTheComboAndKeptInTheParameterString) {
  m_panel->showRunning();
  EXPECT_EQ(m_panel->findChild<GV::CComboPushButton*>()->currentIndex(), 1);
  EXPECT_TRUE(m_panel->param().endsWith(QLatin1String("*0*1"))) << m_panel->param().toStdString();
}

TEST_F(PanelShell, AllColumnsButTheTreeProgressOrdersAndOptionsCanBeFiltered) {
  std::vector<int> unfiltered;
  for (int column = 0; column < EBC_Count; ++column) {
    if (!table().isColumnFilterable(column)) unfiltered.push_back(column);
  }
  EXPECT_EQ(unfiltered, (std::vector<int>{0, 8, 9, 12}));
}

TEST_F(PanelShell, TheTableFillsItBelowTheToolBar) {
  m_panel->resize(900, 400);
  m_panel->show();
  const auto* bar = m_panel->findChild<GV::CAutoExpandToolBar*>();
  EXPECT_EQ(bar->geometry().topLeft(), QPoint(0, 0));
  EXPECT_EQ(bar->width(), 900);
  EXPECT_EQ(table().geometry(), QRect(0, bar->height(), 900, 400 - bar->height()));
}

TEST_F(PanelShell, EverySizeFollowsTheScaleOfTheHost) {
  m_panel->resize(1200, 400);
  m_panel->show();
  const QString kept = m_panel->param();
  const test::Sizes atOne = test::sizesOf(*m_panel);
  EXPECT_EQ(table().itemHeight(), 21);
  for (const double scale : {1.5, 2.0, 3.0}) {
    const test::CScaled scaled(scale);
    EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(*m_panel), scale), "") << "live, " << scale;
    EXPECT_EQ(table().itemHeight(), qRound(21 * scale));
    EXPECT_EQ(table().cellRect(1, EBC_Tree).height(), table().itemHeight());
    EXPECT_EQ(table().getColumnAdjustedWidth(EBC_Tree), qRound(120 * scale));
    EXPECT_EQ(test::cutTexts(*m_panel), "");
    EXPECT_EQ(m_panel->param().toStdString(), kept.toStdString())
        << "what is kept of a view does not hang on the screen";
    CBasketTasksPanel made(2, nullptr);
    made.setParam(kept);
    made.resize(m_panel->size());
    made.show();
    EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(made), scale), "") << "made at " << scale;
    EXPECT_EQ(made.param().toStdString(), kept.toStdString());
  }
  EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(*m_panel), 1), "") << "and back";
}

TEST_F(PanelShell, AColumnThatIsHiddenOverAChangeOfScaleComesBackInProportion) {
  table().setColumnVisible(EBC_Account, false);
  const test::CScaled scaled(2);
  table().setColumnVisible(EBC_Account, true);
  EXPECT_EQ(table().columnWidth(EBC_Account), 152);
  GV::CUiResource::setScale(0);
  GV::CUiResource::setScale(std::nan(""));
  EXPECT_EQ(table().columnWidth(EBC_Account), 152) << "no scale at all changes nothing";
}

TEST_F(PanelShell, EventsOfNobodysControlsGoOnToTheHost) {
  QString task = QStringLiteral("组合任务1");
  EXPECT_FALSE(m_panel->handleEvent(4711, 0, 0, QString(), nullptr));
  EXPECT_TRUE(m_panel->handleEvent(EventTaskButton, ETA_Cancel, 0, task, &task)) << "a task that is not there";
  EXPECT_TRUE(m_panel->handleEvent(EventTaskButton, ETA_Cancel, 0, task, nullptr));
  EXPECT_TRUE(m_panel->handleEvent(EventTaskOrders, 0, 0, QString(), nullptr));
}

}  // namespace
}  // namespace TC
