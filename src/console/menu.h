#pragma once

#include <cstdint>
#include <span>

/// An item of a menu and what it does.
struct MenuItem {
  std::int32_t choice;
  const char* text;
  void (*action)();
};

/// Writes a menu, with `leave` as the text of its item 0.
void show_menu(std::span<const MenuItem> items, const char* leave);

/// Reads a choice and runs its action; a choice that is no item does nothing, without a message.
/// False when the operator leaves.
bool run_menu_choice(std::span<const MenuItem> items);
