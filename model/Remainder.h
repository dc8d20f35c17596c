/// What is left of the lines of a task, and why a line cannot be ordered: values in, values out. Any thread.
#pragma once

#include <vector>

#include "PatchRules.h"

namespace TC {

/// A row as its remainder follows from it.
struct SRemainderRow {
  PatchLine line;
  bool first = false;  ///< it has the line's own key: of rows that share a line it comes first
  bool unset = false;  ///< its target is not known: nothing is left
  long long target = 0;
  long long finished = 0;  ///< as the row shows it
  long long orders = 0;    ///< what its orders have traded or may still
  long long answered = 0;  ///< what a progress query said of its security
};

/// What is left of a row; below 0 when more than its target was traded.
struct SRest {
  long long open = 0;  ///< less what is known of the task and its patches
  long long free = 0;  ///< less, too, what was accepted or handed over and has not shown up
};

/// Rows of one line (one security through several markets) share what is left: together they have no more than their
/// targets less all that is known of the line. taken: what the details have traded or may still; held: what was
/// accepted beside them. In the order of the rows.
std::vector<SRest> restsOf(const std::vector<SRemainderRow>& rows, const LineVolumes& taken, const LineVolumes& held);

/// The same for each line as a whole.
std::map<PatchLine, SRest> lineRests(const std::vector<SRemainderRow>& rows, const LineVolumes& taken,
                                     const LineVolumes& held);

}  // namespace TC
