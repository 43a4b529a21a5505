#include "console/callbacks.h"

#include <iostream>

#include "api/client_api.h"
#include "common/c_text.h"
#include "console/session.h"
#include "platform/platform.h"

namespace {

[[noreturn]] void leave_after_lost_connection() {
  exit_requested = true;
  std::cout << "Exiting console tester...\n" << std::flush;
  kvr_Lib_Shutdown();
  std::cout << "API has been shutdown\n" << std::flush;
  platform::wait_for_key();
  platform::end_process(1);
}

}  // namespace

void show_status_event(kvr_code code, const char* text) {
  std::cout << "\nSTATUS CALLBACK: ";
  write_c_text(std::cout, kvr_CodeToString(code));
  std::cout << '\n';
  if (text != nullptr) {
    std::cout << "data: " << text << '\n';
  }
  std::cout.flush();
}

void on_status(void* /*context*/, kvr_code code, const char* text) {
  show_status_event(code, text);
  if (kvr_CheckConnection() != 0) {
    leave_after_lost_connection();
  }
}

void on_progress(void* /*context*/, const kvr_Progress* progress) {
  std::cout << "progress: " << progress->current << '/' << progress->total << '\n' << std::flush;
}
