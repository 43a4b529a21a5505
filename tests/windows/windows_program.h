#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <string_view>

#include "support/temporary_folder.h"

/// A console program in a process of its own, with pipes for a keyboard and a screen, and with a
/// documents folder of its own. The destructor ends it if it still runs.
class WindowsProgram {
 public:
  using Environment = std::map<std::string, std::string>;

  WindowsProgram(const std::string& program, const Environment& environment);
  ~WindowsProgram();
  WindowsProgram(const WindowsProgram&) = delete;
  WindowsProgram& operator=(const WindowsProgram&) = delete;

  void type(std::string_view keys);

  /// Delivers a console event as the system does, on a thread of its own in the program's process.
  /// A request to the system would need a console, and does not take every number. Returns when the
  /// program has handled the event, or has ended.
  void send_event(DWORD event);

  /// Reads until `text` has come after the last one that was waited for. False when the program
  /// ends without it, or writes nothing for a while.
  bool shows(std::string_view text);

  /// Reads on until the program ends; gives its exit status. Fails the test after a while.
  DWORD exit_status();

  /// All its output, with line feeds alone at line ends.
  const std::string& output() const { return output_; }

 private:
  bool has_output_in_time() const;
  bool read();

  TemporaryFolder documents_;
  HANDLE keyboard_ = nullptr;
  HANDLE screen_ = nullptr;
  PROCESS_INFORMATION process_{};
  std::string output_;
  std::size_t position_ = 0;
};
