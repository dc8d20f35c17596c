#pragma once

#include <QColor>

#include "StagedTask.h"

namespace TC {

/// How progress is shown: as quantities by EPD_Quantity, as amounts by any other number. The value is part of the
/// table's parameter string.
enum EProcessDisplay : int { EPD_Amount = 0, EPD_Quantity = 1 };

/// Text of a patch status, empty for any other value.
QString batchStatusToString(int status);

/// One row as its cells are formed from it: views on the arrays of its task. Cheap to make, made for each use; valid
/// while the task's block stands.
struct CHpfBasketStatusData {
  const STaskFacts& facts;
  const SRowShape& shape;
  const SRowTexts& texts;
  const SInstrumentInfo& instrument;
  const SRowFigures& figures;
  const SRowFigures* hedge;   ///< figures of the task's hedge row, null without one
  const QString& statusText;  ///< the node's own status text, or what a status signal put in its place

  bool isRoot() const { return shape.parent < 0; }
  /// What the amount column shows.
  double amount() const;
};

// The texts of the cells. Free functions of values: they are called for each cell that is painted, exported or asked
// for. Any thread, on rows that nobody changes.

QString tradeTypeText(const QVector<int>& operations);
/// Buy red, sell green, and blue for a mixed or empty list. Lives as long as the program.
const QColor* tradeTypeColor(const QVector<int>& operations);
/// Whether an operation moves or votes securities and so has no amount; of several the first decides.
bool isAmountFree(const QVector<int>& operations);
/// The amount that column 7 shows; without the hedge's for a row that spans the stock and the hedge account. hedge:
/// figures of the task's hedge row, null without one.
double shownAmount(const SRowShape& shape, const SRowTexts& texts, const SRowFigures& figures,
                   const SRowFigures* hedge);
/// Whether a row spans the stock and the hedge account, so that its amount is shown without the hedge's.
bool spansHedge(const SRowTexts& texts, const SRowFigures* hedge);
QString progressText(const CHpfBasketStatusData& row, EProcessDisplay mode);
/// done / total of a progress text as the bar draws it; 0 (the bar is a stub) unless both are positive.
double progressFraction(const QString& text);
QString statusText(const QString& ownText, int status);
/// "hh:mm:ss", empty for a negative time.
QString timeText(int msecOfDay);
QString orderText(int reported, int received);

}  // namespace TC
