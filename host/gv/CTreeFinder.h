#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <vector>

#include "gv/CTreeBlocks.h"

namespace GV {

class CHpfTreeTable;

/// Finds rows of a tree table, folded ones too. Looks at them in pieces between other events, and costs nothing while
/// there is nothing to find. What is found follows the rows. GUI thread.
class CTreeFinder : public QObject {
  Q_OBJECT

 public:
  using Match = std::function<bool(const ITreeState& state, int row)>;

  /// Not before the table has its model.
  explicit CTreeFinder(CHpfTreeTable& table);

  /// Looks for rows; when all have been looked at, makes the nearest one current, from the row of this key on. An empty
  /// match ends the search.
  void find(Match match, const QString& from);
  /// Not every row has been looked at.
  bool isBusy() const { return !m_queue.empty(); }
  /// The rows found that can be gone to, and those that a filter hides.
  int found() const { return m_nFound; }
  int hidden() const { return m_nHidden; }
  /// Which of the found ones the current row is, from 1 in the order of the table; 0 for none.
  int place() const { return m_nPlace; }
  /// Makes the next (1) or previous (-1) row found the current one, round at the ends; in a while when it is busy.
  void go(int by);

 Q_SIGNALS:
  /// What is said above may be different.
  void sigChanged();

 private:
  /// What is known of a block: good for the rows and texts of these versions.
  struct SBlock {
    unsigned shape = 0;
    unsigned texts = 0;
    RowFlags matches;
    RowFlags found;  ///< of these those that can be gone to
  };

  bool isKnown(int block) const;
  SBlock& known(int block) { return m_blocks[static_cast<std::size_t>(block)]; }
  void rowsChanged();
  void look();
  int lookAt(int block, int rows);
  void recount();
  void countPlace();
  void goFrom(const QString& key, int by);
  const CTreeBlocks& tree() const;

  CHpfTreeTable& m_table;
  Match m_match;
  QString m_strFrom;
  int m_nStep = 0;  ///< what go was asked for while busy; 0: the nearest
  bool m_bGoes = false;
  std::vector<SBlock> m_blocks;  ///< by number
  std::vector<int> m_queue;      ///< blocks to look at, the next one last
  SBlock m_looked;               ///< the next one, as far as it has been looked at
  int m_nRow = 0;                ///< from which on it has not
  int m_nFound = 0;
  int m_nHidden = 0;
  int m_nPlace = 0;
  QTimer m_look;
  QTimer m_changed;
};

}  // namespace GV
