#include "fuzz/fuzz_target.h"

#include <cstdio>
#include <cstdlib>

void demand(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}
