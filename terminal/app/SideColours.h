#pragma once

class QMenu;

namespace app {

/// Offers how buys and sells are told apart by colour. GUI thread.
void addSideColours(QMenu& menu);

}  // namespace app
