/// How the rows of a task are formed from the nodes of its tree. With the task's mutex held; one thread at a time.
#pragma once

#include <QSet>
#include <QTime>

#include "Instruments.h"
#include "StagedTask.h"

namespace TC {

class CBasketTaskItem;

/// Keeps one copy of texts that recur in many tasks: instruments, their names, the keys with which rows were made.
class CSharedTexts {
 public:
  QString one(const QString& text) { return text.isEmpty() ? text : *m_texts.insert(text); }

 private:
  QSet<QString> m_texts;
};

/// A node in pre-order: the order of the rows.
struct SNode {
  const CBasketTaskItem* item;
  int parent;  ///< index of the parent node, -1 for the root
  int depth;
  int status;                 ///< that the row shows
  const QString* statusText;  ///< the status text that the row shows; the node's own, but for the root
};

/// A node as the table shows it.
SNode nodeOf(const CBasketTask& task, const CBasketTaskItem& item, int parent, int depth);
/// rows: about how many nodes there will be, 0 for unknown.
std::vector<SNode> nodesOf(const CBasketTask& task, std::size_t rows);

std::vector<SRowShape> shapeOf(const CBasketTask& task, const std::vector<SNode>& nodes, CSharedTexts& shared);
/// Index of the task's hedge row, -1 without one.
int hedgeRowOf(const CBasketTask& task, const std::vector<SNode>& nodes);
/// The number of each row's instrument.
std::vector<int> instrumentsOf(const std::vector<SNode>& nodes, const std::vector<SRowShape>& shape,
                               CInstruments& instruments);

STaskTexts textsOf(const std::vector<SNode>& nodes, const std::vector<int>& numbers, CInstruments& instruments);
/// Whether textsOf would give just what is shown. Texts seldom change, and to copy them for every row of every refresh
/// would be most of its cost.
bool sameTexts(const std::vector<SNode>& nodes, const std::vector<int>& numbers, CInstruments& instruments,
               const STaskTexts& shown);
/// The same for one row, but for what is known of its instrument.
bool sameTexts(const SNode& node, const SRowTexts& shown);

SRowFigures figuresOf(const SNode& node);
std::vector<SRowFigures> figuresOf(const std::vector<SNode>& nodes);
/// What the amount column shows.
std::vector<double> amountsOf(const std::vector<SRowShape>& shape, const STaskTexts& texts, int hedgeRow,
                              const std::vector<SRowFigures>& figures);
/// -1 for a time that is not known.
int msecOfDay(const QTime& time);
/// Whether all that a row ordered was filled: never of one that ordered nothing, nor of one that is to order what
/// nobody has said yet.
bool isFilled(const SRowFigures& figures, const CBasketTaskItem& node);
/// The filled children of the root, and of each child the leading run of filled ones.
RowFlags finishedRows(const std::vector<SRowShape>& shape, const RowFlags& filled);

}  // namespace TC
