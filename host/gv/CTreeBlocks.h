/// The tree behind a tree table: a list of blocks of rows, and what the table knows of each row in a few bytes.
#pragma once

#include <vector>

#include "gv/TreeOrder.h"

namespace GV {

/// A row of a tree: its block, and its number there.
struct STreeRow {
  int block = -1;
  int row = -1;

  bool isValid() const { return row >= 0; }
  bool operator==(const STreeRow& other) const = default;
};

/// What of a block shows, as it was at one moment. Any thread.
class CShownRows {
 public:
  /// In the order of the table. state: the block's, of the same moment.
  std::vector<int> rows(const ITreeState& state) const;
  int count() const { return m_nCount; }

 private:
  friend class CTreeBlocks;
  RowFlags m_shown;
  std::vector<int> m_order;  ///< of all rows; empty for their own. Means nothing unless ordered
  STreeSort m_sort;
  int m_nCount = 0;
  bool m_bOrdered = false;
};

/// Knows nothing of views. Which rows show is counted; in what order those of a block show is worked out when somebody
/// asks for it, and stands until the order is taken anew. GUI thread only.
class CTreeBlocks {
 public:
  /// Hidden by the owner, resp. filtered by the user: either takes a row and all below it out of sight.
  enum EFlag : unsigned char { Expanded = 1, Hidden = 2, Filtered = 4, Selected = 8 };
  /// A block of more rows, if it gives copies of its state, is sorted and filtered elsewhere.
  static constexpr int kInPlace = 8000;

  /// The block's number, valid until it is removed. Behind all others until takeOrder.
  int add(ITreeBlock& source);
  void remove(int block);
  void clear();
  ITreeBlock& source(int block) const { return *at(block).source; }
  bool isBlock(int block) const {
    return block >= 0 && block < static_cast<int>(m_blocks.size()) && at(block).source != nullptr;
  }
  /// In the order of the table.
  const std::vector<int>& blocks() const { return m_order; }
  int size(int block) const { return static_cast<int>(at(block).rows.size()); }

  /// The block has other rows. before: where each of them was, -1 for a new one.
  void reshape(int number, const std::vector<int>& before);
  /// The block has one row more, resp. has lost some. With keepOrder the order of the others stands; a row that finds
  /// no place in it stands behind those beside it until the order is taken anew.
  void insertRow(const STreeRow& row, bool keepOrder, bool hidden);
  void eraseRows(const STreeRow& first, int count);

  STreeRow parent(const STreeRow& row) const { return {row.block, source(row.block).state().parentOf(row.row)}; }
  int depth(const STreeRow& row) const { return ref(row).depth; }
  bool hasChildren(const STreeRow& row) const;
  /// Behind the row and all below it.
  int endOf(const STreeRow& row) const;

  bool has(const STreeRow& row, EFlag flag) const { return (ref(row).flags & flag) != 0; }
  bool isOut(const STreeRow& row) const { return (ref(row).flags & (Hidden | Filtered)) != 0; }
  void set(const STreeRow& row, EFlag flag, bool on);
  /// Of all rows of a block.
  void setAll(int number, EFlag flag, const RowFlags& rows);
  RowFlags flags(int number, EFlag flag) const;
  /// Selects all rows of a block that show.
  void selectShown(int number);
  /// Of all blocks.
  void deselectAll();
  /// Of all rows of a block that have rows below them.
  void expandAll(int number, bool on);
  /// Neither the row nor one above it is hidden or filtered out.
  bool isUnhidden(STreeRow row) const;
  /// The rows of a block of which that holds.
  RowFlags unhiddenRows(int number) const;
  /// Unhidden, and all above it expanded.
  bool isShown(STreeRow row) const;

  /// Rows that show; those of a block; those below a row if it were expanded and shown.
  int shownCount() const;
  int shownCount(int block) const { return at(block).shown; }
  int shownBelow(const STreeRow& row) const;
  /// The position of the first row of a block that shows.
  int startOf(int block) const;
  int blockAt(int position) const { return m_order[placeAt(position)]; }
  STreeRow rowAt(int position) const;
  /// Of a row that shows.
  int positionOf(const STreeRow& row) const;
  CShownRows shownRows(int number) const;
  /// All rows of a block in the order of the table.
  std::vector<int> rowsInOrder(int number) const;

  // The order. It stands until it is taken anew, whatever becomes of the figures.
  void setSort(const STreeSort& sort);
  const STreeSort& sort() const { return m_sort; }
  /// The figures of a block changed.
  void touch(int block);
  /// Works out the new order of what somebody has asked for; true when a row moves. Blocks that are too large go to
  /// large instead.
  bool prepareOrder(std::vector<int>& large);
  /// An order for a large block, worked out elsewhere; true when it is another.
  bool offerOrder(int number, std::vector<int> order);
  void takeOrder();
  /// Forgets orders that have not been asked for lately: of what is on screen a move must be told. Not while
  /// prepareOrder would find something.
  void trim();
  /// In the rows' own order.
  const std::vector<int>& blocksInOwnOrder() const;

  /// Another number with each change of the rows of a block, never that of a block that has had this number before.
  unsigned shapeVersion(int block) const { return at(block).shapeVersion; }
  bool isLarge(int block) const { return size(block) > kInPlace; }

 private:
  struct SRow {
    unsigned short depth = 0;
    unsigned char flags = 0;
  };
  struct SBlock {
    ITreeBlock* source = nullptr;  ///< null: free
    std::vector<SRow> rows;
    std::vector<int> order;  ///< all rows; empty for their own. Means nothing unless ordered
    std::vector<int> next;   ///< the order to take; nothing unless hasNext
    std::vector<int> page;   ///< the rows that show, in order; nothing unless paged
    int shown = 0;
    int tops = 0;   ///< rows without one above them
    int rank = 0;   ///< place among the blocks' arrivals
    int place = 0;  ///< in m_order
    unsigned shapeVersion = 0;
    unsigned asked = 0;  ///< when somebody asked for a row, see m_nAsked
    bool ordered = false;
    bool stale = false;  ///< the order may no longer hold
    bool hasNext = false;
    bool paged = false;
  };

  SBlock& at(int block) const { return m_blocks[static_cast<std::size_t>(block)]; }
  SRow& ref(const STreeRow& row) const { return at(row.block).rows[static_cast<std::size_t>(row.row)]; }
  template <typename Visit>
  static void visitShown(const SBlock& block, const Visit& visit, int first = 0, int end = -1,
                         const std::vector<int>* order = nullptr);
  static int topsOf(const std::vector<SRow>& rows, int first, int end);
  void showChanged(SBlock& block);
  bool isOwnOrder(const SBlock& block) const;
  void ensureOrdered(SBlock& block) const;
  void ensurePaged(SBlock& block) const;
  void ensureStarts() const;
  std::size_t placeAt(int position) const;
  std::vector<int> sortedBlocks(const STreeSort& sort) const;
  void placeInOrder(SBlock& block, const STreeRow& row) const;
  static void insertLast(SBlock& block, const STreeRow& row);

  mutable std::vector<SBlock> m_blocks;
  std::vector<int> m_free;
  std::vector<int> m_order;
  std::vector<int> m_nextOrder;       ///< to take; nothing unless m_bHasNext
  mutable std::vector<int> m_starts;  ///< the position of the first row of each block of m_order, and behind the last
  mutable std::vector<int> m_own;
  mutable int m_nMade = 0;        ///< blocks that were ordered since the last trim
  mutable unsigned m_nAsked = 1;  ///< how often a row was asked for in another block than the one before
  STreeSort m_sort;
  int m_nRank = 0;
  unsigned m_nShapes = 0;  ///< shape versions that were given
  mutable bool m_bStartsStale = false;
  mutable bool m_bOwnStale = false;
  bool m_bOrderStale = false;
  bool m_bHasNext = false;
};

}  // namespace GV
