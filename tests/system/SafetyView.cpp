// How the user looks at the table: sorted, filtered, folded; and that it then shows what a new panel shows so.
#include <QCoreApplication>
#include <QElapsedTimer>

#include "BasketColumns.h"
#include "SafetyDay.h"
#include "ShownRows.h"
#include "gv/CEventWidget.h"

namespace test {
namespace {

/// A filter or a sort may take effect a little later.
constexpr int PATIENCE_MSEC = 2000;
constexpr int FOLD_ALL = 9;

struct SRow {
  QString m_key;
  bool m_bRoot;
  bool m_bUnfolded;
  bool m_bParent = false;
};

std::vector<SRow> rowsOf(const TC::CHpfBasketStatusTable& table) {
  std::vector<SRow> rows;
  int depthBefore = 0;
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool unfolded) {
    if (depth > depthBefore) rows.back().m_bParent = true;
    depthBefore = depth;
    rows.push_back({row.key(), depth == 0, unfolded});
  });
  return rows;
}

}  // namespace

/// Of those by which every panel sorts and filters alike.
int CSafetyDay::anyColumn() {
  std::vector<int> columns;
  for (int column = 0; column < TC::EBC_Count; ++column) {
    const bool personal = column == TC::EBC_StartTime || column == TC::EBC_Options || column == TC::EBC_Status;
    const bool unordered = has(ING_Hedges) && (column == TC::EBC_Account || column == TC::EBC_TradeType);
    if (!personal && !unordered) columns.push_back(column);
  }
  return pick(m_random, columns);
}

void CSafetyDay::changeView() {
  const std::vector<SRow> rows = rowsOf(*m_pTable);
  if (rows.empty()) return;
  ++m_counts["changes of the view"];
  const int kind = below(m_random, 100);
  if (kind < 35) {
    m_view.m_nSortColumn = chance(m_random, 20) ? -1 : anyColumn();
    m_view.m_eOrder = chance(m_random, 50) ? Qt::AscendingOrder : Qt::DescendingOrder;
    note("sort by column " + std::to_string(m_view.m_nSortColumn) + (m_view.m_eOrder == 0 ? "" : ", descending"));
    return m_pTable->sortByColumn(m_view.m_nSortColumn, m_view.m_eOrder);
  }
  if (kind < 50) {
    const int column = anyColumn();
    const QString text = m_pTable->itemText(*m_pTable->dataByKey(pick(m_random, rows).m_key), column);
    m_view.m_filters[column] = text.mid(below(m_random, text.size() + 1), 1 + below(m_random, 4));
    note("filter column " + std::to_string(column) + " by " + m_view.m_filters[column].toStdString());
    return m_pTable->setColumnFilter(column, m_view.m_filters[column]);
  }
  if (kind < 65) {
    note("no filters");
    m_view.m_filters.clear();
    return m_pTable->clearColumnFilters();
  }
  if (kind < 75) return selectRows({pick(m_random, rows).m_key, pick(m_random, rows).m_key});
  fold(pick(m_random, rows).m_key, kind >= 92);
}

void CSafetyDay::selectRows(const QStringList& keys) {
  note("select " + keys.join(' ').toStdString());
  m_pTable->clearSelection();
  m_view.m_selected = {keys.begin(), keys.end()};
  for (const QString& key : keys) m_pTable->dataModel()->select(key, true);
}

void CSafetyDay::fold(const QString& key, bool all) {
  const bool unfold = chance(m_random, 50);
  note((unfold ? "unfold " : "fold ") + (all ? "everything" : key.toStdString()));
  for (const SRow& row : rowsOf(*m_pTable)) {
    if (all ? row.m_bParent : row.m_key == key) m_view.m_unfolded[row.m_key] = unfold;
  }
  all ? m_pTable->expandAll(unfold) : m_pTable->expandItem(key, unfold);
}

/// By the tool bar, which folds and unfolds the tasks.
void CSafetyDay::foldTasks() {
  const int button = FOLD_ALL + below(m_random, 2);
  for (const SRow& row : rowsOf(*m_pTable)) {
    if (row.m_bRoot) m_view.m_unfolded[row.m_key] = button != FOLD_ALL;
  }
  m_pPanel->handleEvent(GV::EventButtonClicked, button, 0, QString(), nullptr);
}

/// What the user folded or selected stays so; of what comes, the tasks are unfolded.
void CSafetyDay::checkView() {
  if (!m_pPanel) return;
  std::map<QString, bool> unfolded;
  std::set<QString> selected;
  for (const SRow& row : rowsOf(*m_pTable)) {
    const auto known = m_view.m_unfolded.find(row.m_key);
    const bool expected = known == m_view.m_unfolded.end() ? row.m_bRoot : known->second;
    unfolded[row.m_key] = expected;
    check(!row.m_bParent || row.m_bUnfolded == expected,
          row.m_key.toStdString() + (expected ? " was folded" : " was unfolded") + " by nobody");
    const bool isSelected = m_pTable->dataModel()->isSelected(row.m_key);
    check(isSelected == m_view.m_selected.contains(row.m_key), row.m_key.toStdString() + " is not selected as it was");
    if (isSelected) selected.insert(row.m_key);
  }
  m_view.m_unfolded = std::move(unfolded);
  m_view.m_selected = std::move(selected);
}

/// Has another table sort, filter and fold its rows in the same way.
void CSafetyDay::putView(TC::CHpfBasketStatusTable& table) const {
  table.sortByColumn(m_view.m_nSortColumn, m_view.m_eOrder);
  for (auto filter = m_view.m_filters.begin(); filter != m_view.m_filters.end(); ++filter) {
    table.setColumnFilter(filter.key(), filter.value());
  }
  for (const auto& [key, unfolded] : m_view.m_unfolded) table.expandItem(key, unfolded);
}

/// lost: tasks that are left out; then what is on screen is not compared.
void CSafetyDay::compare(const TC::CBasketTasksPanel& fresh, const std::set<QString>& lost) {
  const auto& table = *fresh.findChild<TC::CHpfBasketStatusTable*>();
  const auto shown = [this, &lost](const TC::CHpfBasketStatusTable& each) {
    Shown rows = shownBy(each, has(ING_Hedges));
    std::erase_if(rows, [&lost](const auto& task) { return lost.contains(task.first); });
    if (lost.empty()) rows.emplace_back(QStringLiteral("screen"), onScreen(each, has(ING_Hedges)));
    return rows;
  };
  Shown mine, its;
  QElapsedTimer timer;
  timer.start();
  do {
    QCoreApplication::processEvents();
    mine = shown(*m_pTable);
    its = shown(table);
  } while (mine != its && timer.elapsed() < PATIENCE_MSEC);
  m_counts["rows compared with a fresh panel"] += static_cast<long>(rowsOf(*m_pTable).size());
  check(mine == its, "the table shows" + textOf(mine, its) + "\n  a fresh panel" + textOf(its, mine));
  const int running = m_pPanel->runningCount();
  check(!lost.empty() || running == fresh.runningCount(), std::to_string(running) + " tasks run");
}

}  // namespace test
