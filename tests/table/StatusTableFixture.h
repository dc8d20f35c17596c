/// The status table with real tasks behind it, offscreen.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>

#include "BasketColumns.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "Tasks.h"
#include "tc/TaskEvents.h"

using namespace TC;

/// Stands where the panel stands: takes the events and keys that the table lets through.
class CTableOwner : public GV::CEventWidgetT<QWidget> {
 public:
  bool handleEvent(int eventId, int id, int /*value*/, QString /*key*/, void* /*payload*/) override {
    if (eventId != EventTaskButton) return false;
    m_actions.push_back(id);
    return true;
  }
  void keyPressEvent(QKeyEvent*) override { ++m_nKeys; }

  std::vector<int> m_actions;
  int m_nKeys = 0;
};

class StatusTable : public testing::Test {
 protected:
  /// A refresh that changed the task, and the filter pass after it.
  void refresh(const test::TaskPtr& task, bool hideFinished = false) {
    m_table.updateTask(task);
    m_table.applyStaged();
    m_table.showTask(*task);
    m_table.filterFinished(*task, hideFinished);
    m_table.endUpdate();
  }
  /// ... by a detail of the task; see test::update.
  void show(int number, const char* accountKey, const char* displayId,
            const std::vector<std::pair<std::string, int>>& traded) {
    test::update(m_task, number, accountKey, displayId, traded);
    refresh(m_task);
  }
  /// Another task with a detail of the first account.
  test::TaskPtr addTask(int id, const std::vector<std::pair<std::string, int>>& traded) {
    test::TaskPtr task = test::makeTask(id);
    test::update(task, 1, "A1", "1001", traded);
    refresh(task);
    return task;
  }
  QString cell(const QString& key, int column) const {
    const StatusRowPtr row = m_table.getDataByKey(key);
    return row ? row->text(column) : "no row";
  }
  /// Every row in order, two blanks a level, "-" behind a hidden one.
  std::string rows() const {
    std::string text;
    m_table.forEachRow([&text](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool) {
      text += std::string(static_cast<std::size_t>(depth) * 2, ' ') + row.scriptName().toStdString() +
              (hidden ? "-\n" : "\n");
    });
    return text;
  }

  /// The key of the row under a path of made keys; "no row" for none.
  QString keyAt(const char* path) const {
    const GV::CHpfTreeTableDataPtr row = m_table.rowByPath(path);
    return row ? row->key() : "no row";
  }
  /// The ids of the buttons that a row shows.
  std::string buttons(const QString& key) const {
    const CHpfBasketOptionDelegate& options = *m_table.getTaskOptionDelegate();
    std::string ids;
    for (const GV::STableButton& button : options.itemButtons(key)) {
      const bool shown = options.getIsItemVisible(key) && options.getIsItemButtonVisible(key, button.id);
      if (shown) ids += std::to_string(button.id);
    }
    return ids;
  }
  /// The nodes of the task, level by level.
  std::vector<CBasketTaskItem*> nodes() const {
    std::vector<CBasketTaskItem*> list{m_task->getRoot()};
    for (std::size_t i = 0; i < list.size(); ++i) {
      const auto& children = list[i]->m_children;
      list.insert(list.end(), children.begin(), children.end());
    }
    return list;
  }

  testkit::CTestHost m_host;
  CTableOwner m_owner;
  CHpfBasketStatusTable m_table{1, &m_owner};
  const QAbstractItemModelTester m_tester{m_table.dataModel(), QAbstractItemModelTester::FailureReportingMode::Fatal};
  const test::TaskPtr m_task = test::makeTask(1);
  const QString m_rootKey = m_task->getKey();
  const QString m_firstRow = m_rootKey + "-SH.600000买入";
  const QString m_secondRow = m_rootKey + "-SH.600036买入";
};
