#include <iostream>

#include "platform/platform.h"

// Writes "Waiting", waits for a key, and ends with status 5.
int main() {
  constexpr int kKeyTaken = 5;
  std::cout << "Waiting\n" << std::flush;
  platform::wait_for_key();
  return kKeyTaken;
}
