#pragma once

#include <pthread.h>

#include <cstddef>

/// Has the system refuse every new thread of the process from now on: each would get a stack that
/// no memory can hold.
inline void refuse_new_threads() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U);
  pthread_setattr_default_np(&attributes);
}
