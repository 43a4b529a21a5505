#include "console/menu.h"

#include <iostream>

#include "console/prompts.h"

void show_menu(std::span<const MenuItem> items, const char* leave) {
  std::cout << "\n== Choose menu item ==\n\n";
  for (const MenuItem& item : items) {
    std::cout << item.choice << ". " << item.text << '\n';
  }
  std::cout << "0. " << leave << '\n';
}

bool run_menu_choice(std::span<const MenuItem> items) {
  const std::int32_t choice = read_int();
  for (const MenuItem& item : items) {
    if (item.choice == choice) {
      item.action();
    }
  }
  return choice != 0;
}
