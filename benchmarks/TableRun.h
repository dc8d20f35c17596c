/// What recurs in the panel's own table and no other subject does: refreshes of a sorted and of a filtered table, sorts
/// by a text, column filters, selections; sparse refreshes beside a repaint in pairs; bytes in the steady state.
#pragma once

#include "Board.h"
#include "Report.h"

namespace bench {

namespace work {
const QString SORTED_FIGURE = QStringLiteral("full refresh, sorted by amount");
const QString SORTED_TEXT = QStringLiteral("full refresh, sorted by name");
const QString FILTERED = QStringLiteral("full refresh, a column filtered");
const QString SORT_TEXT = QStringLiteral("sort by name");
const QString COLUMN_FILTER = QStringLiteral("filter a column");
const QString SELECT_ALL = QStringLiteral("select all");
const QString SELECTED_KEYS = QStringLiteral("  keys of the selection, as a copy");
const QString PAIRED_TASKS = QStringLiteral("1 %, whole tasks, in repaints");
const QString PAIRED_ROWS = QStringLiteral("1 %, some of every task, in repaints");
const QString PAIRED_EXPORT = QStringLiteral("text export, in floors");
const QString SOME_CODES = QStringLiteral("6001");  ///< filters: a part of the code that a third of the rows has
const QString STEADY_BYTES = QStringLiteral("bytes a row, from the second refresh on");
}  // namespace work

/// GUI thread. Advances the board.
void runTable(CBoard& board, int runs, CReport& report);

}  // namespace bench
