// Preloaded into a program whose disk is to be slow or to fail: of files whose names hold DISK_FAULTS_FILE each sync
// takes DISK_FAULTS_MSEC, and DISK_FAULTS_PERMILLE of all writes and syncs fail, drawn by DISK_FAULTS_SEED.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
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
bool isToFail() {
  static std::uint64_t state = static_cast<std::uint64_t>(numberIn("DISK_FAULTS_SEED")) * 2 + 1;
  state = state * 6364136223846793005ULL + 1442695040888963407ULL;
  return static_cast<long>((state >> 33) % 1000) < numberIn("DISK_FAULTS_PERMILLE");
}

/// 0, or what errno is to be.
int faultOf(int file) { return isMeant(file) && isToFail() ? EIO : 0; }

int sync(int file, const char* name) {
  if (isMeant(file)) {
    usleep(static_cast<useconds_t>(numberIn("DISK_FAULTS_MSEC") * 1000));
    if (isToFail()) {
      errno = EIO;
      return -1;
    }
  }
  return next<int (*)(int)>(name)(file);
}

}  // namespace

// The names of the system's own are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

int fsync(int file) { return sync(file, "fsync"); }
int fdatasync(int file) { return sync(file, "fdatasync"); }

ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at) {
  const int fault = faultOf(file);
  // A disk that fails may have taken a part.
  if (fault != 0 && size > 1)
    next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64")(file, bytes, size / 2, at);
  if (fault == 0) return next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64")(file, bytes, size, at);
  errno = fault;
  return -1;
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
