#pragma once

/// Asks the instrument for its state and shows what is wrong with it. None of it prevents a test.
void show_device_status();
