#include <iostream>

#include "platform/platform.h"

// Says that it waits, waits for a key, and ends with a status of its own.
int main() {
  constexpr int kKeyTaken = 5;
  std::cout << "Waiting\n" << std::flush;
  platform::wait_for_key();
  return kKeyTaken;
}
