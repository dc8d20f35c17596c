#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "OwnDetails.h"
#include "PatchRules.h"

namespace TC {

class CDetailCounter;
class CNotices;
class CTaskTree;
struct SLedgerRow;

/// The details of the patch tasks of one task, and the rows that they hold.
class CPatchBook {
 public:
  using DetailMap = COwnDetails::DetailMap;

  /// Both must outlive the book.
  CPatchBook(CTaskTree& tree, CDetailCounter& counter) : m_tree(tree), m_counter(counter) {}

  /// Takes a new state of a detail and counts it, and every other detail that shares a row with it, as the host knows
  /// it now. One that comes before its rows is counted when they have come.
  void take(const ksservice::CTaskDetailPtr& detail);
  /// Rows have come on which something of these details belongs: counts them again. A host that fails costs the detail.
  void recount(const std::string& detailKey);

  /// The details of which at least one line has a row, by their keys.
  const DetailMap& details() const { return m_details; }
  /// All of them, in key order.
  std::vector<ksservice::CTaskDetailPtr> all() const;
  /// Whether one of the details with rows has not ended.
  bool trades() const;

  /// Notes what the state of a detail that was taken makes of its rows and the root. shown: what the root shows while a
  /// patch is waited for, which outweighs it.
  void note(const ksservice::CTaskDetail& detail, std::optional<int> shown, CNotices& notices);
  /// Rows of lines that were ordered and of which nothing comes: their marks go. waiting: for another patch.
  void release(const LineVolumes& lines, bool waiting, CNotices& notices);

 private:
  struct SEntry {
    ksservice::CTaskDetailPtr detail;  ///< as it was given
    std::vector<SLedgerRow*> rows;     ///< of its lines
  };

  CTaskTree& m_tree;
  CDetailCounter& m_counter;
  DetailMap m_details;
  std::map<std::string, SEntry> m_entries;  ///< by detail key
};

}  // namespace TC
