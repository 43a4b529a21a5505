#include "shell/main_menu.h"

#include <iostream>

#include "console/device_status.h"
#include "console/session.h"
#include "console/stop_handling.h"

namespace {

void show_menu_head() {
  std::cout << "\n!!! === KVRU3 main menu === !!!\n";
  show_device_status();
  if (raw_data_enabled) {
    std::cout << "Save RAW Data to File\n";
  }
}

}  // namespace

void run_main_menu(std::span<const MenuItem> items) {
  do {
    stop_signal_seen = false;
    show_menu_head();
    show_menu(items, "Exit");
  } while (!exit_requested && run_menu_choice(items));
}
