#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

// What mutated sources ask: which of their mutants is the one of this process. All of them are
// compiled in; the environment chooses.

namespace mutant {

/// A byte for each mutant in the file that MUTANTS_REACHED names, set when it is asked for. Shared
/// with child processes and there when the process has been killed. Null without the file.
inline char* open_reached() {
  const char* const name = std::getenv("MUTANTS_REACHED");
  const int file = name == nullptr ? -1 : open(name, O_RDWR);
  if (file < 0) {
    return nullptr;
  }
  const off_t size = lseek(file, 0, SEEK_END);
  void* const bytes =
      mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return bytes == MAP_FAILED ? nullptr : static_cast<char*>(bytes);
}

inline int read_chosen() {
  const char* const number = std::getenv("MUTANT");
  return number == nullptr ? 0 : std::atoi(number);
}

// Before they have their values no mutant is chosen. Plain variables, because some mutants are
// asked for in the innermost of loops.
inline char* const reached = open_reached();
inline const int chosen = read_chosen();

/// Whether mutant `number` is the chosen one.
[[gnu::always_inline]] inline bool on(int number) {
  if (reached != nullptr) {
    reached[number] = 1;
  }
  return chosen == number;
}

}  // namespace mutant
