#pragma once

// The end of the process, as a library sees it that nobody shuts down.

namespace virtual_instrument {

/// Has `action` called when the process ends by a return from main or by exit(), on whatever
/// thread: after the destructors of the program's own static objects, if this is called while the
/// library is loaded, and while other threads still run. Where a system has ways to end a process
/// past exit(), it calls `action` there too, or once more, after it has ended all other threads:
/// what they held stays locked. Not called when a process is killed.
void call_at_process_end(void (*action)()) noexcept;

}  // namespace virtual_instrument
