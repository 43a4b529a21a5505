#pragma once

/// Shows the instrument's state and the menu, again and again, until the operator leaves or
/// exit_requested is set. Its one measurement is the single-phase test.
void main_menu();

/// One pass of a main menu up to its choices: clears stop_signal_seen, shows the title, the
/// instrument's state and what is switched on.
void show_menu_head();
