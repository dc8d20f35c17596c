/// The works that every table is put through.
#pragma once

#include <functional>
#include <memory>

#include "Report.h"
#include "Subject.h"

namespace bench {

namespace work {
const QString BUILD = QStringLiteral("build from nothing");
const QString BUILD_STAGED = QStringLiteral("  its part beside the GUI thread");
const QString REFRESH = QStringLiteral("full refresh, until repainted");
const QString REFRESH_STAGED = QStringLiteral("  its part beside the GUI thread ");
const QString SPARSE_TASKS = QStringLiteral("1 % of rows, whole tasks");
const QString SPARSE_ROWS = QStringLiteral("1 % of rows, some of every task");
const QString REPAINT = QStringLiteral("repaint of one page");
const QString REPAINT_COLD = QStringLiteral("  after other work, as in a refresh");
const QString HIDE = QStringLiteral("hide finished children");
const QString SHOW = QStringLiteral("show them");
const QString FOLD = QStringLiteral("collapse all");
const QString UNFOLD = QStringLiteral("expand all");
const QString SORT = QStringLiteral("sort by amount");
const QString EXPORT = QStringLiteral("text export");
const QString SCROLL = QStringLiteral("20 pages of scrolling");
const QString BYTES = QStringLiteral("bytes a row");
const QString EMPTY_BYTES = QStringLiteral("  of the empty view, once");
}  // namespace work

using SubjectMaker = std::function<std::unique_ptr<ISubject>()>;

/// Puts a subject through every work and adds the medians to the report. After a build that was capped nothing else is
/// measured, since the subject does not hold all rows; after a refresh that was capped, nothing that needs one first.
void runWorks(const SubjectMaker& make, CBoard& board, CLimit& limit, int runs, CReport& report);

}  // namespace bench
