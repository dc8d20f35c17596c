/// What is left of the lines of a task, how much of it can be ordered, and why a line cannot be: values in, values out.
/// Any thread.
#pragma once

#include <optional>
#include <set>
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
  bool hasAccount = true;  ///< the user's configuration knows the account
  bool hasInstrument = true;
  std::optional<SLots> lots;  ///< none: any quantity can be ordered
};

/// What is known of a task when its remainders are formed.
struct SRemainderFacts {
  std::vector<SRemainderRow> rows;
  LineVolumes taken;               ///< what the details have traded or may still
  LineVolumes accepted;            ///< in patches of which nothing has come yet
  LineVolumes handedOver;          ///< to new baskets
  LineVolumes unknown;             ///< what ended server tasks may have traded without a word
  std::set<PatchLine> unanswered;  ///< lines of such tasks
};

/// What is left of a line; below 0 when more than its target was traded.
struct SRest {
  long long open = 0;  ///< less what is known of the task and its patches
  long long free = 0;  ///< less, too, what was accepted or handed over and has not shown up, and what is not known
};

/// Why nothing is ordered of a row of which something is left.
enum class ERefusal {
  None,
  NoAccount,
  NoInstrument,
  NoUnit,
  NoProgress,  ///< what a server task has traded of it is not known
  Accepted,    ///< in a patch of which nothing has come yet
  HandedOver,
  NoPrice,
  NoOrderSetting,
  NoCommand,
  Nothing  ///< nothing is left
};

/// In words for the user.
QString refusalText(ERefusal refusal);

/// What is left of a row, and what becomes of it.
struct SRemainder {
  SRest rest;
  int volume = 0;  ///< what of it can be ordered
  ERefusal refusal = ERefusal::None;
  // Of the line as a whole, what is held back of it and why.
  long long accepted = 0;    ///< in patches of which nothing has come yet
  long long handedOver = 0;  ///< to new baskets
  long long unknown = 0;     ///< what ended server tasks may have traded without a word
};

/// Rows of one line (one security through several markets) share what is left: together they have no more than their
/// targets less all that is known of the line. In the order of the rows. A rest below one lot is no refusal.
std::vector<SRemainder> remaindersOf(const SRemainderFacts& facts);

/// Whether lines may be ordered: none has more than is free of it.
bool fits(const SRemainderFacts& facts, const LineVolumes& planned);

}  // namespace TC
