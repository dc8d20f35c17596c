#pragma once

#include <QString>

namespace app {

class CPastSession;

/// Explains the rows of a session's moment that are named so on standard output: a row's path as in a dump of the table
/// ("1", "1/证券/1001/SH.600000买入"), a security's code (in each task that has it), or an order's key ("1-1-23": its
/// line). False when there is none. GUI thread.
bool printWhy(CPastSession& session, const QString& name);

}  // namespace app
