#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the program needs of the operating system beyond the standard library. posix.cpp and
// windows.cpp each supply all of it; nothing else in src/ includes a system header.
namespace platform {

/// Stands between the parts of a path.
extern const char kPathSeparator;

/// The user's documents folder, without a separator at its end; nothing when it can't be found.
/// On Windows the low byte of each UTF-16 unit. Elsewhere XDG_DOCUMENTS_DIR of user-dirs.dirs, else
/// Documents in the home folder, and it is made if missing, since a fresh account has none.
std::optional<std::string> documents_folder();

/// Makes one folder. False when it can't, also because it exists.
bool create_directory(const std::string& path);

/// The size that stat gives for a path; for a folder that depends on the system. Nothing when it
/// fails.
std::optional<std::int64_t> file_size(const std::string& path);

/// A variable of the environment; empty when it is unset, or does not fit into `buffer_size` bytes
/// with its terminator.
std::string environment_text(const char* name, std::size_t buffer_size);

/// Sets a variable of the environment for this process and what it starts. Call this before there
/// are other threads.
void set_environment(const char* name, const std::string& value);

/// The file of the client library that this process calls; empty when that can't be found out.
std::string client_library_file();

/// The file of this program; empty when that can't be found out.
std::string program_file();

/// Starts the program anew in its own process, with `arguments` after its name and the libraries
/// of `folder` before all others. Returns only when it can't: always on Windows, where the library
/// beside the program comes first.
void start_again(const std::vector<std::string>& arguments, const std::string& folder);

/// The exit status of a command, from the result of std::system; the result itself if the command
/// has none.
int command_status(int system_result);

/// Handles a console event, given by its number on Windows. Returns 1 if the event was handled,
/// else 0. The type is that of a Windows console control handler, BOOL WINAPI (DWORD).
using ConsoleHandler = int (*)(unsigned long event);

/// Ends the process for an event after which Windows ends it by itself.
using EndHandler = void (*)(unsigned long event);

/// Calls `handler` for each console event, on a thread of its own each time. Call this from the
/// main thread before there are others. False when the system refuses.
///
/// Outside Windows the events are signals, which are blocked in the caller and in every thread that
/// it starts: SIGINT 0, SIGQUIT 1, SIGHUP 2 (unless it is ignored, as under nohup), SIGTERM 6. For
/// the last two `end` is called in place of `handler`; if the process is still there 5.7 seconds
/// later, it ends at once, with the event as its status. A terminal of standard input or output
/// that closes counts as SIGHUP, also where it is not the controlling one. SIGHUP counts once: a
/// closing terminal often sends several.
bool install_console_handler(ConsoleHandler handler, EndHandler end);

/// Whether standard input is a terminal that has been closed, so that event 2 is on its way. Always
/// false where install_console_handler() does not watch the terminal.
bool input_terminal_is_closed();

/// Ends the process by std::exit, from any thread, also while the main thread reads standard input.
/// Of several threads the first one decides the status, and the others never return.
[[noreturn]] void end_process(int status);

/// Runs `work` on a thread of its own that nobody waits for. Throws std::system_error when the
/// system refuses a thread.
void run_detached(void (*work)());

/// Waits for one key of the console, without echo and without Enter; a process without a console
/// does not wait. Outside Windows the main thread rests meanwhile, so that a prompt it waits at
/// does not take the key; without a controlling terminal a byte of standard input, or its end,
/// counts as a key.
void wait_for_key();

}  // namespace platform
