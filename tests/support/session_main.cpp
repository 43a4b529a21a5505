#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "common/clock.h"
#include "platform/platform.h"
#include "shell/console_tester.h"
#include "shell/tester_run.h"
#include "shell/workbench.h"

// A program, named by KVR_PROGRAM, on a clock of its own, so that a transcript holds the same times
// on every run and no pause takes long. The clock starts at noon, Central European Time, on 15
// March 2021; each reading advances it by a second, each pause by its length. A pause of seconds
// ends at once and is written to the call log of the scripted client library. Shorter pauses, which
// keep the program from burning a core at the end of input, are real.

namespace {

std::atomic<std::time_t> fake_time{1615806000};

std::time_t look_at_clock() { return fake_time++; }

/// Does not advance the clock.
std::chrono::system_clock::time_point watch() {
  return std::chrono::system_clock::from_time_t(fake_time);
}

int pause(const timespec* request, timespec*) {
  if (request->tv_sec == 0) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(request->tv_nsec));
    return 0;
  }
  fake_time += request->tv_sec;
  if (const char* log = std::getenv("KVR_CALL_LOG")) {
    std::ofstream(log, std::ios::app | std::ios::binary)
        << "pause of " << request->tv_sec << " s and " << request->tv_nsec << " ns\n";
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  program_clock = {look_at_clock, pause, watch};
  // As the programs themselves do: a stop may be ending the process on another thread.
  platform::end_process(KVR_PROGRAM(std::vector<std::string>(argv + 1, argv + argc)));
}
