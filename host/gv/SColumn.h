/// The description of a table's column. A table is described by one list of these.
#pragma once

#include <QString>

namespace GV {

/// How the cells of a column come about.
enum EColumnKind {
  ColumnDelegate = 0,  ///< painted by a delegate
  ColumnInteger = 2,   ///< a whole number: sorted by its raw value
  ColumnNumber = 6,    ///< a figure: sorted by its raw value, flashes when it moves
  ColumnText = 10,
  ColumnTree = 11,  ///< branch arrow and display name
};

/// Where a cell's text stands: Qt::Alignment flags, centred vertically.
enum EColumnAlignment { AlignLeft = 129, AlignRight = 130, AlignCentre = 132 };

struct SColumn {
  QString title;
  int alignment = AlignLeft;  ///< EColumnAlignment
  QString fontKey = QStringLiteral("fnt_default_normal");
  int kind = ColumnText;
  int width = 80;            ///< pixels at scale 1
  bool stat = false;         ///< summed in the statistics line
  bool visible = true;       ///< shown unless the user hides it
  bool numericSort = false;  ///< sorts by the raw number although it is no number column
  int exportOrder = -1;      ///< the owner's, for its exports; the table does not use it

  bool sortsByNumber() const { return numericSort || kind == ColumnNumber || kind == ColumnInteger; }
};

}  // namespace GV
