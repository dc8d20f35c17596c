/// What is compared: tables that show the same rows, and the floor under them.
#pragma once

#include <QAbstractScrollArea>
#include <QString>
#include <memory>

#include "Board.h"
#include "Measure.h"

namespace bench {

/// One way to show the board. Every operation leaves its repaint to the caller. GUI thread.
class ISubject {
 public:
  virtual ~ISubject() = default;

  virtual QString name() const = 0;
  /// The view, for repainting and scrolling; null for the floor, whose operations paint by themselves.
  virtual QAbstractScrollArea* view() = 0;

  /// The part of build and refresh that another thread does while the GUI goes on.
  virtual void stage(const SChange& /*change*/) {}
  /// From nothing to every row, unfolded. stage(everything) came before.
  virtual void build() = 0;
  virtual void refresh(const SChange& change) = 0;
  virtual void setFinishedHidden(bool hidden) = 0;
  virtual void setExpanded(bool expanded) = 0;
  virtual void sortByAmount(Qt::SortOrder order) = 0;
  /// Back to the rows' own order, where the subject knows one.
  virtual void unsort() {}
  /// The cells of TC::exportColumns() of every row, separated by tabs and line ends.
  virtual QString exportText() = 0;
  /// What painting one page costs a subject without a view.
  virtual void formatPage(int /*page*/) {}
};

std::unique_ptr<ISubject> makePanelTable(const CBoard& board);
std::unique_ptr<ISubject> makeFloor(const CBoard& board);
/// tuned: signals blocked while many cells change, rows of one height. limit ends works that take too long.
std::unique_ptr<ISubject> makeStandardItemPeer(const CBoard& board, const CLimit& limit, bool tuned);
std::unique_ptr<ISubject> makeTreeWidgetPeer(const CBoard& board, const CLimit& limit);

}  // namespace bench
