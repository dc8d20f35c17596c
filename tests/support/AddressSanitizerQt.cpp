// Linked into every program of the asan preset. The functions here are hooks that the sanitizer's runtime looks for.

extern "C" {
// Qt unloads its plug-ins at the end, and a leak report could not name their functions any more: keep them.
int dlclose(void*) noexcept { return 0; }

// Qt has no frame pointers: only the slow unwinder gets through it, and a suppression needs the frame it names.
const char* __asan_default_options() { return "fast_unwind_on_malloc=0:strict_string_checks=1"; }
const char* __ubsan_default_options() { return "print_stacktrace=1"; }

// The platform integration lives as long as the process, by Qt's design.
const char* __lsan_default_suppressions() { return "leak:QGuiApplicationPrivate::createPlatformIntegration\n"; }
}
