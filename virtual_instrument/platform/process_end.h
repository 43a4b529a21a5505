#pragma once

// The end of a process that has not shut the library down.

namespace virtual_instrument {

/// Registers `action` to be called when the process ends by a return from main or by exit(), on any
/// thread: after the destructors of the program's own static objects, if this is called while the
/// library is loaded, and while other threads still run. A system with ways to end a process
/// without exit() calls `action` there too, or a second time, after it has ended all other threads;
/// locks that they held stay locked. A kill does not call it.
void call_at_process_end(void (*action)()) noexcept;

}  // namespace virtual_instrument
