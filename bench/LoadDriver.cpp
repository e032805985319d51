/// \file
/// Loads one library, once, in a process that has loaded nothing of it before: `LoadDriver LIBRARY`. Prints the
/// nanoseconds of processor time that this took, symbols bound and initialisers run.

#include <cstdio>
#include <ctime>

#include <dlfcn.h>

namespace {

long long processorTime() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  long long const before = processorTime();
  void* const library = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  long long const after = processorTime();
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  std::printf("%lld\n", after - before);
  return 0;
}
