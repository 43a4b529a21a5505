#pragma once

#include <pthread.h>

#include <cstddef>

/// Makes the system refuse every new thread of the process from now on, by a default stack size
/// larger than any memory.
inline void refuse_new_threads() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U);
  pthread_setattr_default_np(&attributes);
}
