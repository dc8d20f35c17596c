/// The table as a screen reader sees it: a tree whose children are the cells of the rows that show, row by row; a cell
/// of buttons has the buttons as children. GUI thread only.
#pragma once

namespace GV {

/// Makes Qt ask for it; called by the tables, any number of times.
void installTableAccessibility();

}  // namespace GV
