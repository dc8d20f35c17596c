#pragma once

namespace app {

/// Has the log of this process written to a file of its own in the user's folder of caches, rolled by its size; the
/// logs of earlier processes go when there are many. Where there can be no such file, nothing is logged: the log is no
/// output that the user asked for, and standard output belongs to no log. Before anything is logged.
void openLogFile();

}  // namespace app
