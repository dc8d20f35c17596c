// The panel towards its host: what no journal can ask for.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <cmath>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "Names.h"
#include "Sizes.h"
#include "gv/CFindBar.h"
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
  testkit::CTestHost m_host;
  const std::unique_ptr<CBasketTasksPanel> m_panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
  CHpfBasketStatusTable& m_table = *m_panel->findChild<CHpfBasketStatusTable*>();
};

TEST_F(PanelShell, ItsAccountGroupsComeFromTwoSettingsAndStandOnZeroWhereOneIsMissing) {
  m_panel->loadAccountGroupSettings();  // a host that shows no selectors
  SSelector first, second;
  m_host.change([](auto& session) { session.m_settings.m_tradeSettings[7] = 4; });
  m_panel->setAccountGroupSelectors(&first, &second);
  m_panel->loadAccountGroupSettings();
  m_host.change([](auto& session) { session.m_settings.m_tradeSettings[8] = 2; });
  m_panel->setAccountGroupSelectors(&first, nullptr);
  m_panel->loadAccountGroupSettings();
  EXPECT_EQ(first.groups, (std::vector<int>{4, 4}));
  EXPECT_EQ(second.groups, (std::vector<int>{0}));
}

TEST_F(PanelShell, ShowRunningIsSeenInTheComboAndKeptInTheParameterString) {
  m_panel->showRunning();
  EXPECT_EQ(m_panel->findChild<GV::CComboPushButton*>()->currentIndex(), 1);
  EXPECT_TRUE(m_panel->param().endsWith(QLatin1String("*0*1")));
}

TEST_F(PanelShell, AllColumnsButTheTreeProgressOrdersAndOptionsCanBeFiltered) {
  std::vector<int> unfiltered;
  for (int column = 0; column < EBC_Count; ++column) {
    if (!m_table.isColumnFilterable(column)) unfiltered.push_back(column);
  }
  EXPECT_EQ(unfiltered, (std::vector<int>{0, 8, 9, 12}));
}

TEST_F(PanelShell, EveryControlIsReachedByTabAndNamedAndKeysWorkWhereverTheFocusIs) {
  EXPECT_EQ(test::nameless(*m_panel), "");
  m_panel->resize(1200, 400);
  m_panel->show();
  m_panel->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(m_panel.get()));
  m_table.setFocus();
  QStringList way;
  do {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    way += test::nameOf(*QApplication::focusWidget());
  } while (QApplication::focusWidget() != &m_table && way.size() < 20);
  EXPECT_EQ(way.join(' '), "全部任务 全部撤销 全部暂停 全部继续 设置 过滤已完成子任务 全部收起 全部展开 刷新 组合任务");

  auto* bar = m_panel->findChild<GV::CFindBar*>();
  auto* refresh = m_panel->findChildren<GV::CPushButton*>().last();
  refresh->setFocus();
  QTest::keyClick(refresh, Qt::Key_F, Qt::ControlModifier);
  ASSERT_TRUE(bar->isVisible());
  EXPECT_GE(bar->y(), m_table.geometry().bottom());
  QWidget* edit = QApplication::focusWidget();
  EXPECT_EQ(edit->parent(), bar);
  // As a click does it, whatever has the focus: so a recording holds it, and a key that is held down asks once.
  std::vector<int> clicked;
  GV::CEventDeliverer::setTap([&clicked](QWidget*, int eventId, int id, int, const QString&) {
    if (eventId == GV::EventButtonClicked) clicked.push_back(id);
  });
  QTest::keyClick(edit, Qt::Key_F5);
  QTest::keyClick(edit, Qt::Key_Escape);
  EXPECT_TRUE(m_table.hasFocus() && !bar->isVisible());
  QTest::keyClick(&m_table, Qt::Key_F5);
  refresh->setFocus();
  QTest::keyClick(refresh, Qt::Key_Return);
  GV::CEventDeliverer::setTap({});
  EXPECT_EQ(clicked, (std::vector<int>{11, 11, 11}));
  QTest::keyClick(&m_table, Qt::Key_F3, Qt::ShiftModifier);
  EXPECT_TRUE(bar->isVisible());
}

TEST_F(PanelShell, EverySizeFollowsTheScaleOfTheHost) {
  m_panel->resize(1200, 400);
  m_panel->show();
  const auto* bar = m_panel->findChild<GV::CAutoExpandToolBar*>();
  EXPECT_EQ(bar->geometry(), QRect(0, 0, 1200, bar->height()));
  EXPECT_EQ(m_table.geometry(), QRect(0, bar->height(), 1200, 400 - bar->height())) << "fills the rest";
  const QString kept = m_panel->param();
  const test::Sizes atOne = test::sizesOf(*m_panel);
  EXPECT_EQ(m_table.itemHeight(), 21);
  for (const double scale : {1.5, 2.0, 3.0}) {
    const test::CScaled scaled(scale);
    EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(*m_panel), scale), "") << "live, " << scale;
    EXPECT_EQ(m_table.itemHeight(), qRound(21 * scale));
    EXPECT_EQ(m_table.cellRect(1, EBC_Tree).height(), m_table.itemHeight());
    EXPECT_EQ(m_table.getColumnAdjustedWidth(EBC_Tree), qRound(120 * scale));
    EXPECT_EQ(test::cutTexts(*m_panel), "");
    EXPECT_EQ(m_panel->param(), kept) << "what is kept of a view does not hang on the screen";
    CBasketTasksPanel made(2, nullptr);
    made.setParam(kept);
    made.resize(m_panel->size());
    made.show();
    EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(made), scale), "") << "made at " << scale;
    EXPECT_EQ(made.param(), kept);
  }
  EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(*m_panel), 1), "") << "and back";
}

TEST_F(PanelShell, AColumnThatIsHiddenOverAChangeOfScaleComesBackInProportion) {
  m_table.setColumnVisible(EBC_Account, false);
  const test::CScaled scaled(2);
  m_table.setColumnVisible(EBC_Account, true);
  EXPECT_EQ(m_table.columnWidth(EBC_Account), 188);
  GV::CUiResource::setScale(0);
  GV::CUiResource::setScale(std::nan(""));
  EXPECT_EQ(m_table.columnWidth(EBC_Account), 188) << "no scale at all changes nothing";
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
