#include <cstdlib>

// A process that ends by _exit or _Exit does not write its coverage counts. These wrappers write
// them first; each program of a coverage build is linked with them.

extern "C" {
void __gcov_dump();
[[noreturn]] void __real__Exit(int status);
[[noreturn]] void __real__exit(int status);

[[noreturn]] void __wrap__Exit(int status) {
  __gcov_dump();
  __real__Exit(status);
}

[[noreturn]] void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}
}
