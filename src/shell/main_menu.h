#pragma once

#include <span>

#include "console/menu.h"

/// Shows the instrument's state and the menu, again and again, until the operator leaves or
/// exit_requested is set.
void run_main_menu(std::span<const MenuItem> items);
