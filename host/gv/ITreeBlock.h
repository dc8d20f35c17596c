/// Rows of a tree table as their owner keeps them: whole blocks, so that a table of many rows needs no record, key and
/// place for each of them.
#pragma once

#include <QString>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <memory>

namespace GV {

class CHpfTreeTableData;
using CHpfTreeTableDataPtr = boost::shared_ptr<CHpfTreeTableData>;

/// What the rows of a block hold at one moment: what they are sorted and filtered by. Rows are numbered from 0 in
/// pre-order: a row stands before what is below it. Any thread, while nobody changes it.
class ITreeState {
 public:
  virtual ~ITreeState() = default;

  virtual int rowCount() const = 0;
  /// -1 for a row at the top.
  virtual int parentOf(int row) const = 0;
  /// Of a row at the top: its place among these while no column is sorted; rows of equal order keep their own.
  virtual int sortOrder(int row) const = 0;
  /// What the tree column shows.
  virtual QString name(int row) const = 0;
  /// What any other column shows.
  virtual QString text(int row, int column) const = 0;
  /// The raw figure, resp. text, by which a column sorts.
  virtual double sortNumber(int row, int column) const = 0;
  virtual QString sortText(int row, int column) const = 0;
};

/// GUI thread only. A block outlives its stay in a table.
class ITreeBlock {
 public:
  virtual ~ITreeBlock() = default;

  virtual const ITreeState& state() const = 0;
  /// A copy of the state for another thread; null for a block that cannot give one and is asked on the GUI thread.
  virtual std::shared_ptr<const ITreeState> freeze() const { return nullptr; }
  virtual QString key(int row) const = 0;
  /// -1 for an unknown key.
  virtual int find(const QString& key) const = 0;
  /// Another number whenever a text other than those of figures may have changed without a change of the rows.
  virtual unsigned textsVersion() const { return 0; }
  /// Short name under the parent; a script addresses a row by these, joined with "/".
  virtual QString scriptName(int row) const = 0;
  /// The record of a row, the same while somebody holds it.
  virtual CHpfTreeTableDataPtr record(int row) = 0;
  /// Tells the figures that enter the statistics line, in the rows' own order.
  using CountedVisitor = std::function<void(int row, double figure)>;
  virtual void visitCounted(int column, const CountedVisitor& visit) const = 0;

  /// That of the block in its table; of no meaning outside one.
  int number() const { return m_nNumber; }

 private:
  friend class CTreeBlocks;
  int m_nNumber = -1;
};

}  // namespace GV
