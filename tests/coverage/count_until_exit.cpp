#include <cstdlib>

// A process that ends by _exit or _Exit, or becomes another program, does not write its coverage
// counts. These wrappers write them first; each program of a coverage build is linked with them.

extern "C" {
void __gcov_dump();
void __gcov_reset();
int __real_execv(const char* path, char* const* arguments);
[[noreturn]] void __real__Exit(int status);
[[noreturn]] void __real__exit(int status);

int __wrap_execv(const char* path, char* const* arguments) {
  __gcov_dump();
  const int result = __real_execv(path, arguments);
  __gcov_reset();  // it has failed: what was written must not be counted twice
  return result;
}

[[noreturn]] void __wrap__Exit(int status) {
  __gcov_dump();
  __real__Exit(status);
}

[[noreturn]] void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}
}
