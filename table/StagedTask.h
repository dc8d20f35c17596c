/// What the panel's worker hands to the status table for one task: immutable arrays, one entry a row, so that the GUI
/// thread takes a whole task by exchanging pointers.
#pragma once

#include <QString>
#include <QVector>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <memory>
#include <vector>

#include "Instruments.h"
#include "RowIndex.h"
#include "gv/TreeOrder.h"

namespace TC {

class CBasketTask;

/// The figures of one row. Volumes in shares or lots, amounts in CNY.
struct SRowFigures {
  double tradedAmount = 0;
  double totalAmount = 0;
  int totalVolume = 0;   ///< as the node's member holds it
  int tradedVolume = 0;  ///< alike
  int unfilled = 0;      ///< of the sums in 64 bits, held at the edge of 32: 0 says that they are equal
  int orderCount = 0;
  int orderCount2 = 0;
  int status = 0;
};

/// The texts of one row that may change without a change of the tree.
struct SRowTexts {
  QString account;
  QString accountName;  ///< empty for a row with children
  QString statusText;
  QString investRemark;
  QString algoTag;
  QString tradeParam;

  bool operator==(const SRowTexts& other) const = default;
};

/// The texts of a task's rows: most rows share one of few sets.
struct STaskTexts {
  std::vector<SRowTexts> sets;
  std::vector<int> setOf;                        ///< by row
  std::vector<const SInstrumentInfo*> infoOf;    ///< by row
  std::shared_ptr<const InstrumentInfos> infos;  ///< where these stand

  const SRowTexts& of(std::size_t row) const { return sets[static_cast<std::size_t>(setOf[row])]; }
};

/// What a row is: fixed until the task's tree changes its shape.
struct SRowShape {
  QString keyStem;      ///< what the row's key begins with, see RowKeys.h; the same text for all rows of an account
  QString treeKey;      ///< CBasketTaskItem::m_strHpfTreeKey
  QString displayName;  ///< text of the tree column
  QString scriptName;   ///< the key with which the node was made; the task id for a root
  QString code;
  QVector<int> operations;  ///< EOperationType values
  int parent = -1;          ///< index of the parent row, -1 for the root
  short depth = 0;
  bool leaf = false;        ///< an instrument's row, or the hedge's
  bool amountFree = false;  ///< its operations have no amount
};

/// Facts of the whole task; with what is asked of its root in every refresh, so that the arrays need not be fetched.
struct STaskFacts {
  QString taskKey;
  QString displayId;
  QString basketName;
  int taskId = 0;
  int hedgeRow = -1;  ///< index of the hedge row, -1 without one
  int rootStatus = 0;
  double rootAmount = 0;  ///< shownAmount of the root
  int startMSec = -1;     ///< of the root, in milliseconds of the day; -1 for none
  int endMSec = -1;       ///< alike
};

/// A yes or no for each row of a task.
using GV::RowFlags;

using FiguresPtr = std::shared_ptr<const std::vector<SRowFigures>>;
using TextsPtr = std::shared_ptr<const STaskTexts>;
using ShapePtr = std::shared_ptr<const std::vector<SRowShape>>;
using FlagsPtr = std::shared_ptr<const RowFlags>;
using AmountsPtr = std::shared_ptr<const std::vector<double>>;
using IndexPtr = std::shared_ptr<const CRowIndex>;

/// One task of a batch. Rows stand in pre-order: entry 0 is the root, a parent comes before its children.
struct SStagedTask {
  int slot = 0;  ///< a small number that the task's key has for good, from 0
  boost::weak_ptr<CBasketTask> task;
  STaskFacts facts;
  ShapePtr shape;  ///< null while the tree kept its shape; with it come the next two
  IndexPtr index;
  std::vector<int> before;  ///< where each row was in the shape before, -1 for a new row
  TextsPtr texts;           ///< null while no text changed
  FiguresPtr figures;
  AmountsPtr amountsBefore;  ///< what the amounts of the rows were in the figures before; with figures always
  FlagsPtr finished;         ///< rows that the filter of finished sub-tasks takes away; with figures always
};

/// Each task once. In task-key order where a task's tree changed.
using StagedBatch = std::vector<SStagedTask>;

}  // namespace TC
