// Linked into every program of the asan preset. The functions here are hooks that the sanitizer's runtime looks for.

extern "C" {
// Qt unloads its plug-ins at the end, and a leak report could not name their functions any more: keep them.
int dlclose(void*) noexcept { return 0; }

const char* __asan_default_options() { return "strict_string_checks=1"; }
const char* __ubsan_default_options() { return "print_stacktrace=1"; }

// The platform integration lives as long as the process, by Qt's design. Qt has no frame pointers, and to unwind
// without them would make every allocation five times as slow: so it is known by the libraries that allocate it.
// What fontconfig keeps is found by whoever looks for leaks before the end.
const char* __lsan_default_suppressions() {
  return "leak:libqoffscreen.so\nleak:libQt5Gui.so\nleak:libfontconfig.so\n";
}
// Standard error holds the program's own lines only.
const char* __lsan_default_options() { return "print_suppressions=0"; }
}
