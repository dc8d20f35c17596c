// Preloaded into a program whose disk is to be slow or to fail: of files whose names hold DISK_FAULTS_FILE each sync
// takes DISK_FAULTS_MSEC, and DISK_FAULTS_PERMILLE of all writes and syncs fail, drawn by DISK_FAULTS_SEED. At the
// write or sync number DISK_FAULTS_KILL the program dies: before it, behind it, or with half of it written. Behind the
// sync of a commit is between what is kept and what it causes.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool isMeant(int file) {
  const char* const part = getenv("DISK_FAULTS_FILE");
  if (!part) return false;
  char link[64] = "/proc/self/fd/";
  char digits[16];
  int count = 0;
  for (int rest = file; count == 0 || rest > 0; rest /= 10) digits[count++] = static_cast<char>('0' + rest % 10);
  char* end = link + strlen(link);
  while (count > 0) *end++ = digits[--count];
  *end = 0;
  char name[4096];
  const ssize_t size = readlink(link, name, sizeof name - 1);
  if (size <= 0) return false;
  name[size] = 0;
  return strstr(name, part) != nullptr;
}

long numberIn(const char* name) {
  const char* const text = getenv(name);
  return text ? atol(text) : 0;
}

/// One thread at a time writes a day.
long draw(long limit) {
  static std::uint64_t state = static_cast<std::uint64_t>(numberIn("DISK_FAULTS_SEED")) * 2 + 1;
  state = state * 6364136223846793005ULL + 1442695040888963407ULL;
  return static_cast<long>((state >> 33) % static_cast<std::uint64_t>(limit));
}

enum class EFate { Works, Fails, DiesBefore, DiesInside, DiesBehind };

EFate fateOf(int file) {
  static long number = 0;
  if (!isMeant(file)) return EFate::Works;
  if (++number == numberIn("DISK_FAULTS_KILL")) {
    constexpr EFate DEATHS[] = {EFate::DiesBefore, EFate::DiesInside, EFate::DiesBehind};
    return DEATHS[draw(3)];
  }
  return draw(1000) < numberIn("DISK_FAULTS_PERMILLE") ? EFate::Fails : EFate::Works;
}

int sync(int file, const char* name) {
  const EFate fate = fateOf(file);
  if (isMeant(file)) usleep(static_cast<useconds_t>(numberIn("DISK_FAULTS_MSEC") * 1000));
  if (fate == EFate::DiesBefore) std::raise(SIGKILL);
  const int result = fate == EFate::Fails ? -1 : next<int (*)(int)>(name)(file);
  if (fate == EFate::DiesInside || fate == EFate::DiesBehind) std::raise(SIGKILL);
  if (fate == EFate::Fails) errno = EIO;
  return result;
}

}  // namespace

// The names of the system's own are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

int fsync(int file) { return sync(file, "fsync"); }
int fdatasync(int file) { return sync(file, "fdatasync"); }

ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at) {
  const EFate fate = fateOf(file);
  if (fate == EFate::DiesBefore) std::raise(SIGKILL);
  // A disk that fails may have taken a part.
  const bool cut = fate == EFate::Fails || fate == EFate::DiesInside;
  const ssize_t written =
      next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64")(file, bytes, cut ? size / 2 : size, at);
  if (fate == EFate::Works) return written;
  if (fate != EFate::Fails) std::raise(SIGKILL);
  errno = EIO;
  return -1;
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
